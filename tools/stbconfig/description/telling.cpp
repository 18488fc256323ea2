// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "telling.h"

#include <algorithm>

namespace description {
namespace {

constexpr int indent = 2;

bool isOfToday(const Told &told) { return told.setting.name() == told.described->setting.name(); }

// A renamed setting may have other values today, so this says nothing of a value under an older
// name. The allowed value that is nearest to a secret would tell a part of it.
QString breach(const Told &told, const output::Format &format)
{
    if (!told.value || !isOfToday(told))
        return {};
    const auto breach = breachOf(*told.described, *told.value);
    if (!breach)
        return {};
    const bool isHidden = output::isMasked(told.setting, *told.value, format);
    return breach->nearest.isEmpty() || isHidden ? breach->what
                                                 : breach->what + "; use " + breach->nearest;
}

QStringList wrapped(const QString &text, int further)
{
    return output::wrapped(output::printable(text), indent, further);
}

QJsonArray valuesOf(const Described &described)
{
    QJsonArray result;
    for (const QString &text : described.values) {
        const bool isNumber = described.type == value::Type::Int;
        result.append(isNumber ? QJsonValue(text.toInt()) : QJsonValue(text));
    }
    return result;
}

QJsonValue numberOrNull(const std::optional<int> &number)
{
    return number ? QJsonValue(*number) : QJsonValue();
}

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

} // namespace

Told told(const Description &description, const Setting &setting, const QVariant *value)
{
    const Setting stored = Setting::named(names::asStored(setting.name()));
    return {stored, description.findByAnyName(stored), value};
}

QStringList lines(const Told &told, const output::Format &format)
{
    if (!told.described)
        return {QString(indent, ' ') + "not described"};
    const Described &described = *told.described;
    const bool isToday = isOfToday(told);
    QStringList result;
    if (!isToday)
        result += wrapped("today's name: " + output::safe(described.setting.name()), 2);
    const QStringList text = described.text.trimmed().split('\n');
    if (text != QStringList(QString())) {
        for (const QString &line : text)
            result += line.trimmed().isEmpty() ? QStringList(QString()) : wrapped(line, 0);
    }
    result += wrapped("allowed: " + allowed(described), 2);
    if (described.defaultValue) {
        result +=
            wrapped("default: " + output::shown(described.setting, *described.defaultValue, format)
                        + (told.value || !isToday ? "" : ", which the application takes"),
                    2);
    }
    if (!described.since.isEmpty())
        result += wrapped("since: " + described.since, 2);
    const QString bad = breach(told, format);
    if (!bad.isEmpty())
        result += wrapped("the value " + bad, 2);
    return result;
}

QJsonValue json(const Told &told, const output::Format &format)
{
    if (!told.described)
        return {};
    const Described &described = *told.described;
    const QVariant *byDefault = described.defaultValue ? &*described.defaultValue : nullptr;
    return QJsonObject{
        {"setting", described.setting.name()},
        {"type", value::nameOf(described.type)},
        {"values", valuesOf(described)},
        {"minimum", numberOrNull(described.minimum)},
        {"maximum", numberOrNull(described.maximum)},
        {"description", described.text},
        {"default", byDefault ? output::json(described.setting, *byDefault, format) : QJsonValue()},
        {"since", textOrNull(described.since)},
        {"breach", textOrNull(breach(told, format))}};
}

QStringList fields(const Told &told, const output::Format &format)
{
    if (!told.described)
        return {{}, {}, {}};
    const Described &described = *told.described;
    return {described.defaultValue
                ? output::field(described.setting, *described.defaultValue, format)
                : QString(),
            allowed(described), described.text};
}

} // namespace description
