// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "generators.h"

#include <QtCore/QHash>

#include <cctype>

namespace generators {
namespace {

constexpr char beginning[] =
    R"(// Made by "stbconfig schema header": change the description, not this file.

#ifndef STBAPP_SETTINGS_H
#define STBAPP_SETTINGS_H

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>
#include <QtCore/QVariant>

#include <type_traits>

/// The settings of the application, as their description says: a type for each, and what reads and
/// stores them. Callable from the threads from which the manager and the storages are.
namespace settings {

/**
 * Returns the setting as the manager answers it, converted as by QVariant::toInt(), toBool(),
 * toString() or toStringList(); @p fallback if nobody holds it, or if the description does not allow
 * the value that is held.
 */
template <typename Setting, typename Value>
typename Setting::Type get(const stbconfig::ConfigurationManager &manager, const Value &fallback)
{
    static_assert(std::is_same_v<Value, typename Setting::Type>,
                  "the fallback is not of the setting's type");
    const Value value =
        manager.value(Setting::group(), Setting::key(), fallback).template value<Value>();
    return Setting::isAllowed(value) ? value : fallback;
}

/// Returns the setting as above, with the default of the description: there is one if this compiles.
template <typename Setting>
typename Setting::Type get(const stbconfig::ConfigurationManager &manager)
{
    return get<Setting, typename Setting::Type>(manager, Setting::defaultValue());
}

/// Stores the value and returns true; stores nothing and returns false if the description does not
/// allow it.
template <typename Setting, typename Value>
[[nodiscard]] bool set(stbconfig::IStorableBackend &storage, const Value &value)
{
    static_assert(std::is_same_v<Value, typename Setting::Type>,
                  "the value is not of the setting's type");
    if (!Setting::isAllowed(value))
        return false;
    storage.setValue(Setting::group(), Setting::key(), value);
    return true;
}

/// Stores a number or a boolean that the source says, and compiles only if it is allowed.
template <typename Setting, typename Setting::Type value>
void set(stbconfig::IStorableBackend &storage)
{
    static_assert(Setting::isAllowed(value), "the description does not allow the value");
    storage.setValue(Setting::group(), Setting::key(), value);
}

/// Whether a number, a text or each item of a list is one of the values.
template <typename Values>
constexpr bool areAmong(int value, const Values &values)
{
    for (const int each : values) {
        if (value == each)
            return true;
    }
    return false;
}

template <typename Values>
bool areAmong(const QString &value, const Values &values)
{
    for (const QStringView each : values) {
        if (value == each)
            return true;
    }
    return false;
}

template <typename Values>
bool areAmong(const QStringList &value, const Values &values)
{
    for (const QString &item : value) {
        if (!areAmong(item, values))
            return false;
    }
    return true;
}
)";

constexpr char ending[] = R"(
} // namespace settings

#endif
)";

// Returns what stands between the quotes, written so that every compiler reads it in the same way:
// "??" could begin another character, and a number of three octal digits takes no digit that
// follows.
QString inQuotes(const QString &text)
{
    QString result;
    const auto characters = text.toUcs4();
    for (const uint character : characters) {
        if (character == '"' || character == '\\' || character == '?')
            result += '\\';
        if (character >= ' ' && character < 0x7f)
            result += QChar(character);
        else if (character < 0x80)
            result += '\\' + QString::number(character, 8).rightJustified(3, '0');
        else
            result += "\\U" + QString::number(character, 16).rightJustified(8, '0');
    }
    return result;
}

QString literal(const QString &text) { return "QStringLiteral(\"" + inQuotes(text) + "\")"; }

QString view(const QString &text)
{
    return "QStringView(u\"" + inQuotes(text) + "\", " + QString::number(text.size()) + ')';
}

bool isLetter(QChar character)
{
    return character.unicode() < 0x80 && std::isalpha(character.unicode()) != 0;
}

// No keyword of C++ begins with a capital and has a "_". A name that has only capitals might be a
// macro, as INT_MAX is, so it gets a "_" at its end.
QString identifierOf(const Setting &setting)
{
    const QString name = setting.group.isEmpty() ? "General/" + setting.key : setting.name();
    QString result = isLetter(name[0]) ? "" : "Setting";
    for (const QChar character : name) {
        const ushort code = character.unicode();
        if (code >= 0x80)
            result += 'u' + QString::number(code, 16).rightJustified(4, '0');
        else
            result += std::isalnum(code) != 0 ? character : QChar('_');
    }
    result[0] = result[0].toUpper();
    return result == result.toUpper() ? result + '_' : result;
}

