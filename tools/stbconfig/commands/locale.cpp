// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "session.h"

namespace {

ExitStatus locale(const Context &context)
{
    const output::Format &format = context.arguments.format;
    const Session session(context.files);
    session.requireReadableFiles();
    const Setting setting{names::localeGroup, names::localeKey};
    const auto answers = session.ask(setting);
    const auto *winner = provenance::winner(answers);
    const QLocale result = session.manager().defaultLocale();
    const bool isMasked = winner != nullptr && output::isMasked(setting, winner->value, format);
    const QString text = !winner ? QString(names::builtInLocale)
        : isMasked               ? output::field(setting, winner->value, format)
                                 : winner->value.toString();
    const QString origin = winner ? provenance::locationName(winner->location) : "built in";
    if (format.json)
        output::object({{"locale", result.name()}, {"text", text}, {"origin", origin}});
    else if (format.nullSeparated)
        output::rows({{{}, {}, {result.name(), origin, text}}}, format);
    else
        output::line(result.name() + ", from \"" + output::safe(text) + "\", " + origin);
    if (result != QLocale::c() || text == "C")
        return Done;
    output::note({setting.name(), '"' + text + "\" gives the C locale",
                  "set a locale's name, such as ru or en_GB"});
    return PlainNo;
}

} // namespace

void addLocale(CommandLine &line)
{
    const Command command = line.addCommand("locale", "show the default locale", locale);
    command.addRecords();
}
