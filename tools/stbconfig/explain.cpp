// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "logging.h"
#include "output.h"
#include "session.h"

using stbconfig::ConfigurationManager;

namespace {

QString reason(const provenance::Answer &answer, const provenance::Answer *winner)
{
    if (!answer.hasStorage)
        return QStringLiteral("this location has no backend");
    if (winner && winner->location == answer.location)
        return QStringLiteral("answers");
    if (answer.isHeld)
        return QLatin1String("shadowed by ") + provenance::locationName(winner->location);
    if (answer.location == ConfigurationManager::TemporaryApplicationStorage)
        return QStringLiteral("lives in the application's memory, unseen from outside");
    return QStringLiteral("not set");
}

// What those readers of the library make of it that do not simply take the winner.
QString readersView(const Session &session, const Address &address,
                    const QVector<provenance::Answer> &answers)
{
    if (address.group == QLatin1String("Profile") && address.key == QLatin1String("locale"))
        return QLatin1String("default locale: ") + session.manager().defaultLocale().name();
    if (address.group != QLatin1String("Logging")
        || !loggingsettings::names().contains(address.key))
        return {};
    const QVariant taken = loggingsettings::effective(session, address.key);
    const auto *origin = loggingsettings::origin(answers, address.key);
    return QStringLiteral("logging reader: takes %1 %2from %3; ignores the environment and memory")
        .arg(taken.toString(),
             loggingsettings::meaning(address.key, taken)
                 + QLatin1String(address.key == QLatin1String("level") ? " " : ""),
             origin ? provenance::locationName(origin->location)
                    : QStringLiteral("its built-in value"));
}

} // namespace

ExitStatus explain(const Options &options)
{
    const Session session(options);
    const Address &address = options.address;
    const auto answers = provenance::ask(session.manager(), address.group, address.key);
    const auto *winner = provenance::winner(answers);
    const QString view = readersView(session, address, answers);

    QJsonArray array;
    for (const auto &answer : answers) {
        array.append(QJsonObject{
            {QStringLiteral("location"), provenance::locationName(answer.location)},
            {QStringLiteral("held"), answer.isHeld},
            {QStringLiteral("value"),
             answer.isHeld ? output::jsonValue(address, answer.value, options) : QJsonValue()},
            {QStringLiteral("source"), session.source(answer.location, address)},
            {QStringLiteral("reason"), reason(answer, winner)}});
    }
    if (options.json) {
        output::json(QJsonObject{
            {QStringLiteral("group"), address.group},
            {QStringLiteral("key"), address.key},
            {QStringLiteral("winner"),
             winner ? QJsonValue(provenance::locationName(winner->location)) : QJsonValue()},
            {QStringLiteral("value"),
             winner ? output::jsonValue(address, winner->value, options) : QJsonValue()},
            {QStringLiteral("reader"), view},
            {QStringLiteral("answers"), array}});
        session.requireReadableFiles();
        return winner ? Done : PlainNo;
    }

    output::line(settingOf(address)
                 + (winner ? QLatin1String(" = ")
                            + output::bold(output::shown(address, winner->value, options))
                           : QStringLiteral(" is not set")));
    for (const auto &answer : answers) {
        const bool isWinner = &answer == winner;
        const QString source = session.source(answer.location, address);
        output::line(QStringLiteral("%1 %2  %3%4")
                         .arg(QLatin1String(isWinner ? "->" : "  "),
                              provenance::locationName(answer.location).leftJustified(27),
                              answer.isHeld ? output::shown(address, answer.value, options)
                                      + QLatin1String(", ")
                                            : QString(),
                              reason(answer, winner)));
        if (!source.isEmpty())
            output::line(QString(32, QLatin1Char(' ')) + source);
    }
    if (!view.isEmpty())
        output::line(view);
    // Last, because what the other locations answer helps to mend the file.
    session.requireReadableFiles();
    return winner ? Done : PlainNo;
}
