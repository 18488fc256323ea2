// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"

using stbconfig::ConfigurationManager;

namespace {

QString stateOf(const provenance::Answer &answer, const provenance::Answer &winner,
                const provenance::Answer &defaults)
{
    if (answer.location != winner.location)
        return QStringLiteral("shadowed");
    if (!defaults.isHeld)
        return QStringLiteral("added");
    return texts(answer.value) == texts(defaults.value) ? QStringLiteral("redundant")
                                                        : QStringLiteral("changed");
}

} // namespace

ExitStatus diff(const Options &options)
{
    const Session session(options);
    session.requireReadableFiles();
    QJsonArray array;
    QVector<QStringList> rows;
    const QStringList settings = session.settings();
    for (const QString &setting : settings) {
        if (!matches(options.glob, setting))
            continue;
        const Address address = addressOf(setting);
        const auto answers = provenance::ask(session.manager(), address.group, address.key);
        const auto &winner = *provenance::winner(answers);
        const auto &defaults =
            *std::find_if(answers.cbegin(), answers.cend(), [](const auto &answer) {
                return answer.location == ConfigurationManager::StbappConfDefault;
            });
        for (const auto &answer : answers) {
            if (!answer.isHeld || answer.location == ConfigurationManager::StbappConfDefault)
                continue;
            const QString state = stateOf(answer, winner, defaults);
            const QString location = provenance::locationName(answer.location);
            const QString shown = output::shown(address, answer.value, options);
            array.append(QJsonObject{
                {QStringLiteral("setting"), setting},
                {QStringLiteral("state"), state},
                {QStringLiteral("location"), location},
                {QStringLiteral("value"), output::jsonValue(address, answer.value, options)},
                {QStringLiteral("default"),
                 defaults.isHeld ? output::jsonValue(address, defaults.value, options)
                                 : QJsonValue()}});
            rows.append({state, setting, location,
                         defaults.isHeld && state == QLatin1String("changed")
                             ? output::shown(address, defaults.value, options)
                                 + QLatin1String(" -> ") + shown
                             : shown});
        }
    }
    if (options.json) {
        output::json(array);
    } else if (options.nullSeparated) {
        for (const QStringList &row : rows)
            output::record(row.join(QLatin1Char('\t')), options);
    } else {
        output::table(rows);
    }
    return rows.isEmpty() ? Done : PlainNo;
}
