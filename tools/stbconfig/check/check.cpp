// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "checks.h"
#include "commands/commands.h"

#include <algorithm>

namespace {

struct CheckOptions
{
    check::Severity failOn = check::Severity::Warning;
    QVector<check::Id> ignored;
};

check::Findings findAll(const Context &context)
{
    check::Findings findings;
    check::prefixes(context.arguments.places, findings);
    const QStringList harmless = check::files(context.files, findings);
    const QStringList opened = context.files.openedAtOnce();
    const QStringList all = context.files.all();
    // Nothing else can be asked of files that would hang or end whoever opens them.
    const bool canAsk = std::all_of(opened.cbegin(), opened.cend(), [&](const QString &file) {
        return harmless.contains(file) || !all.contains(file);
    });
    if (!canAsk)
        return findings;
    const Session session(context.files);
    check::storages(session, harmless, findings);
    check::settingNames(session, findings);
    check::variables(session, findings);
    check::values(session, findings);
    return findings;
}

output::Row rowOf(const check::Finding &finding)
{
    const QString severity = check::nameOf(check::severityOf(finding.id));
    const QString id = check::nameOf(finding.id);
    const auto &[place, message, remedy] = finding.problem;
    return {QJsonObject{{"id", id},
                        {"severity", severity},
                        {"place", place},
                        {"message", message},
                        {"remedy", remedy}},
            {severity + ' ' + id + ": " + finding.problem.line()},
            {severity, id, place, message, remedy}};
}

ExitStatus checkAll(const Context &context, const CheckOptions &own)
{
    QVector<output::Row> rows;
    bool isUnreadable = false;
    bool hasFailed = false;
    const check::Findings findings = findAll(context);
    for (const check::Finding &finding : findings) {
        if (own.ignored.contains(finding.id))
            continue;
        isUnreadable |= check::isOfReading(finding.id);
        hasFailed |= check::severityOf(finding.id) >= own.failOn;
        rows.append(rowOf(finding));
    }
    output::lines(rows, context.arguments.format);
    return isUnreadable ? CannotRead : hasFailed ? PlainNo : Done;
}

} // namespace

void addCheck(CommandLine &line)
{
    const auto own = std::make_shared<CheckOptions>();
    const Command command =
        line.addCommand("check", "find what will hurt",
                        [own](const Context &context) { return checkAll(context, *own); });
    command.addWord("--fail-on", "the least severity that gives status 1: error, warning, note",
                    [own](const QString &word) { own->failOn = check::severityNamed(word); });
    command
        .addWord("--ignore", "leave this finding out; can be given again",
                 [own](const QString &word) { own->ignored.append(check::idNamed(word)); })
        .givenOften();
    command.addRecords();
}
