// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_RAWFILE_H
#define STBCONFIG_TOOL_RAWFILE_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Some editors put these bytes before UTF-8.
inline constexpr char byteOrderMark[] = "\xef\xbb\xbf";

// A line as it stands in the file. It tells what the library cannot tell; values never come from
// it.
struct RawLine
{
    enum Kind { Comment, Section, Entry, Malformed };

    int number = 0; // where it begins; a quote or a backslash can make it go on
    Kind kind = Comment;
    QByteArray text;
    QString name; // of an entry: group and key as the library knows them
    QByteArray value; // of an entry, as it is written
    bool isCut = false; // by a ";" that begins a comment
    bool isQuoteOpen = false;
    QString section = {}; // of an entry: what its name begins with
};

/// Returns the lines that are not blank, taken apart as QSettings does.
QVector<RawLine> rawLines(const QByteArray &bytes);

#endif
