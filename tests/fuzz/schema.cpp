// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Knows as much of JSON Schema as the command's schemas use. tests/tool/validate.py knows all of
// it, but takes longer to start than a run takes here.

#include "schema.h"

#include "box.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {

QJsonObject schemaIn(const QString &file)
{
    static QMap<QString, QJsonObject> known;
    if (!known.contains(file)) {
        QFile source(SCHEMAS + file);
        expect(source.open(QFile::ReadOnly), "there is a schema:", file);
        known[file] = QJsonDocument::fromJson(source.readAll()).object();
    }
    return known[file];
}

bool isOfType(const QJsonValue &value, const QString &type)
{
    if (type == "integer")
        return value.isDouble() && value.toDouble() == std::floor(value.toDouble());
    return (type == "string" && value.isString()) || (type == "array" && value.isArray())
        || (type == "object" && value.isObject()) || (type == "boolean" && value.isBool())
        || (type == "null" && value.isNull());
}

class Validator
{
public:
    explicit Validator(QString name) : file(std::move(name)) {}

    bool accepts(const QJsonValue &value) const { return accepts(schemaIn(file), value); }

private:
    bool accepts(const QJsonObject &schema, const QJsonValue &value) const
    {
        for (auto rule = schema.begin(); rule != schema.end(); ++rule) {
            if (!obeys(value, rule.key(), rule.value(), schema))
                return false;
        }
        return true;
    }

    int matches(const QJsonValue &schemas, const QJsonValue &value) const
    {
        const QJsonArray all = schemas.toArray();
        return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const QJsonValue &each) {
            return accepts(each.toObject(), value);
        }));
    }

    bool refersTo(const QString &reference, const QJsonValue &value) const
    {
        const QString other = reference.section('#', 0, 0);
        const Validator validator(other.isEmpty() ? file : other);
        QJsonValue part = schemaIn(validator.file);
        const QStringList steps = reference.section('#', 1).split('/', Qt::SkipEmptyParts);
        for (const QString &step : steps)
            part = part.toObject()[step];
        expect(part.isObject(), "a schema refers to what there is:", reference);
        return validator.accepts(part.toObject(), value);
    }

    bool obeys(const QJsonValue &value, const QString &word, const QJsonValue &rule,
               const QJsonObject &schema) const
    {
        if (word == "$ref")
            return refersTo(rule.toString(), value);
        if (word == "const")
            return value == rule;
        if (word == "enum")
            return rule.toArray().contains(value);
        if (word == "anyOf")
            return matches(rule, value) > 0;
        if (word == "oneOf")
            return matches(rule, value) == 1;
        if (word == "allOf")
            return matches(rule, value) == rule.toArray().size();
        if (word == "not")
            return !accepts(rule.toObject(), value);
        if (word == "if") {
            const char *const next = accepts(rule.toObject(), value) ? "then" : "else";
            return accepts(schema[next].toObject(), value);
        }
        if (word == "type") {
            const QJsonArray types = rule.isArray() ? rule.toArray() : QJsonArray{rule};
            return std::any_of(types.begin(), types.end(), [&](const QJsonValue &type) {
                return isOfType(value, type.toString());
            });
        }
        if (value.isString())
            return obeysAsText(value.toString(), word, rule);
        if (value.isArray())
            return obeysAsList(value.toArray(), word, rule);
        if (value.isObject())
            return obeysAsObject(value.toObject(), word, rule, schema);
        if (value.isDouble() && word == "minimum")
            return value.toDouble() >= rule.toDouble();
        if (value.isDouble() && word == "maximum")
            return value.toDouble() <= rule.toDouble();
        return isKnown(word);
    }

    static bool obeysAsText(const QString &text, const QString &word, const QJsonValue &rule)
    {
        if (word == "minLength")
            return text.size() >= rule.toInt();
        if (word == "pattern")
            return QRegularExpression(rule.toString()).match(text).hasMatch();
        return isKnown(word);
    }

    bool obeysAsList(const QJsonArray &list, const QString &word, const QJsonValue &rule) const
    {
        if (word == "minItems")
            return list.size() >= rule.toInt();
        if (word == "maxItems")
            return list.size() <= rule.toInt();
        if (word == "items") {
            return std::all_of(list.begin(), list.end(), [&](const QJsonValue &item) {
                return accepts(rule.toObject(), item);
            });
        }
        return isKnown(word);
    }

    bool obeysAsObject(const QJsonObject &object, const QString &word, const QJsonValue &rule,
                       const QJsonObject &schema) const
    {
        const QStringList names = object.keys();
        if (word == "required") {
            const QJsonArray needed = rule.toArray();
            return std::all_of(needed.begin(), needed.end(), [&](const QJsonValue &name) {
                return names.contains(name.toString());
            });
        }
        if (word == "additionalProperties") {
            return std::all_of(names.begin(), names.end(), [&](const QString &name) {
                return schema["properties"].toObject().contains(name);
            });
        }
        if (word == "properties") {
            return std::all_of(names.begin(), names.end(), [&](const QString &name) {
                return accepts(rule.toObject()[name].toObject(), object[name]);
            });
        }
        return isKnown(word);
    }

    // An unknown rule is a failure, so that none of a schema is forgotten here.
    static bool isKnown(const QString &word)
    {
        static const QStringList others{
            "$schema",   "title",    "description", "$defs",
            "then",      "else",     "properties",  "required",
            "items",     "minItems", "maxItems",    "pattern",
            "minLength", "minimum",  "maximum",     "additionalProperties"};
        expect(others.contains(word), "this reader of schemas knows the word:", word);
        return true;
    }

    QString file;
};

} // namespace

bool fitsSchema(const QJsonValue &value, const QString &name)
{
    return Validator(name + ".json").accepts(value);
}
