// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "output.h"

#include "value.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>

#include <sys/ioctl.h>
#include <unistd.h>

namespace output {
namespace {

// One buffer for the process, which has one standard output.
QByteArray &buffer()
{
    static QByteArray bytes; // cppcheck-suppress unassignedVariable ; by the caller
    return bytes;
}

constexpr char mask[] = "********";

bool isTerminal()
{
    static const bool is = isatty(STDOUT_FILENO) != 0;
    return is;
}

int terminalWidth()
{
    winsize size{};
    if (!isTerminal() || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0)
        return 0;
    return size.ws_col;
}

// Halves of a character that stand alone stay as they are, unlike in toUcs4().
QVector<char32_t> charactersOf(const QString &text)
{
    QVector<char32_t> result;
    result.reserve(text.size());
    for (const QChar half : text) {
        if (half.isLowSurrogate() && !result.isEmpty() && QChar::isHighSurrogate(result.last()))
            result.last() =
                QChar::surrogateToUcs4(static_cast<ushort>(result.last()), half.unicode());
        else
            result.append(half.unicode());
    }
    return result;
}

// QString::fromUcs4() would drop a byte order mark.
QString textOf(char32_t character)
{
    return QChar::requiresSurrogates(character)
        ? QString(QChar(QChar::highSurrogate(character))) + QChar(QChar::lowSurrogate(character))
        : QString(QChar(static_cast<ushort>(character)));
}

// Tells whether the character moves the cursor, turns the direction of writing, or cannot be seen
// at all.
bool isUnsafe(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString escape(char32_t character)
{
    if (character == '\n')
        return "\\n";
    if (character == '\t')
        return "\\t";
    const bool isShort = character < 0x100;
    const bool isLong = character > 0xffff;
    return (isShort      ? "\\x"
                : isLong ? "\\U"
                         : "\\u")
        + QString::number(character, 16)
              .rightJustified(isShort      ? 2
                                  : isLong ? 8
                                           : 4,
                              '0');
}

// UTF-8 has nothing for half a character, and Qt would print a "?", which looks like a text.
QByteArray bytesOf(const QString &text)
{
    if (text.isValidUtf16())
        return text.toUtf8();
    QString result;
    const QVector<char32_t> characters = charactersOf(text);
    for (const char32_t character : characters)
        result += QChar::isSurrogate(character) ? QString(QChar::ReplacementCharacter)
                                                : textOf(character);
    return result.toUtf8();
}

void write(const QString &text, char end)
{
    buffer() += bytesOf(text);
    buffer() += end;
}

// Outside of its texts JSON is ASCII, and inside every character may be written as \uXXXX.
void writeJson(const QJsonDocument &document)
{
    const QString text = QString::fromUtf8(document.toJson().trimmed());
    QString result;
    const QVector<char32_t> characters = charactersOf(text);
    for (const char32_t character : characters) {
        const QString plain = textOf(character);
        if (character < 0x7f || !isUnsafe(character)) {
            result += plain;
            continue;
        }
        for (const QChar half : plain)
            result += "\\u" + QString::number(half.unicode(), 16).rightJustified(4, '0');
    }
    write(result, '\n');
}

QString quoted(const QString &text) { return '"' + safe(text).replace('"', "\\\"") + '"'; }

// A character that the C library does not know is most likely as wide as a letter.
int width(char32_t character)
{
    // The C library asks its locale, and a box's shell is often in one without Unicode.
    [[maybe_unused]] static const char *const once = std::setlocale(LC_CTYPE, "C.UTF-8");
    const int known = wcwidth(static_cast<wchar_t>(character));
    return known < 0 ? 1 : known;
}

QString listed(const QStringList &texts)
{
    QStringList items;
    for (const QString &text : texts)
        items.append(quoted(text));
    return '[' + items.join(", ") + ']';
}

void table(const QVector<Row> &rows)
{
    constexpr int widestColumn = 36;
    QVector<int> widths;
    for (const Row &row : rows) {
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (int column = 0; column < row.cells.size(); ++column)
            widths[column] =
                std::min(widestColumn, std::max(widths[column], columns(row.cells[column])));
    }
    const int limit = terminalWidth();
    for (const Row &row : rows) {
        QString text;
        for (int column = 0; column + 1 < row.cells.size(); ++column)
            text += padded(row.cells[column], widths[column]) + "  ";
        text += row.cells.last();
        if (limit > 1 && columns(text) > limit)
            text = shortened(text, limit - 1) + QChar(0x2026);
        line(text);
        for (const QString &each : row.below)
            line(each);
    }
}

// A tabulator ends every field but the last one, so only the last one can hold it as it is.
QString record(const QStringList &fields)
{
    QString result;
    for (int i = 0; i + 1 < fields.size(); ++i)
        result += QString(fields[i]).replace('\\', "\\\\").replace('\t', "\\t") + '\t';
    return result + fields.last();
}

void records(const QVector<Row> &rows)
{
    for (const Row &row : rows) {
        const QString text = record(row.fields);
        write(isTerminal() ? printable(text) : text, '\0');
    }
}

void array(const QVector<Row> &rows)
{
    QJsonArray result;
    for (const Row &row : rows)
        result.append(row.json);
    writeJson(QJsonDocument(result));
}

} // namespace

QString printable(const QString &text)
{
    QString result;
    const QVector<char32_t> characters = charactersOf(text);
    for (const char32_t character : characters) {
        if (isUnsafe(character))
            result += escape(character);
        else
            result += textOf(character);
    }
    return result;
}

QByteArray printed() { return buffer(); }

void line(const QString &text, const QString &emphasised)
{
    static const bool isColoured = isTerminal() && qEnvironmentVariableIsEmpty("NO_COLOR");
    const QString end = printable(emphasised);
    write(printable(text) + (isColoured && !end.isEmpty() ? "\033[1;32m" + end + "\033[0m" : end),
          '\n');
}

void paragraph(const QString &text)
{
    const QStringList all = wrapped(text, 0, 2);
    for (const QString &each : all)
        line(each);
}

QStringList wrapped(const QString &text, int indent, int further)
{
    QStringList result;
    QString current(indent, ' ');
    bool isBegun = false;
    const QStringList words = text.split(' ');
    for (const QString &word : words) {
        const QString longer = isBegun ? current + ' ' + word : current + word;
        if (columns(longer) < widest || !isBegun) {
            current = longer;
            isBegun = true;
            continue;
        }
        result.append(current);
        current = QString(indent + further, ' ') + word;
    }
    result.append(current);
    return result;
}

QString indented(const QString &text, int indent)
{
    return QString(std::clamp(widest - columns(text), 0, indent), ' ') + text;
}

void object(const QJsonObject &object) { writeJson(QJsonDocument(object)); }

void rows(const QVector<Row> &rows, const Format &format)
{
    if (format.json)
        array(rows);
    else if (format.nullSeparated)
        records(rows);
    else
        table(rows);
}

void lines(const QVector<Row> &rows, const Format &format)
{
    if (format.json) {
        array(rows);
    } else if (format.nullSeparated) {
        records(rows);
    } else {
        for (const Row &row : rows) {
            for (const QString &cell : row.cells)
                line(cell);
        }
    }
}

void bare(const QStringList &texts, const Format &format)
{
    for (const QString &text : texts)
        write(isTerminal() ? printable(text) : text, format.nullSeparated ? '\0' : '\n');
}

void note(const Problem &problem)
{
    const QByteArray bytes = "stbconfig: " + printable(problem.line()).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

QString safe(const QString &text) { return printable(QString(text).replace('\\', "\\\\")); }

bool isMasked(const Setting &setting, const QVariant &value, const Format &format)
{
    return !format.showSecrets
        && (setting.isSecret()
            || (format.isForOthers && (names::areSecretsDoubtful() || value::holdsSecret(value))));
}

QString shown(const Setting &setting, const QVariant &value, const Format &format)
{
    if (isMasked(setting, value, format))
        return mask;
    if (value::isList(value))
        return listed(value::texts(value));
    const QString text = value::text(value);
    if (value::hasNoText(value))
        return safe(text);
    const bool isMistakable = text.isEmpty() || text.startsWith('[') || text.startsWith('"')
        || text.startsWith('@') || text.front().isSpace() || text.back().isSpace() || text == mask;
    return isMistakable ? quoted(text) : safe(text);
}

QString field(const Setting &setting, const QVariant &value, const Format &format)
{
    if (isMasked(setting, value, format))
        return mask;
    return value::isList(value) ? listed(value::texts(value)) : value::text(value);
}

QJsonValue json(const Setting &setting, const QVariant &value, const Format &format)
{
    if (isMasked(setting, value, format))
        return mask;
    if (value::isList(value))
        return QJsonArray::fromStringList(value::texts(value));
    if (value::hasNoText(value)) {
        return QJsonObject{{"type", QString(value.isValid() ? value.typeName() : "invalid")},
                           {"text", value::text(value)}};
    }
    if (value.userType() == QMetaType::Int)
        return value.toInt();
    if (value.userType() == QMetaType::Bool)
        return value.toBool();
    return value.toString();
}

QString shortened(const QString &text, int room)
{
    QString result;
    const QVector<char32_t> characters = charactersOf(text);
    for (const char32_t character : characters) {
        room -= width(character);
        if (room < 0)
            break;
        result += textOf(character);
    }
    return result;
}

int columns(const QString &text)
{
    int result = 0;
    const QVector<char32_t> characters = charactersOf(text);
    for (const char32_t character : characters)
        result += width(character);
    return result;
}

QString padded(const QString &text, int width)
{
    return text + QString(std::max(width - columns(text), 0), ' ');
}

} // namespace output
