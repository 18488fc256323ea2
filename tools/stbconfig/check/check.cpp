// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "checks.h"
#include "commands/commands.h"
#include "commands/rows.h"

#include <algorithm>

namespace {

struct CheckOptions
{
    check::Severity failOn = check::Severity::Warning;
    QVector<check::Id> ignored;
};

ExitStatus checkAll(const Context &context, const CheckOptions &own)
{
    QVector<output::Row> rows;
    bool isUnreadable = false;
    bool hasFailed = false;
    const check::Findings findings = check::findAll(context);
    for (const check::Finding &finding : findings) {
        if (own.ignored.contains(finding.id))
            continue;
        isUnreadable |= check::isOfReading(finding.id);
        hasFailed |= check::severityOf(finding.id) >= own.failOn;
        rows.append(rows::ofFinding(finding));
    }
    output::lines(rows, context.arguments.format);
    return isUnreadable ? CannotRead : hasFailed ? PlainNo : Done;
}

} // namespace

namespace check {

Findings findAll(const Context &context)
{
    Findings findings;
    prefixes(context.arguments.places, findings);
    const Description &description = context.description;
    if (context.descriptionProblem)
        findings.append({Id::BadDescription, *context.descriptionProblem});
    const QStringList harmless = files(context.files, description, findings);
    const QStringList opened = context.files.openedAtOnce();
    const QStringList all = context.files.all();
    // The library must not open files that would hang or end the process that opens them, so the
    // check ends here.
    const bool canAsk = std::all_of(opened.cbegin(), opened.cend(), [&](const QString &file) {
        return harmless.contains(file) || !all.contains(file);
    });
    if (!canAsk)
        return findings;
    const Session session(context.files);
    storages(session, harmless, findings);
    settingNames(session, findings);
    variables(session, description, findings);
    values(session, description, findings);
    againstDescription(session, context, findings);
    return findings;
}

} // namespace check

namespace rows {

output::Row ofFinding(const check::Finding &finding)
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

} // namespace rows

void addCheck(CommandLine &line)
{
    const auto own = std::make_shared<CheckOptions>();
    const Command command =
        line.addCommand("check", "find mistakes in files and variables",
                        [own](const Context &context) { return checkAll(context, *own); });
    command.addWord("--fail-on", "the least severity that gives status 1: error, warning, note",
                    [own](const QString &word) { own->failOn = check::severityNamed(word); });
    command
        .addWord("--ignore", "leave this finding out; can be given again",
                 [own](const QString &word) { own->ignored.append(check::idNamed(word)); })
        .givenOften();
    command.addRecords();
    command.treatBadDescription(BadDescription::Found);
}
