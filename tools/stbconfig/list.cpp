// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"

namespace {

struct Row
{
    QString setting;
    QVariant value;
    QString origin;
};

QVector<Row> rowsOf(const Session &session, const Options &options)
{
    QVector<Row> rows;
    if (const auto *storage = session.namedStorage(CannotRead)) {
        QStringList settings = storage->allKeys();
        settings.sort();
        for (const QString &setting : settings) {
            const Address address = addressOf(setting);
            rows.append(
                {setting, storage->value(address.group, address.key), session.writtenFile()});
        }
        return rows;
    }
    session.requireReadableFiles();
    const QStringList settings = session.settings();
    for (const QString &setting : settings) {
        const Address address = addressOf(setting);
        const auto answers = provenance::ask(session.manager(), address.group, address.key);
        for (const auto &answer : answers) {
            if (!answer.isHeld || (options.from && locationOf(*options.from) != answer.location))
                continue;
            rows.append({setting, answer.value, provenance::locationName(answer.location)});
            break;
        }
    }
    return rows;
}

} // namespace

ExitStatus list(const Options &options)
{
    const Session session(options);
    if (options.from)
        locationOf(*options.from);
    QJsonArray array;
    QVector<QStringList> table;
    const QVector<Row> rows = rowsOf(session, options);
    for (const Row &row : rows) {
        if (!matches(options.glob, row.setting))
            continue;
        const Address address = addressOf(row.setting);
        const QString shown = output::shown(address, row.value, options);
        array.append(
            QJsonObject{{QStringLiteral("setting"), row.setting},
                        {QStringLiteral("value"), output::jsonValue(address, row.value, options)},
                        {QStringLiteral("origin"), row.origin}});
        table.append({row.setting});
        if (options.keysOnly)
            continue;
        if (options.origin || !options.nullSeparated)
            table.last().append(row.origin);
        table.last().append(shown);
    }
    if (options.json) {
        output::json(array);
    } else if (options.nullSeparated) {
        for (const QStringList &row : table)
            output::record(row.join(QLatin1Char('\t')), options);
    } else {
        output::table(table);
    }
    return table.isEmpty() ? PlainNo : Done;
}
