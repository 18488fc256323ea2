// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "session.h"

using provenance::Answer;
using stbconfig::ConfigurationManager;

namespace {

QString stateOf(const Answer &answer, const Answer &winner, const Answer &defaults)
{
    if (answer.location != winner.location)
        return "shadowed";
    if (!defaults.isHeld)
        return "added";
    return value::texts(answer.value) == value::texts(defaults.value) ? "redundant" : "changed";
}

output::Row rowOf(const Setting &setting, const QString &state, const Answer &answer,
                  const Answer &defaults, const output::Format &format)
{
    const QString location = provenance::locationName(answer.location);
    const QString shown = output::shown(setting, answer.value, format);
    const bool isChange = state == "changed";
    return {
        QJsonObject{{"setting", setting.name()},
                    {"state", state},
                    {"location", location},
                    {"value", output::json(setting, answer.value, format)},
                    {"default",
                     output::jsonOrNull(setting, defaults.isHeld ? &defaults : nullptr, format)}},
        {state, output::safe(setting.name()), location,
         isChange ? output::shown(setting, defaults.value, format) + " -> " + shown : shown},
        {state, setting.name(), location,
         defaults.isHeld ? output::field(setting, defaults.value, format) : QString(),
         output::field(setting, answer.value, format)}};
}

ExitStatus diff(const Context &context, const QString &glob)
{
    const Session session(context.files);
    session.requireReadableFiles();
    QVector<output::Row> rows;
    const QStringList settings = session.settings();
    for (const QString &name : settings) {
        if (!names::matches(glob, name))
            continue;
        const Setting setting = Setting::named(name);
        const auto answers = session.ask(setting);
        const Answer &winner = *provenance::winner(answers);
        const Answer &defaults = provenance::of(answers, ConfigurationManager::StbappConfDefault);
        for (const Answer &answer : answers) {
            if (answer.isHeld && answer.location != defaults.location) {
                rows.append(rowOf(setting, stateOf(answer, winner, defaults), answer, defaults,
                                  context.arguments.format));
            }
        }
    }
    output::rows(rows, context.arguments.format);
    return rows.isEmpty() ? Done : PlainNo;
}

} // namespace

void addDiff(CommandLine &line)
{
    const auto glob = std::make_shared<QString>();
    const Command command =
        line.addCommand("diff", "compare with the defaults",
                        [glob](const Context &context) { return diff(context, *glob); });
    command.addWord("glob", "only this group, or those that match",
                    [glob](const QString &word) { *glob = word; });
    command.addRecords();
}
