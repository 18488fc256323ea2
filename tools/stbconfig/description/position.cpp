// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "position.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>

#include <algorithm>
#include <vector>

namespace position {
namespace {

bool isBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

bool isPlain(char byte) { return static_cast<unsigned char>(byte) < 0x80 && byte != '\\'; }

bool opens(char byte) { return byte == '{' || byte == '['; }

bool closes(char byte) { return byte == '}' || byte == ']'; }

// Goes over a text that Qt has accepted, so it need not check the syntax again.
class Scanner
{
public:
    explicit Scanner(const QByteArray &json) : m_json(json) {}

    /// Goes to the value of a member or an item of the next value. Returns where the member begins.
    Offset enter(const QString &step)
    {
        const bool isObject = next() == '{';
        ++m_offset;
        for (int index = 0;; ++index) {
            const Offset begin = offsetOfNext();
            const QString name = isObject ? takeName() : QString::number(index);
            if (name == step)
                return begin;
            skipValue();
            next();
            ++m_offset; // behind the comma
        }
    }

    Offset offsetOfNext()
    {
        next();
        return m_offset;
    }

    std::optional<Offset> offsetOfRepeatedName()
    {
        std::vector<QSet<QString>> open; // an array has no names
        while (const char byte = next()) {
            const Offset begin = m_offset;
            if (byte == '"') {
                const QByteArray text = takeText();
                if (next() != ':')
                    continue;
                const QString name = decoded(text);
                if (open.back().contains(name))
                    return begin;
                open.back().insert(name);
                continue;
            }
            if (opens(byte))
                open.emplace_back();
            if (closes(byte))
                open.pop_back();
            ++m_offset;
        }
        return {};
    }

private:
    /// Returns the next byte that is no blank; NUL at the end.
    char next()
    {
        while (m_offset < m_json.size() && isBlank(m_json[m_offset]))
            ++m_offset;
        return m_offset < m_json.size() ? m_json[m_offset] : '\0';
    }

    QByteArray takeText()
    {
        const Offset begin = m_offset++;
        while (m_json[m_offset] != '"')
            m_offset += m_json[m_offset] == '\\' ? 2 : 1;
        ++m_offset;
        return m_json.mid(begin, m_offset - begin);
    }

    // Only Qt knows for sure what it makes of a text, but it is slow, so plain texts go without it.
    static QString decoded(const QByteArray &text)
    {
        if (std::all_of(text.cbegin(), text.cend(), isPlain))
            return QString::fromLatin1(text.constData() + 1, text.size() - 2);
        return QJsonDocument::fromJson('[' + text + ']').array().at(0).toString();
    }

    QString takeName()
    {
        QString name = decoded(takeText());
        next();
        ++m_offset; // behind the colon
        return name;
    }

    // Another member or item must stand behind the value.
    void skipValue()
    {
        int depth = 0;
        do {
            const char byte = next();
            if (byte == '"') {
                takeText();
                continue;
            }
            depth += opens(byte) ? 1 : closes(byte) ? -1 : 0;
            ++m_offset;
        } while (depth > 0 || next() != ',');
    }

    const QByteArray &m_json;
    Offset m_offset = 0;
};

} // namespace

Position of(const QByteArray &text, Offset offset)
{
    Position result;
    const char *end = text.constData() + std::min(offset, text.size());
    for (const char *byte = text.constData(); byte < end; ++byte) {
        const bool endsLine = *byte == '\n' || (*byte == '\r' && byte[1] != '\n');
        const bool continues = (static_cast<unsigned char>(*byte) & 0xC0U) == 0x80;
        if (endsLine)
            result = {result.line + 1, 1};
        else if (!continues)
            ++result.column;
    }
    return result;
}

Offset ofValue(const QByteArray &json, const Path &path)
{
    Scanner scanner(json);
    for (const QString &step : path)
        scanner.enter(step);
    return scanner.offsetOfNext();
}

Offset ofName(const QByteArray &json, const Path &path)
{
    Scanner scanner(json);
    Offset result = 0;
    for (const QString &step : path)
        result = scanner.enter(step);
    return result;
}

std::optional<Offset> ofRepeatedName(const QByteArray &json)
{
    return Scanner(json).offsetOfRepeatedName();
}

} // namespace position
