// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "holdings.h"
#include "session.h"
#include "setting.h"

#include <algorithm>

namespace {

struct ResetOptions
{
    QString glob;
    QStringList kept;
    StorageChoice storage;
    writing::Manner manner;
};

// The settings of the file that were meant.
struct Meant
{
    QStringList reset;
    QStringList kept;
};

// Returns what the description says of the setting. It says nothing of a named storage.
const Described *describedOf(const Context &context, const QString &name)
{
    return context.files.storage() ? nullptr
                                   : context.description.findByAnyName(Setting::named(name));
}

// An older name is reset or kept together with today's name of the setting: otherwise the next
// migration would bring back what was reset.
bool matches(const QString &glob, const QString &name, const Described *described)
{
    return names::matches(glob, name)
        || (described != nullptr && names::matches(glob, described->setting.name()));
}

Meant meantOf(const Context &context, const QStringList &all, const ResetOptions &own)
{
    Meant result;
    for (const QString &name : all) {
        const Described *described = describedOf(context, name);
        if (!matches(own.glob, name, described))
            continue;
        const bool isKept = (described != nullptr && described->isKept)
            || std::any_of(own.kept.cbegin(), own.kept.cend(),
                           [&](const QString &glob) { return matches(glob, name, described); });
        (isKept ? result.kept : result.reset).append(name);
    }
    return result;
}

Problem noMatch(const QString &glob, const QString &what, const QStringList &all)
{
    QStringList candidates = all;
    for (const QString &name : all)
        candidates.append(Setting::named(name).group);
    return {glob, what, names::suggestion(glob, candidates, "see what there is with list")};
}

void tellUnusedGlobs(const Context &context, const ResetOptions &own, const QStringList &all)
{
    for (const QString &glob : own.kept) {
        if (std::none_of(all.cbegin(), all.cend(), [&](const QString &name) {
                return matches(glob, name, describedOf(context, name));
            }))
            output::note(
                noMatch(glob, "--keep matches nothing in " + context.files.writtenFile(), all));
    }
}

output::Row rowOf(const Context &context, const QString &name, bool isKept, const QVariant *value,
                  const QString &origin)
{
    const output::Format &format = context.arguments.format;
    const Setting setting = Setting::named(name);
    const QString state = isKept ? "kept" : "reset";
    return {QJsonObject{{"setting", name},
                        {"state", state},
                        {"value", value ? output::json(setting, *value, format) : QJsonValue()},
                        {"origin", value ? QJsonValue(origin) : QJsonValue()}},
            {state, output::safe(name),
             value ? output::shown(setting, *value, format) + " from " + output::safe(origin)
                   : QString("not set")},
            {state, name, value ? origin : QString(),
             value ? output::field(setting, *value, format) : QString()}};
}

// Returns what answers once the file holds only what is kept. It is the same before the write and
// after it.
output::Row answerOf(const Context &context, const Session &session, const QString &name,
                     bool isKept, const QVariant &stored)
{
    if (context.files.storage())
        return rowOf(context, name, isKept, isKept ? &stored : nullptr,
                     context.files.writtenFile());
    auto answers = session.ask(Setting::named(name));
    if (!isKept)
        answers.removeFirst();
    // Nobody can ask for every name that a file can hold.
    const auto *winner = names::asStored(name) == name ? provenance::winner(answers) : nullptr;
    return rowOf(context, name, isKept, winner ? &winner->value : nullptr,
                 winner ? provenance::locationName(winner->location) : QString());
}

void tell(const Context &context, const Meant &meant, const Entries &before)
{
    const Session session(context.files);
    QVector<output::Row> rows;
    for (const QString &name : meant.reset)
        rows.append(answerOf(context, session, name, false, before[name]));
    for (const QString &name : meant.kept)
        rows.append(answerOf(context, session, name, true, before[name]));
    output::rows(rows, context.arguments.format);
    if (meant.reset.isEmpty()) {
        output::note({context.files.writtenFile(), "nothing is to be reset", {}});
        return;
    }
    output::note({context.files.writtenFile(),
                  QString("settings reset: %1, left as they are: %2")
                      .arg(meant.reset.size())
                      .arg(before.size() - meant.reset.size()),
                  "restart a running application: until then it goes on with the old ones, and may "
                  "write them again"});
    output::note({context.files.writtenFile(),
                  "this is no secure erase: the disk may still hold the old values",
                  {}});
}

ExitStatus reset(const Context &context, const ResetOptions &own)
{
    requireStorage(context.files, own.storage.mayCreate, NotSaved);
    const writing::Holdings holdings = writing::inspect(context.files, !context.files.storage());
    const QStringList all = holdings.written.keys();
    tellUnusedGlobs(context, own, all);
    const Meant meant = meantOf(context, all, own);
    if (!own.glob.isEmpty() && meant.reset.isEmpty() && meant.kept.isEmpty()) {
        output::note(noMatch(own.glob, "not set in " + context.files.writtenFile(), all));
        return PlainNo;
    }
    QStringList foreign = holdings.foreign;
    for (const QString &name : meant.reset)
        foreign.removeAll(name);
    writing::requireKeepable(context.files, foreign);
    writing::Change change;
    change.removeListed = meant.reset;
    const auto outcome = writing::save(context.files, holdings.written, change, own.manner);
    tellOf(outcome, [&] { tell(context, meant, holdings.written); });
    return Done;
}

} // namespace

QString patternOf(const QString &word, const QString &where)
{
    if (word.isEmpty())
        throw Failure{Misuse, {where, "an empty pattern", "name a group, or use \"*\" for all"}};
    return word;
}

void addReset(CommandLine &line)
{
    const auto own = std::make_shared<ResetOptions>();
    const Command command =
        line.addWriter("reset", "put the settings back to the defaults", own->manner,
                       [own](const Context &context) { return reset(context, *own); });
    command.addWord("glob", "only this group, or those that match",
                    [own](const QString &word) { own->glob = patternOf(word, "reset"); });
    command
        .addWord("--keep", "but not this group, or those that match; can be given again",
                 [own](const QString &word) { own->kept.append(patternOf(word, "--keep")); })
        .givenOften();
    command.addStorage(own->storage);
    command.addRecords();
    command.treatBadDescription(BadDescription::Refused);
}
