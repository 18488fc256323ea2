// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"

namespace {

void print(const Options &options, const QVariant &value, const QString &origin)
{
    if (options.json) {
        // The one place where a secret is meant to be seen.
        Options open = options;
        open.showSecrets = true;
        output::json(
            QJsonObject{{QStringLiteral("group"), options.address.group},
                        {QStringLiteral("key"), options.address.key},
                        {QStringLiteral("value"), output::jsonValue(options.address, value, open)},
                        {QStringLiteral("origin"), origin}});
    } else if (value.type() == QVariant::StringList) {
        const QStringList items = value.toStringList();
        for (const QString &text : items)
            output::record(text, options);
    } else {
        output::record(value.toString(), options);
    }
}

// The value as an application's conversion would see it.
QVariant converted(const Options &options, const QVariant &value)
{
    if (options.type == QLatin1String("int")) {
        bool isNumber = false;
        const int number = value.toInt(&isNumber);
        if (!isNumber) {
            throw Failure{Misuse, settingOf(options.address),
                          QStringLiteral("no number: ") + output::plain(value),
                          QStringLiteral("read it --as text")};
        }
        return QString::number(number);
    }
    if (options.type == QLatin1String("bool"))
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (options.type == QLatin1String("list"))
        return value.toStringList();
    if (options.type == QLatin1String("text"))
        return value.toString();
    return value;
}

} // namespace

ExitStatus get(const Options &options)
{
    const Session session(options);
    const auto &[group, key] = options.address;
    if (const auto *storage = session.namedStorage(CannotRead)) {
        if (storage->contains(group, key)) {
            print(options, converted(options, storage->value(group, key)), session.writtenFile());
            return Done;
        }
    } else {
        session.requireReadableFiles();
        const auto answers = provenance::ask(session.manager(), group, key);
        for (const auto &answer : answers) {
            if (!answer.isHeld || (options.from && locationOf(*options.from) != answer.location))
                continue;
            print(options, converted(options, answer.value),
                  provenance::locationName(answer.location));
            return Done;
        }
        if (options.from)
            locationOf(*options.from);
    }
    if (options.defaultValue) {
        print(options, converted(options, *options.defaultValue), QStringLiteral("--default"));
        return Done;
    }
    output::complain(settingOf(options.address), QStringLiteral("not set"),
                     QStringLiteral("set it, or give --default"));
    return PlainNo;
}