// A backslash before it makes plain text of Doxygen's commands and markup, and of HTML. A blank
// parts the end of a comment, and the trigraph that some compilers take for a backslash.
QString inComment(const QString &line)
{
    QString result;
    for (const QChar character : line) {
        if (QString("\\@&<>#%`*[").contains(character))
            result += '\\';
        result += character;
    }
    return result.replace("*/", "* /").replace("\?\?/", "?? /");
}

void addComment(QStringList &lines, const Described &described)
{
    const QStringList text = linesOf(described.text);
    const QString since = linesOf(described.since).join(' ');
    lines += {"/**", " * " + inComment(output::safe(described.setting.name())) + '.', " *"};
    for (const QString &line : text)
        lines.append(line.isEmpty() ? QString(" *") : " * " + inComment(line));
    if (!text.isEmpty())
        lines.append(" *");
    lines.append(" * Allowed: " + inComment(linesOf(description::allowed(described)).join(' ')));
    if (!since.isEmpty())
        lines += {" *", " * @since " + inComment(since)};
    lines.append(" */");
}

void addValues(QStringList &lines, const Described &described)
{
    const bool isNumber = described.type == value::Type::Int;
    lines.append(isNumber ? "    static constexpr int values[] = {"
                          : "    static constexpr QStringView values[] = {");
    for (const QString &text : described.values)
        lines.append("        " + (isNumber ? text : view(text)) + ',');
    lines.append("    };");
}

// The header makes a list only once, so that a lookup does not pay for it again.
QStringList defaultLines(const Described &described, const QVariant &byDefault)
{
    if (described.type == value::Type::List) {
        QStringList items = byDefault.toStringList();
        for (QString &item : items)
            item = literal(item);
        return {"    static Type defaultValue()", "    {",
                "        static const Type value{" + items.join(", ") + "};",
                "        return value;", "    }"};
    }
    const QString text = byDefault.toString();
    return {described.type == value::Type::Text
                ? "    static Type defaultValue() { return " + literal(text) + "; }"
                : "    static constexpr Type defaultValue() { return " + text + "; }"};
}

QString ruleLine(const Described &described)
{
    QStringList rules;
    if (described.minimum)
        rules.append("value >= minimum");
    if (described.maximum)
        rules.append("value <= maximum");
    if (!described.values.isEmpty())
        rules.append("areAmong(value, values)");
    const bool isLiteral =
        described.type == value::Type::Int || described.type == value::Type::Bool;
    const QString begin = isLiteral ? "    static constexpr bool isAllowed(const Type &"
                                    : "    static bool isAllowed(const Type &";
    return rules.isEmpty() ? begin + ") { return true; }"
                           : begin + "value) { return " + rules.join(" && ") + "; }";
}

QString cppTypeOf(value::Type type)
{
    switch (type) {
    case value::Type::Int:
        return "int";
    case value::Type::Bool:
        return "bool";
    case value::Type::List:
        return "QStringList";
    case value::Type::Text:
        break;
    }
    return "QString";
}

void addStruct(QStringList &lines, const QString &identifier, const Described &described,
               const output::Format &format)
{
    lines.append("");
    addComment(lines, described);
    lines += {"struct " + identifier, "{", "    using Type = " + cppTypeOf(described.type) + ';',
              "    static QString group() { return " + literal(described.setting.group) + "; }",
              "    static QString key() { return " + literal(described.setting.key) + "; }"};
    if (described.minimum)
        lines.append(QString("    static constexpr Type minimum = %1;").arg(*described.minimum));
    if (described.maximum)
        lines.append(QString("    static constexpr Type maximum = %1;").arg(*described.maximum));
    if (!described.values.isEmpty())
        addValues(lines, described);
    if (const QVariant *byDefault = defaultOf(described, format))
        lines += defaultLines(described, *byDefault);
    lines += {ruleLine(described), "};"};
}

} // namespace

void header(const Context &context)
{
    QStringList lines = QString(beginning).split('\n');
    lines.removeLast();
    QHash<QString, QString> names;
    for (const Described &described : context.description.all()) {
        const QString name = described.setting.name();
        const QString identifier = identifierOf(described.setting);
        if (names.contains(identifier)) {
            throw Failure{Misuse,
                          {name,
                           "would be " + identifier + " in C++, as " + names[identifier] + " is",
                           "rename one of them"}};
        }
        names.insert(identifier, name);
        addStruct(lines, identifier, described, context.arguments.format);
    }
    lines += QString(ending).split('\n');
    lines.removeLast();
    output::bare(lines, {});
}

} // namespace generators
