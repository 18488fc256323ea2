// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "logging.h"

#include "commands.h"
#include "output.h"

#include <stbconfig/logsconfigwrapper.h>

using stbconfig::ConfigurationManager;
using stbconfig::LogsConfigWrapper;

namespace loggingsettings {

QStringList names()
{
    return {QStringLiteral("level"), QStringLiteral("responseLengthLimit"),
            QStringLiteral("jsonFormattingEnabled"), QStringLiteral("imageRequestsEnabled")};
}

QVariant effective(const Session &session, const QString &name)
{
    const LogsConfigWrapper reader(session.manager());
    switch (names().indexOf(name)) {
    case 0:
        return reader.level();
    case 1:
        return reader.responseLengthLimit();
    case 2:
        return reader.jsonFormattingEnabled();
    case 3:
        return reader.imageRequestsEnabled();
    }
    return {};
}

const provenance::Answer *origin(const QVector<provenance::Answer> &answers, const QString &name)
{
    for (const auto &answer : answers) {
        if (!answer.isHeld)
            continue;
        if (answer.location == ConfigurationManager::StbappConfDefault)
            return &answer;
        if (answer.location != ConfigurationManager::CustomConfPersistent)
            continue;
        // Only the number falls back to the default file.
        bool isNumber = true;
        if (name == QLatin1String("responseLengthLimit"))
            answer.value.toInt(&isNumber);
        if (isNumber)
            return &answer;
    }
    return nullptr;
}

QString meaning(const QString &name, const QVariant &effective)
{
    return name == QLatin1String("level")
        ? LogsConfigWrapper::stringLevelToIntLevel().key(effective.toInt())
        : QString();
}

QString misreading(const QString &name, const QString &text)
{
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    switch (names().indexOf(name)) {
    case 0:
        if (LogsConfigWrapper::stringLevelToIntLevel().contains(text) || (isNumber && number < 6))
            return {};
        return isNumber ? QStringLiteral("reads as error") : QStringLiteral("reads as critical");
    case 1:
        static_cast<void>(text.toInt(&isNumber));
        return isNumber ? QString() : QStringLiteral("is no number and would be skipped");
    case 2:
    case 3: {
        static const QStringList words{QStringLiteral("true"), QStringLiteral("false"),
                                       QStringLiteral("1"), QStringLiteral("0")};
        return words.contains(text) ? QString()
                                    : QStringLiteral("reads as ")
                + (QVariant(text).toBool() ? QStringLiteral("true") : QStringLiteral("false"));
    }
    }
    return {};
}

} // namespace loggingsettings

ExitStatus logging(const Options &options)
{
    using namespace loggingsettings;
    if (!options.loggingName.isEmpty()) {
        if (!names().contains(options.loggingName)) {
            throw Failure{Misuse, options.loggingName, QStringLiteral("no logging setting"),
                          QStringLiteral("use one of ") + names().join(QStringLiteral(", "))};
        }
        const QString wrong = misreading(options.loggingName, options.value);
        if (!wrong.isEmpty()) {
            throw Failure{
                Misuse, QLatin1String("Logging/") + options.loggingName,
                QLatin1Char('"') + options.value + QLatin1String("\" ") + wrong,
                options.loggingName == QLatin1String("level")
                    ? QStringLiteral("use critical, error, warning, info, debug, trace or 0 to 5")
                    : QStringLiteral("use a number, or true or false for a switch")};
        }
        Options write = options;
        write.address = {QStringLiteral("Logging"), options.loggingName};
        write.type = QStringLiteral("text");
        return set(write);
    }

    const Session session(options);
    session.requireReadableFiles();
    QJsonArray array;
    QVector<QStringList> rows;
    const QStringList settings = names();
    for (const QString &name : settings) {
        const Address address{QStringLiteral("Logging"), name};
        const auto answers = provenance::ask(session.manager(), address.group, address.key);
        const auto *from = origin(answers, name);
        const QVariant taken = effective(session, name);
        const QString word = meaning(name, taken);
        const QString source =
            from ? provenance::locationName(from->location) : QStringLiteral("built in");
        array.append(QJsonObject{
            {QStringLiteral("name"), name},
            {QStringLiteral("effective"), QJsonValue::fromVariant(taken)},
            {QStringLiteral("meaning"), word.isEmpty() ? QJsonValue() : QJsonValue(word)},
            {QStringLiteral("stored"),
             from ? output::jsonValue(address, from->value, options) : QJsonValue()},
            {QStringLiteral("source"), source}});
        const QString stored = from ? QLatin1String("stored as \"")
                + output::shown(address, from->value, options) + QLatin1Char('"')
                                    : QStringLiteral("not stored");
        rows.append({name, taken.toString() + (word.isEmpty() ? word : QLatin1Char(' ') + word),
                     stored, source});
    }
    if (options.json)
        output::json(array);
    else
        output::table(rows);
    return Done;
}
