// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "session.h"
#include "telling.h"

namespace {

struct ListOptions
{
    QString glob;
    std::optional<provenance::Location> from;
    bool namesOnly = false;
    bool isDescribing = false;
    StorageChoice storage;
};

struct Holder
{
    QVariant value;
    QString origin;
};

// Returns who answers for the setting, if that is a location that was asked for.
std::optional<Holder> holderOf(const Session &session, const QString &name, const ListOptions &own)
{
    const auto answers = session.ask(Setting::named(name));
    for (const auto &answer : answers) {
        if (answer.isHeld && (!own.from || *own.from == answer.location))
            return Holder{answer.value, provenance::locationName(answer.location)};
    }
    return {};
}

output::Row rowOf(const QString &name, const Holder &holder, const ListOptions &own,
                  const output::Format &format)
{
    const Setting setting = Setting::named(name);
    output::Row row{QJsonObject{{"setting", name},
                                {"value", output::json(setting, holder.value, format)},
                                {"origin", holder.origin}},
                    {output::safe(name)},
                    {name}};
    if (!own.namesOnly) {
        row.cells << output::safe(holder.origin) << output::shown(setting, holder.value, format);
        row.fields << holder.origin << output::field(setting, holder.value, format);
    }
    return row;
}

// The holder is null if the setting is only described.
void describe(output::Row &row, const Description &all, const QString &name, const Holder *holder,
              const output::Format &format)
{
    const description::Told told =
        description::told(all, Setting::named(name), holder ? &holder->value : nullptr);
    QJsonObject json = row.json.toObject();
    json.insert("described", description::json(told, format));
    row.json = json;
    row.fields += description::fields(told, format);
    row.below = description::lines(told, format);
}

output::Row rowOfNobody(const QString &name)
{
    return {QJsonObject{{"setting", name}, {"value", QJsonValue()}, {"origin", QJsonValue()}},
            {output::safe(name), "not set"},
            {name, QString(), QString()}};
}

// --from asks what one location holds, and no location holds a setting that is only described.
bool isWanted(const std::optional<Holder> &holder, const ListOptions &own)
{
    return holder || (own.isDescribing && !own.from);
}

void requireDescription(const Context &context, const ListOptions &own)
{
    if (own.isDescribing && context.descriptionProblem)
        throw Failure{CannotRead, *context.descriptionProblem};
    if (context.descriptionProblem)
        output::note(*context.descriptionProblem);
    if (own.isDescribing)
        description::require(context.description, context.arguments.description, context.files);
}

ExitStatus list(const Context &context, const ListOptions &own)
{
    requireDescription(context, own);
    requireStorage(context.files, own.storage.mayCreate, CannotRead);
    const Session session(context.files);
    const bool isOfStorage = context.files.storage().has_value();
    if (isOfStorage)
        session.requireReadableStorage();
    else
        session.requireReadableFiles();
    QStringList all = isOfStorage ? session.written().allKeys() : session.settings();
    if (own.isDescribing) {
        all += context.description.names();
        all.removeDuplicates();
    }
    all.sort();
    QVector<output::Row> rows;
    for (const QString &name : qAsConst(all)) {
        if (!names::matches(own.glob, name))
            continue;
        const Setting setting = Setting::named(name);
        const std::optional<Holder> holder = isOfStorage
            ? Holder{session.written().value(setting.group, setting.key),
                     context.files.writtenFile()}
            : holderOf(session, name, own);
        if (!isWanted(holder, own))
            continue;
        rows.append(holder ? rowOf(name, *holder, own, context.arguments.format)
                           : rowOfNobody(name));
        if (own.isDescribing) {
            describe(rows.last(), context.description, name, holder ? &*holder : nullptr,
                     context.arguments.format);
        }
    }
    output::rows(rows, context.arguments.format);
    if (!rows.isEmpty())
        return Done;
    QStringList groups;
    for (const QString &name : qAsConst(all))
        groups.append(Setting::named(name).group);
    const QString nearest = names::nearest(own.glob, all + groups);
    if (!own.glob.isEmpty() && !nearest.isEmpty() && nearest != own.glob)
        output::note({own.glob, "no such setting", "did you mean " + nearest + "?"});
    return PlainNo;
}

} // namespace

void addList(CommandLine &line)
{
    const auto own = std::make_shared<ListOptions>();
    const Command command =
        line.addCommand("list", "list all settings, with the location that answers",
                        [own](const Context &context) { return list(context, *own); });
    command.addWord("glob", "only this group, or those that match",
                    [own](const QString &word) { own->glob = word; });
    const Option from = command.addLocation(own->from);
    const Option keys = command.addFlag("--keys", own->namesOnly, "only names");
    const Option describe = command.addFlag("--describe", own->isDescribing,
                                            "with their descriptions; also those that are not set");
    describe.excludes(keys);
    command.addStorage(own->storage).excludes(from).excludes(describe);
    command.addRecords();
    // The command itself ends at a bad description, but only with --describe.
    command.treatBadDescription(BadDescription::Found);
}
