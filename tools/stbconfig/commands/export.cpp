// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "exchange.h"
#include "holdings.h"
#include "session.h"

namespace {

struct ExportOptions
{
    QString glob;
    bool isEffective = false;
    StorageChoice storage;
};

struct Exported
{
    Entries entries;
    QMap<QString, QString> origins; // where each comes from, if that is wanted
    QVector<Problem> lost; // what no file can carry
    int secrets = 0; // how many were left out
};

void add(Exported &all, const Context &context, const QString &name, const QVariant &value,
         bool isForeign)
{
    if (Setting::named(name).isSecret() && !context.arguments.format.showSecrets) {
        ++all.secrets;
    } else if (isForeign) {
        all.lost.append(
            {name, "left out: its type is one that only the application can write", {}});
    } else {
        all.entries.insert(name, value);
    }
}

Exported ownOnes(const Context &context, const QString &glob)
{
    const writing::Holdings holdings = writing::inspect(context.files, false);
    Exported result;
    for (auto it = holdings.written.cbegin(); it != holdings.written.cend(); ++it) {
        if (names::matches(glob, it.key()))
            add(result, context, it.key(), *it, holdings.foreign.contains(it.key()));
    }
    return result;
}

Exported effectiveOnes(const Context &context, const QString &glob)
{
    const writing::Holdings holdings = writing::inspect(context.files, true);
    const Session session(context.files);
    session.requireReadableFiles();
    Exported result;
    const QStringList all = session.settings();
    for (const QString &name : all) {
        if (!names::matches(glob, name))
            continue;
        const auto answers = session.ask(Setting::named(name));
        const auto *winner = provenance::winner(answers);
        const provenance::Keeper keeper = provenance::factsOf(winner->location).keeper;
        const bool isForeign =
            (keeper == provenance::Keeper::WrittenFile && holdings.foreign.contains(name))
            || (keeper == provenance::Keeper::ImageFile && holdings.foreignDefaults.contains(name));
        add(result, context, name, winner->value, isForeign);
        result.origins.insert(name, provenance::locationName(winner->location));
    }
    return result;
}

ExitStatus exportSettings(const Context &context, const ExportOptions &own)
{
    if (context.arguments.format.json)
        throw Failure{Misuse, {"export", "prints an INI file, no JSON", "for JSON use list"}};
    requireStorage(context.files, own.storage.mayCreate, CannotRead);
    Exported all = own.isEffective ? effectiveOnes(context, own.glob) : ownOnes(context, own.glob);
    const QVector<exchange::Refusal> refusals = exchange::refusalsOf(all.entries);
    for (const exchange::Refusal &refusal : refusals) {
        all.entries.remove(refusal.setting);
        all.lost.append({refusal.setting, "left out: " + refusal.problem.whatHappened, {}});
    }
    const QByteArray text = exchange::written(all.entries, context.arguments.places.asRoot);
    exchange::print(
        own.isEffective ? exchange::withComments(
            text, [&all](const QString &name) { return "; " + all.origins[name].toUtf8() + '\n'; })
                        : text);
    for (const Problem &problem : qAsConst(all.lost))
        output::note(problem);
    if (all.secrets != 0) {
        output::note({"export", QString("secrets left out: %1").arg(all.secrets),
                      "add --show-secrets to export them"});
    }
    const bool isNothing = all.entries.isEmpty() && all.secrets == 0;
    if (isNothing && all.lost.isEmpty() && !own.glob.isEmpty())
        output::note({own.glob, "no such setting", "see what there is with list"});
    return !all.lost.isEmpty() || (isNothing && !own.glob.isEmpty()) ? PlainNo : Done;
}

} // namespace

void addExport(CommandLine &line)
{
    const auto own = std::make_shared<ExportOptions>();
    const Command command =
        line.addCommand("export", "print the box's own settings as a file to import",
                        [own](const Context &context) { return exportSettings(context, *own); });
    command.addWord("glob", "only this group, or those that match",
                    [own](const QString &word) { own->glob = word; });
    const Option effective = command.addFlag("--effective", own->isEffective,
                                             "all that answer, each with its origin as a comment");
    command.addStorage(own->storage).excludes(effective);
    // Without the description it would export what the description calls secret.
    command.treatBadDescription(BadDescription::Refused);
}
