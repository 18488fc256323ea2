// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "rawfile.h"

#include <QtCore/QFile>

namespace {

RawLine::Kind kindOf(const QByteArray &text)
{
    if (text.isEmpty())
        return RawLine::Blank;
    if (text.startsWith(';'))
        return RawLine::Comment;
    if (text.startsWith('['))
        return text.endsWith(']') ? RawLine::Section : RawLine::Malformed;
    return text.contains('=') ? RawLine::Entry : RawLine::Malformed;
}

} // namespace

QVector<RawLine> readLines(const QString &path)
{
    QFile file(path);
    QVector<RawLine> lines;
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    int number = 0;
    while (!file.atEnd()) {
        QByteArray text = file.readLine().trimmed();
        const int first = ++number;
        const RawLine::Kind kind = kindOf(text);
        // A backslash at the end continues an entry on the next line.
        while (kind == RawLine::Entry && text.endsWith('\\') && !file.atEnd()) {
            text.chop(1);
            text += file.readLine().trimmed();
            ++number;
        }
        lines.append({first, kind, text});
    }
    return lines;
}
