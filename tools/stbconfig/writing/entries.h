// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_ENTRIES_H
#define STBCONFIG_TOOL_ENTRIES_H

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// Everything a file holds, by the name under which it lists it.
using Entries = QMap<QString, QVariant>;

namespace entries {

/// Returns what the storage holds. An entry whose name nobody can ask for, or whose type only the
/// application knows, is there without a value.
Entries of(const stbconfig::IReadableBackend &storage);

/// Returns the names of the entries that differ. Entries that were to change may have another type
/// if a file cannot tell the two apart.
QStringList differences(const Entries &expected, const Entries &found,
                        const QSet<QString> &changed = {});

/// Returns the group in which a file gives back what is stored in this one.
QString groupAsRead(const QString &group);
/// Returns the name under which a file gives back what is stored under this one; empty if it names
/// no key.
QString nameAsRead(const QString &name);

/// Returns the names of the entries that come back as others once they have been written.
QStringList unstable(const Entries &entries);

} // namespace entries

#endif
