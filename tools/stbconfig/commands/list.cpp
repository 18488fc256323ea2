// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "session.h"

namespace {

struct ListOptions
{
    QString glob;
    std::optional<provenance::Location> from;
    bool namesOnly = false;
    StorageChoice storage;
};

struct Holder
{
    QVariant value;
    QString origin;
};

// Who answers for the setting, if it is a location that was asked for.
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

ExitStatus list(const Context &context, const ListOptions &own)
{
    requireStorage(context.files, own.storage.mayCreate, CannotRead);
    const Session session(context.files);
    const bool isOfStorage = context.files.storage().has_value();
    if (isOfStorage)
        session.requireReadableStorage();
    else
        session.requireReadableFiles();
    QStringList all = isOfStorage ? session.written().allKeys() : session.settings();
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
        if (holder)
            rows.append(rowOf(name, *holder, own, context.arguments.format));
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
    command.addFlag("--keys", own->namesOnly, "names alone");
    command.addStorage(own->storage).excludes(from);
    command.addRecords();
}
