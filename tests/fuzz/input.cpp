// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "input.h"

#include <QtCore/QDateTime>
#include <QtCore/QPoint>
#include <QtCore/QRegularExpression>
#include <QtCore/QSize>

#include <cmath>

bool isPackedByQt(const QByteArray &content)
{
    static const QRegularExpression packed = [] {
        QString pattern;
        for (const char *word : {"@Variant(", "@DateTime("}) {
            pattern += pattern.isEmpty() ? "" : "|";
            for (const char *letter = word; *letter != '\0'; ++letter) {
                // The byte as it is, in hexadecimal or in octal, and then whatever the parser may
                // drop.
                pattern += QString("(?:%1|\\\\x[0-9a-f]*%2|\\\\[0-7]*%3)(?:[\"\\x80-\\xff]|\\\\.)*")
                               .arg(QRegularExpression::escape(QString(*letter)))
                               .arg(uint(*letter), 0, 16)
                               .arg(uint(*letter), 0, 8);
            }
        }
        return QRegularExpression(pattern,
                                  QRegularExpression::CaseInsensitiveOption
                                      | QRegularExpression::DotMatchesEverythingOption);
    }();
    return packed.match(QString::fromLatin1(content)).hasMatch();
}

QString Input::text()
{
    QString result;
    for (unsigned rest = byte() % 32; rest > 0 && !isAtEnd(); --rest) {
        unsigned unit = byte();
        if (unit == 0xFF) {
            unit = byte() << 8U;
            unit |= byte();
        }
        result.append(QChar(unit));
    }
    return result;
}

QString Input::knownName()
{
    static const QString names[] = {
        "a",
        "b",
        "A",
        "a/b",
        "Logging",
        "level",
        "responseLengthLimit",
        "jsonFormattingEnabled",
        "imageRequestsEnabled",
        "Profile",
        "locale",
        "General",
        "general",
        "%General",
        "",
        QString(),
        "/",
        "/a//b/",
        "a_b",
        "%1",
        "%2",
        "%1/%2",
        "a=b",
        " a ",
        "[a]",
        "a;b",
        "\\",
        "\"",
        "@Invalid()",
        "\n",
        QString(1, QChar()),
        QString::fromUtf8("ß"),
        QString::fromUtf8("ж"),
        QString::fromUtf8("😀"),
        QString(1, QChar(0xD83D)),
        QString(1, QChar(0xDE00)),
        QString(65536, 'a'),
    };
    return oneOf(names);
}

Pair Input::pair()
{
    static const Pair pairs[] = {
        {"a", "b"},
        {"a", ""},
        {"", "a"},
        {"a", "b/c"},
        {"Profile", "locale"},
        {"Logging", "level"},
        {"Logging", "responseLengthLimit"},
        {"Logging", "jsonFormattingEnabled"},
        {"Logging", "imageRequestsEnabled"},
    };
    if (byte() % 4 != 0)
        return oneOf(pairs);
    const QString group = name();
    return {group, name()};
}

const char *Input::word()
{
    static const char *const words[] = {"1",     "5",     "6",  "-1",       "debug", "Trace",
                                        "false", "de_AT", "ru", "critical", "1a",    ""};
    return oneOf(words);
}

qlonglong Input::number()
{
    qulonglong result = 0;
    for (unsigned rest = byte() % 9; rest > 0; --rest)
        result = result << 8U | byte();
    return static_cast<qlonglong>(result);
}

QVariant Input::value()
{
    const auto integer = [this] { return static_cast<int>(number()); };
    switch (byte() % 20) {
    case 0:
        return {};
    case 1:
        return knownName();
    case 2:
        return integer();
    case 3:
        return flag();
    case 4:
        return static_cast<uint>(number());
    case 5:
        return number();
    case 6:
        return static_cast<qulonglong>(number());
    case 7: {
        const auto mantissa = static_cast<double>(number());
        return std::ldexp(mantissa, static_cast<int>(byte()) - 128);
    }
    case 8:
        return text().toLatin1();
    case 9:
    case 10: {
        QStringList list;
        for (unsigned rest = byte() % 4; rest > 0; --rest)
            list.append(text());
        return list;
    }
    case 11: {
        QVariantList list;
        for (unsigned rest = byte() % 4; rest > 0 && !isAtEnd(); --rest)
            list.append(value());
        return list;
    }
    case 12: {
        QVariantMap map;
        for (unsigned rest = byte() % 4; rest > 0 && !isAtEnd(); --rest) {
            const QString key = text();
            map.insert(key, value());
        }
        return map;
    }
    case 13: {
        const int width = integer();
        return QSize(width, integer());
    }
    case 14: {
        const int x = integer();
        return QPoint(x, integer());
    }
    case 15:
        return QDateTime::fromSecsSinceEpoch(static_cast<uint>(number()), Qt::UTC);
    case 16:
        return text();
    default:
        return word();
    }
}
