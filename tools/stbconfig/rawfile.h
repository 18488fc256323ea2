// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_RAWFILE_H
#define STBCONFIG_TOOL_RAWFILE_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

// A line as it stands in the file: for what the library cannot tell, never for values.
struct RawLine
{
    enum Kind { Blank, Comment, Section, Entry, Malformed };

    int number;
    Kind kind;
    QByteArray text;
};

/// The lines of the file; none if it cannot be read.
QVector<RawLine> readLines(const QString &path);

#endif
