// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_EXCHANGE_H
#define STBCONFIG_TOOL_EXCHANGE_H

#include "entries.h"
#include "fileproblem.h"
#include "problem.h"

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <functional>

// Settings on the way from one box to another: the text of an INI file, read and written by the
// library. It is UTF-8, whatever the library takes a storage's bytes for.
namespace exchange {

struct Text
{
    QString source; // as a person calls it
    QByteArray bytes;
};

/// Reads a file that the user has named, and never waits for it. Root reads it as the first other
/// user on the way to it, so that nobody's link lets root tell what is root's. Ends with
/// CannotRead.
QByteArray bytesOf(const QString &path, bool asRoot, const QString &remedy,
                   qint64 largest = fileproblem::largestFile);
Text fromFile(const QString &path, bool asRoot);
/// Reads all of standard input. Ends with CannotRead if it is larger than a file may be.
Text fromStandardInput();

struct Refusal
{
    QString setting; // empty where that cannot be told
    Problem problem;
};

struct Contents
{
    Entries entries;
    QVector<Refusal> refusals; // what no file gives back as it is, and is not among the entries
};

/// Returns what the text holds. Ends with CannotRead if it is malformed or would end its reader.
Contents read(const Text &text, bool asRoot);

/// Returns the text of a storage with these entries. Ends with CannotRead if it cannot be made.
QByteArray written(const Entries &all, bool asRoot);

/// Returns the same text, which the library has written, with something before the line of each
/// entry.
QByteArray withComments(const QByteArray &text,
                        const std::function<QByteArray(const QString &name)> &before);
void print(const QByteArray &text);

/// Says which entries no file gives back as they are, and why.
QVector<Refusal> refusalsOf(const Entries &all);

} // namespace exchange

#endif
