// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "rawfile.h"

namespace {

bool isLineEnd(char byte) { return byte == '\n' || byte == '\r'; }

bool isBlank(char byte) { return byte == ' ' || byte == '\t' || isLineEnd(byte); }

// Returns the character that "%41" or "%U0041" stands for, and how long that is; nothing for
// anything else.
QString escaped(const QString &text, QString::size_type place, int &length)
{
    const bool isLong = text.mid(place + 1, 1) == "U";
    const int digits = isLong ? 4 : 2;
    length = 1 + (isLong ? 1 : 0) + digits;
    bool isNumber = false;
    const int code = text.mid(place + length - digits, digits).toInt(&isNumber, 16);
    return isNumber && place + length <= text.size() ? QString(QChar(static_cast<ushort>(code)))
                                                     : QString();
}

QByteArray keyIn(const QByteArray &text)
{
#if QT_VERSION_MAJOR < 6
    int end = text.size();
    while (end > 0 && (text[end - 1] == ' ' || text[end - 1] == '\t'))
        --end;
    return text.left(end);
#else
    return text.trimmed();
#endif
}

QString nameOf(const QByteArray &written)
{
#if QT_VERSION_MAJOR < 6
    const QString text = QString::fromLatin1(written);
#else
    const QString text = QString::fromUtf8(written);
#endif
    QString name;
    for (QString::size_type place = 0; place < text.size(); ++place) {
        int length = 0;
        const QString character = text[place] == '%' ? escaped(text, place, length) : QString();
        if (!character.isEmpty()) {
            name += character;
            place += length - 1;
        } else {
            name += text[place] == '\\' ? QChar('/') : text[place];
        }
    }
    return name;
}

// Returns what goes before the keys of the section.
QString prefixOf(const QByteArray &section)
{
    const QByteArray folded = section.toLower();
    if (folded == "general") // the settings without a group
        return {};
    return (folded == "%general" ? QString::fromLatin1(section.mid(1)) : nameOf(section)) + '/';
}

class Reader
{
public:
    explicit Reader(const QByteArray &all) : bytes(all) {}

    QVector<RawLine> lines()
    {
        QVector<RawLine> result;
        if (markBeforeSection())
            result.append({number, RawLine::Malformed, byteOrderMark, {}, {}});
        while (skipBlanks())
            result.append(bytes[place] == ';' ? comment() : isSection() ? section() : entry());
        return result;
    }

private:
    // Before a section the mark makes a line of its own; elsewhere it belongs to the first line.
    bool markBeforeSection()
    {
        if (!bytes.startsWith(byteOrderMark))
            return false;
        place = static_cast<int>(sizeof(byteOrderMark)) - 1;
        if (skipBlanks() && isSection())
            return true;
        place = 0;
        number = 1;
        return false;
    }

    bool skipBlanks()
    {
        while (place < bytes.size() && isBlank(bytes[place]))
            step();
        return place < bytes.size();
    }

    bool isSection() const { return bytes[place] == '['; }

    // Lines are counted as editors do: CR LF is one end.
    void step()
    {
        if (bytes[place] == '\n'
            || (bytes[place] == '\r' && (place + 1 == bytes.size() || bytes[place + 1] != '\n')))
            ++number;
        ++place;
    }

    RawLine comment()
    {
        RawLine line{number, RawLine::Comment, {}, {}, {}};
        const int begin = place;
        while (place < bytes.size() && !isLineEnd(bytes[place]))
            step();
        line.text = bytes.mid(begin, place - begin);
        return line;
    }

    RawLine section()
    {
        RawLine line = upToItsEnd();
        const auto close = line.text.indexOf(']');
        line.kind = close < 0 ? RawLine::Malformed : RawLine::Section;
        prefix = prefixOf(line.text.mid(1, close < 0 ? -1 : close - 1).trimmed());
        line.isCut = false; // what follows the bracket is ignored anyway
        return line;
    }

    RawLine entry()
    {
        RawLine line = upToItsEnd();
        line.kind = equals < 0 ? RawLine::Malformed : RawLine::Entry;
        if (equals >= 0) {
            line.section = prefix;
            line.name = prefix + nameOf(keyIn(line.text.left(equals)));
            line.value = line.text.mid(equals + 1).trimmed();
        }
        return line;
    }

    RawLine upToItsEnd()
    {
        RawLine line{number, RawLine::Malformed, {}, {}, {}};
        const int begin = place;
        bool isQuoted = false;
        equals = -1;
        for (; place < bytes.size(); step()) {
            const char byte = bytes[place];
            if (byte == '\\') {
                step();
                if (place == bytes.size())
                    break;
                // A line end behind a backslash belongs to the line, and two line ends are one if
                // they differ.
                if (place + 1 < bytes.size() && isLineEnd(bytes[place])
                    && isLineEnd(bytes[place + 1]) && bytes[place] != bytes[place + 1])
                    step();
            } else if (byte == '"') {
                isQuoted = !isQuoted;
            } else if (byte == '=' && !isQuoted && equals < 0) {
                equals = place - begin;
            } else if (!isQuoted && (isLineEnd(byte) || byte == ';')) {
                line.isCut = byte == ';';
                break;
            }
        }
        line.text = bytes.mid(begin, place - begin);
        line.isQuoteOpen = isQuoted;
        return line;
    }

    QByteArray bytes;
    int place = 0;
    int number = 1;
    int equals = -1;
    QString prefix;
};

} // namespace

QVector<RawLine> rawLines(const QByteArray &bytes) { return Reader(bytes).lines(); }
