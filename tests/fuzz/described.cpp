// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "described.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace {

// The files are likely to hold these. None is in both tables, so that each belongs to one setting.
const QString describable[] = {
    "Video/output", "a/a", "User/password", "Logging/level",
    "Video/level",  "a",   "User/output",   "Logging/imageRequestsEnabled",
};

const QString olderOnes[] = {
    "a/output", "Video/a", "User/a", "a/level", "a/password", "User/level", "Logging/a", "output",
};

const char *const rules[] = {
    R"({})",
    R"({"type": "int"})",
    R"({"type": "bool"})",
    R"({"type": "bool", "default": false})",
    R"({"type": "list", "default": ["a", "b"]})",
    R"({"values": ["hdmi", "ru", "1", "debug"], "default": "hdmi"})",
    R"({"type": "int", "minimum": 0, "maximum": 9, "default": 1})",
    R"({"type": "int", "values": [1, 2], "default": 2})",
    R"({"type": "list", "values": ["a", "b", "1"], "default": ["1", "a"]})",
    R"({"default": "hushhush", "secret": true})",
    R"({"default": "", "description": "\u001b[31m\n*a* %1", "since": "\u202e1"})",
};

QStringList textsOf(const QJsonValue &value)
{
    return value.isArray() ? value.toVariant().toStringList()
                           : QStringList(value.toVariant().toString());
}

QString nameOf(const QJsonValue &older)
{
    return older.isObject() ? older["name"].toString() : older.toString();
}

} // namespace

QString storedAs(const QString &type, const QString &text)
{
    if (type == "int")
        return QString::number(text.toInt());
    if (type == "bool")
        return QStringList{"true", "1"}.contains(text.toLower()) ? "true" : "false";
    return text;
}

Described::Described(Input &input) : isMade(true)
{
    unsigned older = input.byte();
    for (unsigned rest = input.byte() % 6; rest > 0; --rest) {
        const QString name = input.oneOf(describable);
        QJsonObject setting = QJsonDocument::fromJson(input.oneOf(rules)).object();
        const unsigned which = input.byte();
        if (which % 8 == 1)
            setting.insert("secret", true);
        if (which / 8 % 4 == 1)
            setting.insert("keep", true);
        QJsonArray was;
        for (unsigned count = which / 32 % 4; count > 0 && !settings.contains(name); --count) {
            const QString old = olderOnes[older++ % std::size(olderOnes)];
            const QJsonValue now = setting.value("default");
            if (which < 128 || now.isUndefined())
                was.append(old);
            else
                was.append(
                    QJsonObject{{"name", old}, {"values", QJsonObject{{"1", now}, {"hdmi", now}}}});
        }
        if (!was.isEmpty())
            setting.insert("was", was);
        if (!settings.contains(name))
            settings.insert(name, setting);
    }
}

QString Described::anyName(Input &input)
{
    return input.flag() ? input.oneOf(olderOnes) : input.oneOf(describable);
}

QByteArray Described::text() const
{
    return QJsonDocument(QJsonObject{{"settings", settings}}).toJson();
}

QStringList Described::olderNames(const QString &name) const
{
    QStringList result;
    const QJsonArray was = of(name).value("was").toArray();
    for (const QJsonValue &older : was)
        result.append(nameOf(older));
    return result;
}

QString Described::today(const QString &anyName) const
{
    const QStringList all = names();
    const auto it = std::find_if(all.begin(), all.end(), [&](const QString &name) {
        return name == anyName || olderNames(name).contains(anyName);
    });
    return it == all.end() ? QString() : *it;
}

bool Described::isSecret(const QString &name) const
{
    const QString setting = today(name);
    const QStringList all = olderNames(setting) << setting << name;
    return of(setting).value("secret").toBool()
        || std::any_of(all.begin(), all.end(),
                       [](const QString &each) { return each.section('/', -1) == "password"; });
}

std::optional<QStringList> Described::byDefault(const QString &name) const
{
    const QJsonValue value = of(name).value("default");
    return value.isUndefined() ? std::nullopt : std::optional(textsOf(value));
}

bool Described::allows(const QString &name, const Found &value) const
{
    // A file gives back an empty list as nothing.
    if (type(name) == "list" && !value.isText && value.texts == QStringList(""))
        return true;
    const QString whole = value.texts.join(',');
    if (type(name) == "bool")
        return QStringList{"true", "false", "1", "0"}.contains(whole.toLower());
    const QJsonObject rule = of(name);
    bool isNumber = false;
    const int number = whole.toInt(&isNumber);
    if (type(name) == "int"
        && (!isNumber || number < rule.value("minimum").toInt(number)
            || number > rule.value("maximum").toInt(number)))
        return false;
    if (!rule.contains("values"))
        return true;
    const QStringList values = textsOf(rule.value("values"));
    const QStringList items = type(name) == "list" ? value.texts
        : isNumber                                 ? QStringList(QString::number(number))
                                                   : QStringList(whole);
    return std::all_of(items.begin(), items.end(),
                       [&](const QString &item) { return values.contains(item); });
}

std::optional<QStringList> Described::migrated(const QString &name, const Holding &held) const
{
    if (held.contains(name))
        return {};
    const QJsonArray was = of(name).value("was").toArray();
    const auto newest = std::find_if(was.begin(), was.end(), [&](const QJsonValue &older) {
        return held.contains(nameOf(older));
    });
    if (newest == was.end())
        return {};
    const QStringList texts = held[nameOf(*newest)].texts;
    const QJsonValue mapped = (*newest)["values"][texts.join(',')];
    if (!mapped.isUndefined())
        return textsOf(mapped);
    return type(name) == "list" || texts.size() != 1
        ? texts
        : QStringList(storedAs(type(name), texts.first()));
}
