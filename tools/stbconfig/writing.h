// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_WRITING_H
#define STBCONFIG_TOOL_WRITING_H

#include "options.h"

#include <QtCore/QVariant>

#include <functional>
#include <utility>

namespace stbconfig {
class IStorableBackend;
}

// Qt loses writes in silence and then answers from its cache, so each one is proved.
namespace writing {

/// Why a write that makes the file longer by so many bytes would be lost now, or would damage the
/// file, and what to do; empty if nothing is seen.
std::pair<QString, QString> obstacle(const QString &file, qint64 growth = 0);

/// What a lock beside the file says; empty if there is none that could block.
QString lockHolder(const QString &file);

using Change = std::function<void(stbconfig::IStorableBackend &)>;
/// A setting and what it must hold afterwards; an invalid value means: nothing.
using Expectation = std::pair<Address, QVariant>;

/// Makes the change and returns once a fresh process has seen it on the disk, else ends NotSaved.
void save(const Options &options, const Change &change, const QVector<Expectation> &expected);

} // namespace writing

#endif
