// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "exchange.h"
#include "holdings.h"
#include "loggingreader.h"
#include "session.h"
#include "setting.h"

namespace {

struct ImportOptions
{
    QString file;
    std::optional<exchange::Text> input;
    QString only;
    bool isReplacing = false;
    StorageChoice storage;
    writing::Manner manner;
};

exchange::Contents chosen(const exchange::Contents &all, const QString &glob)
{
    exchange::Contents result;
    for (auto it = all.entries.cbegin(); it != all.entries.cend(); ++it) {
        if (names::matches(glob, it.key()))
            result.entries.insert(it.key(), *it);
    }
    for (const exchange::Refusal &refusal : all.refusals) {
        if (refusal.setting.isEmpty() || names::matches(glob, refusal.setting))
            result.refusals.append(refusal);
    }
    return result;
}

std::optional<Problem> refusalOf(const Context &context, const Setting &setting,
                                 const QVariant &value, names::Nearest &nearest)
{
    if (context.files.storage())
        return {};
    if (auto misreading = loggingreader::misreading(setting, value.toString()))
        return misreading;
    // A box that may have to go back to an older version holds both names.
    if (context.description.findOld(setting))
        return {};
    const auto problem = forbiddenName(context, setting, nearest);
    return problem ? problem : forbiddenValue(context, setting, value);
}

// Names all of them, so that one correction of the file is enough.
void requireNoRefusals(const Context &context, const QString &source,
                       const exchange::Contents &contents)
{
    auto count = contents.refusals.size();
    for (const exchange::Refusal &refusal : contents.refusals)
        output::note(refusal.problem);
    names::Nearest nearest(context.description.names());
    for (auto it = contents.entries.cbegin(); it != contents.entries.cend(); ++it) {
        if (const auto problem = refusalOf(context, Setting::named(it.key()), *it, nearest)) {
            output::note(*problem);
            ++count;
        }
    }
    if (count != 0) {
        throw Failure{Misuse,
                      {source, QString("nothing is imported, refused: %1").arg(count),
                       "correct these, or choose others with --only"}};
    }
}

writing::Change changeTo(const Entries &wanted, const Entries &before, const ImportOptions &own)
{
    writing::Change change;
    for (auto it = wanted.cbegin(); it != wanted.cend(); ++it) {
        const auto old = before.constFind(it.key());
        if (old == before.cend() || !value::isSame(*old, *it))
            change.set.append({Setting::named(it.key()), *it});
    }
    for (auto it = before.cbegin(); own.isReplacing && it != before.cend(); ++it) {
        if (!wanted.contains(it.key()) && names::matches(own.only, it.key()))
            change.removeListed.append(it.key());
    }
    return change;
}

output::Row rowOf(const QString &name, const QVariant *old, const QVariant *value,
                  const output::Format &format)
{
    const Setting setting = Setting::named(name);
    const QString state = !old ? "added" : value ? "changed" : "removed";
    const auto json = [&](const QVariant *each) {
        return each ? output::json(setting, *each, format) : QJsonValue();
    };
    const auto field = [&](const QVariant *each) {
        return each ? output::field(setting, *each, format) : QString();
    };
    const QString was = old ? "was " + output::shown(setting, *old, format) : QString();
    const QString now = value ? output::shown(setting, *value, format) : QString();
    return {QJsonObject{
                {"setting", name}, {"state", state}, {"value", json(value)}, {"old", json(old)}},
            {state, output::safe(name),
             !value    ? was
                 : old ? now + " (" + was + ')'
                       : now},
            {state, name, field(old), field(value)}};
}

void tell(const Context &context, const writing::Change &change, const Entries &before)
{
    const output::Format &format = context.arguments.format;
    QVector<output::Row> rows;
    int secrets = 0;
    for (const auto &[setting, value] : change.set) {
        const auto old = before.constFind(setting.name());
        rows.append(rowOf(setting.name(), old == before.cend() ? nullptr : &*old, &value, format));
    }
    for (const QString &name : change.removeListed) {
        rows.append(rowOf(name, &*before.constFind(name), nullptr, format));
        secrets += Setting::named(name).isSecret() ? 1 : 0;
    }
    output::rows(rows, format);
    if (secrets != 0) {
        output::note({context.files.writtenFile(),
                      QString("secrets that were not given and are removed: %1").arg(secrets),
                      "export --show-secrets gives them"});
    }
    tellCount(context, rows.size());
}

ExitStatus importSettings(const Context &context, const ImportOptions &own)
{
    const bool asRoot = context.arguments.places.asRoot;
    requireStorage(context.files, own.storage.mayCreate, NotSaved);
    const exchange::Text text = own.input ? *own.input : exchange::fromFile(own.file, asRoot);
    const exchange::Contents contents = chosen(exchange::read(text, asRoot), own.only);
    requireNoRefusals(context, text.source, contents);
    // An empty text may come from a pipe whose first command failed; it must not remove everything.
    if (contents.entries.isEmpty()) {
        output::note({text.source,
                      own.only.isEmpty() ? "holds no setting" : "holds no setting " + own.only,
                      "nothing is imported"});
        return PlainNo;
    }
    const Entries before = writing::read(context.files, false).written;
    const writing::Change change = changeTo(contents.entries, before, own);
    writing::save(context.files, before, change, own.manner);
    tell(context, change, before);
    return Done;
}

} // namespace

void addImport(CommandLine &line)
{
    const auto own = std::make_shared<ImportOptions>();
    const Command command =
        line.addWriter("import", "take over the settings of an exported file", own->manner,
                       [own](const Context &context) { return importSettings(context, *own); });
    command
        .addWord("file", "the file, or - for standard input",
                 [own](const QString &word) { own->file = word; })
        .required();
    command.addWord("--only", "only this group, or those that match",
                    [own](const QString &word) { own->only = patternOf(word, "--only"); });
    command.addFlag("--replace", own->isReplacing, "remove what the file does not hold");
    command.addStorage(own->storage);
    command.addRecords();
    command.treatBadDescription(BadDescription::Refused);
    // The input is read before the time limit begins, because the other end may be slow.
    command.addRule([own] {
        if (own->file == "-")
            own->input = exchange::fromStandardInput();
    });
}
