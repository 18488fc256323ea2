// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_FILEPROBLEM_H
#define STBCONFIG_TOOL_FILEPROBLEM_H

#include "problem.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include <optional>

// This alone says why a file cannot be read, before anybody opens it.
namespace fileproblem {

/// Larger files are refused and not read.
constexpr qint64 largestFile = 128 << 20;

/// What a file holds, or why that cannot be told. A missing file holds nothing and is no problem.
struct Contents
{
    bool exists = false;
    QByteArray bytes;
    std::optional<Problem> problem;
};

/// Reads a regular file of so many bytes; anything else is a problem at once and is never waited for.
/// With a root, a link that leads out of it is a problem, too.
Contents read(const QString &file, const QString &root = {}, qint64 largest = largestFile);

/// Does the same, but root reads the file as the first other user on the way to it, so that nobody's link
/// lets root tell what is root's. Ends with CannotRead if the process that does this ends early.
Contents readAsOwner(const QString &file, const QString &root = {}, qint64 largest = largestFile);

/// Does what read() does, but looks only whether the file can be opened without harm.
std::optional<Problem> ofOpening(const QString &file, const QString &root = {},
                                 qint64 largest = largestFile);

/// Finds the lines that make the file malformed, or that the library read nothing of it although it
/// holds entries, as after an error of the disk that it overlooks.
std::optional<Problem> ofWhatWasRead(const QString &file, const QByteArray &bytes, bool isValid,
                                     bool isEmpty);

/// Lets a child find out whether one of the files ends the process that reads it. Returns nothing
/// if none does.
std::optional<Problem> ofReader(const QStringList &files);

} // namespace fileproblem

#endif
