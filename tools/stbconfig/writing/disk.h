// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_DISK_H
#define STBCONFIG_TOOL_DISK_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

#include <sys/stat.h>

// These functions do what the library leaves undone when it replaces a file. Each but statusOf()
// returns 0, or the error.
namespace disk {

/// Says what the file is now; nothing if there is none, which is no error.
int look(const QString &file, std::optional<struct stat> &status);

/// Says the same where an error is as good as no file.
std::optional<struct stat> statusOf(const QString &file);

/// Makes an empty file at a path without links, if there is none. Follows no link that somebody
/// puts there meanwhile. A missing directory is no error.
int claim(const QString &path);

/// Gives the file that has replaced the old one its mode, owner and group.
int keepOwner(const QString &file, const struct stat &old);

/// Gives a new file the mode of other new files: after an error, of which it tells nobody, Qt leaves
/// the file to its owner alone. A missing file is no error.
int openToOthers(const QString &file);

/// Flushes the file and the directories on the way to it, up to the one that was there before the
/// write. A missing file is no error.
int flush(const QString &file, const QString &oldDirectory);

/// Puts the old bytes back in the file's place, or removes the file if there was none.
int putBack(const QString &file, const QByteArray &bytes, const std::optional<struct stat> &old);

} // namespace disk

#endif
