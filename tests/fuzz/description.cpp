// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Reads any bytes as the description of the settings. The reader always returns. What it refuses
// has a place in the text; what it accepts obeys its own rules, and files give its names and values
// back.

#include "box.h"
#include "input.h"

#include <position.h>
#include <rawfile.h>
#include <reader.h>

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

using namespace stbconfig;

namespace {

void expectPlace(const Problem &problem, const QByteArray &text)
{
    static const QRegularExpression place("^file:([1-9][0-9]*):([1-9][0-9]*)$");
    const auto match = place.match(problem.thing);
    expect(match.hasMatch(), "a refusal names a line and a column:", problem.line());
    expect(!problem.whatHappened.isEmpty() && !problem.whatToDo.isEmpty(),
           "a refusal says what is wrong and what to do:", problem.line());
    QByteArray unified = text;
    const QList<QByteArray> lines = unified.replace("\r\n", "\n").replace('\r', '\n').split('\n');
    const int line = match.captured(1).toInt();
    expect(line <= lines.size(), "the line is one of the text:", problem.line());
    const auto columns =
        std::count_if(lines[line - 1].cbegin(), lines[line - 1].cend(),
                      [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; });
    expect(match.captured(2).toInt() <= columns + 1,
           "the column is one of the line:", problem.line());
}

bool canBegin(const QJsonValue &value, char byte)
{
    return value.isObject() ? byte == '{'
        : value.isArray()   ? byte == '['
        : value.isString()  ? byte == '"'
        : value.isBool()    ? byte == (value.toBool() ? 't' : 'f')
                            : byte == '-' || byte == '.' || (byte >= '0' && byte <= '9');
}

void expectPositions(const QByteArray &json, const QJsonValue &value, const position::Path &path)
{
    const auto offset = position::ofValue(json, path);
    expect(canBegin(value, json[offset]),
           "a value begins where it is said to begin:", path.join(' '));
    const QJsonArray items = value.toArray();
    for (int i = 0; i < items.size(); ++i)
        expectPositions(json, items[i], position::Path(path) << QString::number(i));
    const QJsonObject members = value.toObject();
    for (auto it = members.begin(); it != members.end(); ++it) {
        const position::Path below = position::Path(path) << it.key();
        const auto begin = position::ofName(json, below);
        const auto end = position::ofValue(json, below);
        const QByteArray member = '{' + json.mid(begin, end - begin) + "0}";
        expect(QJsonDocument::fromJson(member).object().keys() == QStringList(it.key()),
               "a name begins where it is said to begin:", below.join(' '));
        expectPositions(json, it.value(), below);
    }
}

QStringList allNames(const Description &description)
{
    QStringList result;
    for (const Described &described : description.all()) {
        result.append(described.setting.name());
        expect(description.find(described.setting) == &described,
               "a setting is found by its name:", result.last());
        expect(!description.findOld(described.setting),
               "a name of today is not an older one:", result.last());
        for (const OldName &old : described.was) {
            result.append(old.setting.name());
            expect(description.findOld(old.setting) == &described,
                   "a setting is found by an older name:", result.last());
        }
    }
    result.sort();
    return result;
}

void expectAllowed(const Described &described)
{
    const QString name = described.setting.name();
    const bool hasLimits = described.minimum || described.maximum;
    expect(!described.defaultValue || !description::breachOf(described, *described.defaultValue),
           "a default is allowed:", name);
    expect(!hasLimits || (described.type == value::Type::Int && described.values.isEmpty()),
           "only a number has limits, and no values then:", name);
    expect(!(described.minimum && described.maximum && *described.minimum > *described.maximum),
           "some number is allowed:", name);
    for (const QString &text : described.values)
        expect(described.type == value::Type::List || !description::breachOf(described, text),
               "a value is allowed:", name);
    for (const OldName &old : described.was) {
        for (const QVariant &today : old.values)
            expect(!description::breachOf(described, today),
                   "what a value became is allowed:", name);
    }
}

QMap<QString, QVariant> holdable(const Description &description)
{
    QMap<QString, QVariant> result;
    for (const Described &described : description.all()) {
        result[described.setting.name()] = described.defaultValue.value_or("");
        for (const OldName &old : described.was)
            result[old.setting.name()] =
                old.values.isEmpty() ? QVariant("") : old.values.cbegin().value();
    }
    return result;
}

void expectGivenBack(const QMap<QString, QVariant> &all)
{
    Box box;
    MessageCollector handler;
    {
        const ConfigurationManager manager(box.persistentPrefix(), box.defaultPrefix(), &handler);
        IStorableBackend &file =
            *manager.dynamicStorage(ConfigurationManager::CustomConfPersistent);
        for (auto it = all.begin(); it != all.end(); ++it) {
            const Setting setting = Setting::named(it.key());
            file.setValue(setting.group, setting.key, *it);
        }
    }
    box.move();
    const ConfigurationManager manager(box.persistentPrefix(), box.defaultPrefix(), &handler);
    const IReadableBackend &file =
        *manager.readOnlyStorage(ConfigurationManager::CustomConfPersistent);
    expect(file.allKeys() == all.keys(), "a file gives the names back:", file.allKeys().join(", "));
    for (auto it = all.begin(); it != all.end(); ++it) {
        const Setting setting = Setting::named(it.key());
        expect(value::isSame(file.value(setting.group, setting.key), *it),
               "a file gives the value back:", it.key());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QByteArray text = content.startsWith(byteOrderMark) ? content.mid(3) : content;
    Description description;
    try {
        description = description::read(content, "file");
    } catch (const Failure &failure) {
        expect(failure.status == CannotRead, "a refusal has the status of reading");
        expectPlace(failure.problem, text);
        return 0;
    }
    QStringList names = allNames(description);
    expect(names.removeDuplicates() == 0, "each name belongs to one setting:", names.join(", "));
    for (const Described &described : description.all())
        expectAllowed(described);
    expectPositions(text, QJsonDocument::fromJson(text).object(), {});
    expectGivenBack(holdable(description));
    return 0;
}
