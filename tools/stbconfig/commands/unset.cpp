// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "holdings.h"
#include "session.h"
#include "setting.h"

namespace {

struct UnsetOptions
{
    Words words;
    std::optional<QString> group;
    bool isRedundant = false;
    StorageChoice storage;
    writing::Manner manner;
};

// Tells whether the same value answers when the entry is gone, whichever location it then comes
// from. An entry that nobody can ask for has no value to compare.
bool isRedundant(const QString &name, const QVariant &value, const Entries &defaults,
                 bool countsVariables)
{
    const auto byDefault = defaults.constFind(name);
    if (names::asStored(name) != name || byDefault == defaults.cend()
        || !value::isSame(*byDefault, value))
        return false;
    const QByteArray variable = Setting::named(name).variable().toLocal8Bit();
    return !countsVariables || !qEnvironmentVariableIsSet(variable.constData())
        || value::isSame(QString::fromLocal8Bit(qgetenv(variable.constData())), value);
}

QStringList redundantOnes(const writing::Holdings &holdings, bool countsVariables)
{
    QStringList result;
    for (auto it = holdings.written.cbegin(); it != holdings.written.cend(); ++it) {
        if (isRedundant(it.key(), *it, holdings.defaults, countsVariables))
            result.append(it.key());
    }
    return result;
}

QStringList chosenOnes(const Context &context, const UnsetOptions &own,
                       const writing::Holdings &holdings)
{
    const QStringList all = holdings.written.keys();
    if (own.isRedundant)
        return redundantOnes(holdings, context.arguments.environment.isNamed());
    if (own.group) {
        QStringList result;
        for (const QString &name : all) {
            if (name.startsWith(*own.group + '/'))
                result.append(name);
        }
        return result;
    }
    const QString name = own.words.setting(true).name();
    return all.contains(name) ? QStringList{name} : QStringList();
}

Problem nothingChosen(const Context &context, const UnsetOptions &own,
                      const writing::Holdings &holdings)
{
    const QString name = own.group ? *own.group : own.words.setting(true).name();
    QStringList candidates = holdings.written.keys();
    if (own.group) {
        for (QString &candidate : candidates)
            candidate = Setting::named(candidate).group;
    }
    return {name, "not set in " + context.files.writtenFile(),
            names::suggestion(name, candidates, "see where it is set with explain")};
}

writing::Change changeOf(const UnsetOptions &own, const QStringList &chosen)
{
    writing::Change change;
    // The group goes as a whole, because Qt cannot address every key that a file written by hand
    // can hold.
    if (own.group) {
        change.removeGroup = *own.group;
        return change;
    }
    for (const QString &name : chosen)
        change.remove.append(Setting::named(name));
    return change;
}

// Returns what answers for the setting now; null for a named storage, which takes no part in that.
const provenance::Answer *winnerNow(const Context &context,
                                    const QVector<provenance::Answer> &answers)
{
    return context.files.storage() ? nullptr : provenance::winner(answers);
}

void tell(const Context &context, const UnsetOptions &own, const QStringList &chosen)
{
    const output::Format &format = context.arguments.format;
    const Session session(context.files);
    QVector<output::Row> rows;
    for (const QString &name : chosen) {
        const Setting setting = Setting::named(name);
        auto answers = session.ask(setting);
        // A dry run has removed nothing, so the custom file's answer is left out here.
        if (own.manner.dryRun && !context.files.storage())
            answers.removeFirst();
        const auto *winner = winnerNow(context, answers);
        const QString now = winner ? output::shown(setting, winner->value, format) + " from "
                + provenance::locationName(winner->location)
                                   : QString("not set");
        rows.append(
            {QJsonObject{
                 {"setting", name},
                 {"value", output::jsonOrNull(setting, winner, format)},
                 {"origin",
                  winner ? QJsonValue(provenance::locationName(winner->location)) : QJsonValue()},
                 {"dryRun", own.manner.dryRun}},
             {own.manner.dryRun ? "would unset " + output::safe(name) + ", then it is " + now
                                : output::safe(name) + " is now " + now},
             {name, winner ? provenance::locationName(winner->location) : QString(),
              winner ? output::field(setting, winner->value, format) : QString()}});
    }
    output::lines(rows, format);
}

// Entries under older names hide nothing, but the next migration would take their values over.
void tellOlderNames(const Context &context, const QStringList &chosen, Entries left)
{
    for (const QString &name : chosen)
        left.remove(name);
    for (const QString &name : chosen) {
        const Described *described = context.description.find(Setting::named(name));
        if (!described)
            continue;
        for (const OldName &old : described->was) {
            if (left.contains(old.setting.name())) {
                output::note(
                    {old.setting.name(),
                     "still holds a value, which stbconfig migrate would take over to " + name,
                     "unset it, too"});
            }
        }
    }
}

ExitStatus unset(const Context &context, const UnsetOptions &own)
{
    requireStorage(context.files, own.storage.mayCreate, NotSaved);
    const writing::Holdings holdings =
        writing::read(context.files, own.isRedundant || !context.files.storage());
    const QStringList chosen = chosenOnes(context, own, holdings);
    if (chosen.isEmpty() && !own.isRedundant) {
        output::note(nothingChosen(context, own, holdings));
        return PlainNo;
    }
    auto outcome = writing::Unchanged;
    if (!chosen.isEmpty())
        outcome = writing::save(context.files, holdings.written, changeOf(own, chosen), own.manner);
    else if (context.arguments.verbose)
        output::note({"unset", "nothing is redundant", {}});
    if (!context.files.storage())
        tellOlderNames(context, chosen, holdings.written);
    tellOf(outcome, [&] { tell(context, own, chosen); });
    return Done;
}

} // namespace

void addUnset(CommandLine &line)
{
    const auto own = std::make_shared<UnsetOptions>();
    const Command command =
        line.addWriter("unset", "remove from the custom file", own->manner,
                       [own](const Context &context) { return unset(context, *own); });
    const Option words = command.addWords(own->words);
    const Option group = command.addWord("--group", "a whole group", [own](const QString &word) {
        own->group = names::asStored(word);
    });
    const Option redundant = command.addFlag(
        "--redundant", own->isRedundant,
        "what equals the defaults; with --pid or --env-file, not what hides a variable");
    const Option storage = command.addStorage(own->storage);
    group.excludes(words);
    redundant.excludes(words).excludes(group).excludes(storage);
    command.addRecords();
    command.addRule([own] {
        if (own->words.all.isEmpty() && !own->group && !own->isRedundant) {
            throw Failure{Misuse,
                          {"unset", "nothing named",
                           "name a setting as GROUP/KEY, /KEY or GROUP KEY, or give --group or "
                           "--redundant"}};
        }
        // Qt takes an empty group for the whole file.
        if (own->group && own->group->isEmpty())
            throw Failure{Misuse, {"unset", "an empty group", "name the group"}};
        if (!own->words.all.isEmpty())
            requireOwnName(own->words.setting(true));
    });
}
