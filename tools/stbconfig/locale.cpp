// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"

ExitStatus locale(const Options &options)
{
    const Session session(options);
    session.requireReadableFiles();
    const Address address{QStringLiteral("Profile"), QStringLiteral("locale")};
    const auto answers = provenance::ask(session.manager(), address.group, address.key);
    const auto *winner = provenance::winner(answers);
    const QLocale result = session.manager().defaultLocale();
    const QString text = winner ? winner->value.toString() : QStringLiteral("ru");
    const QString origin =
        winner ? provenance::locationName(winner->location) : QStringLiteral("built in");
    const bool isMistaken = result == QLocale::c() && text != QLatin1String("C");
    if (options.json) {
        output::json(QJsonObject{{QStringLiteral("locale"), result.name()},
                                 {QStringLiteral("text"), text},
                                 {QStringLiteral("origin"), origin}});
    } else {
        output::line(result.name() + QLatin1String(", from \"")
                     + output::shown(address, text, options) + QLatin1String("\", ") + origin);
    }
    if (isMistaken) {
        output::complain(settingOf(address),
                         QLatin1Char('"') + text + QLatin1String("\" gives the C locale"),
                         QStringLiteral("set a locale's name, such as ru or en_GB"));
    }
    return isMistaken ? PlainNo : Done;
}
