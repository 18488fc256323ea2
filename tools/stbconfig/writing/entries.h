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

/// Of an entry that the file lists under a name which nobody can ask for, or that is of a type which
/// only the application knows, only that it is there.
Entries of(const stbconfig::IReadableBackend &storage);

/// The names of the entries that differ. Those that were to change may have another type, if a file
/// cannot tell it from theirs.
QStringList differences(const Entries &expected, const Entries &found,
                        const QSet<QString> &changed = {});

/// The group in which a file gives back what is stored in this one.
QString groupAsRead(const QString &group);
/// The name under which a file gives back what is stored under this one; empty if it names no key.
QString nameAsRead(const QString &name);

/// The names of the entries that come back as others once they have been written.
QStringList unstable(const Entries &entries);

} // namespace entries

#endif
