// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "entries.h"
#include "generators.h"
#include "holdings.h"
#include "reader.h"

#include <algorithm>

namespace generators {
namespace {

// A text with a "+" or zeros before it, as a telephone number has, is not a number.
bool isWholeNumber(const QVariant &value)
{
    const QString text = value.toString();
    return QString::number(text.toInt()) == text;
}

bool isBoolean(const QVariant &value)
{
    const QString text = value.toString();
    return text == "true" || text == "false";
}

bool isText(const QVariant &value) { return value.userType() == QMetaType::QString; }

// Tells whether the value is of a type that a description has.
bool isDescribable(const QVariant &value)
{
    const QVariantList items = value::isList(value) ? value.toList() : QVariantList{value};
    return std::all_of(items.cbegin(), items.cend(), isText);
}

// The characters of a secret may change, and their kind would tell a part of it, so it is always a
// text.
value::Type typeOf(const QVariantList &values, bool isSecret)
{
    const auto areAll = [&values](bool (*is)(const QVariant &)) {
        return std::all_of(values.cbegin(), values.cend(), is);
    };
    if (std::any_of(values.cbegin(), values.cend(), value::isList))
        return value::Type::List;
    if (isSecret)
        return value::Type::Text;
    return areAll(isWholeNumber) ? value::Type::Int
        : areAll(isBoolean)      ? value::Type::Bool
                                 : value::Type::Text;
}

QJsonObject described(const Setting &setting, const QVariantList &values)
{
    const bool isSecret =
        setting.isSecret() || std::any_of(values.cbegin(), values.cend(), value::holdsSecret);
    const value::Type type = typeOf(values, isSecret);
    QJsonObject result{{"type", value::nameOf(type)}, {"description", ""}};
    if (isSecret)
        result.insert("secret", true);
    else
        result.insert("default", QJsonValue::fromVariant(*value::converted(values.first(), type)));
    return result;
}

// Says why the setting cannot be described; empty if it can.
QString obstacleOf(const QString &name, const QVariantList &values)
{
    if (name.isEmpty())
        return "it has no name";
    if (entries::nameAsRead(name) != name)
        return "a file cannot express this name";
    if (!std::all_of(values.cbegin(), values.cend(), isDescribable))
        return "a description has no such type";
    QStringList texts{name};
    for (const QVariant &value : values)
        texts += value::texts(value);
    if (!std::all_of(texts.cbegin(), texts.cend(), description::canHold))
        return "it has a character that not every file gives back";
    return {};
}

} // namespace

void draft(const Context &context)
{
    const writing::Holdings holdings = writing::inspect(context.files, true);
    // The image's value goes first, because it is the default.
    QMap<QString, QVariantList> all;
    for (const Entries &entries : {holdings.defaults, holdings.written}) {
        for (auto it = entries.cbegin(); it != entries.cend(); ++it)
            all[it.key()].append(*it);
    }
    QJsonObject settings;
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        const QString obstacle = obstacleOf(it.key(), *it);
        if (obstacle.isEmpty())
            settings.insert(it.key(), described(Setting::named(it.key()), *it));
        else
            output::note(
                {it.key().isEmpty() ? QString("an entry") : it.key(), "left out: " + obstacle, {}});
    }
    output::object({{"$schema", "file://" STBCONFIG_DESCRIPTION_SCHEMA}, {"settings", settings}});
}

} // namespace generators
