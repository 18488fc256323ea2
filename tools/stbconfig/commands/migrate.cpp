// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "holdings.h"
#include "setting.h"

namespace {

struct MigrateOptions
{
    bool isPruning = false;
    writing::Manner manner;
};

// What becomes of the entry under an older name.
struct Step
{
    Setting today;
    Setting old;
    QVariant held;
    std::optional<QVariant> value; // under today's name; nothing if the entry is removed
};

struct Plan
{
    QVector<Step> steps;
    QVector<Problem> left; // why an entry has to stay as it is
};

const OldName *newestHeld(const Described &described, const Entries &held)
{
    for (const OldName &old : described.was) {
        if (held.contains(old.setting.name()))
            return &old;
    }
    return nullptr;
}

// Returns what "set" would store, so that the newer application reads it.
QVariant stored(const Described &described, const QVariant &value)
{
    return described.type == value::Type::List ? value : *value::converted(value, described.type);
}

void takeOver(const Context &context, const Described &described, const OldName &old,
              const QVariant &held, Plan &plan)
{
    const auto mapped = old.values.constFind(value::text(held));
    if (mapped != old.values.cend()) {
        plan.steps.append({described.setting, old.setting, held, *mapped});
        return;
    }
    if (const auto breach = description::breachOf(described, held)) {
        plan.left.append(
            {old.setting.name(),
             "not migrated: " + output::shown(described.setting, held, context.arguments.format)
                 + ", as " + described.setting.name() + ", " + breach->what,
             "map it in " + context.description.file() + ", or set " + described.setting.name()});
        return;
    }
    plan.steps.append({described.setting, old.setting, held, stored(described, held)});
}

Plan migration(const Context &context, const Entries &held, const QSet<QString> &foreign)
{
    Plan plan;
    for (const Described &described : context.description.all()) {
        const OldName *old =
            held.contains(described.setting.name()) ? nullptr : newestHeld(described, held);
        if (!old)
            continue;
        const QString name = old->setting.name();
        if (foreign.contains(name)) {
            plan.left.append({name,
                              "not migrated: its type is one that only the application can write",
                              "let the application set " + described.setting.name()});
        } else {
            takeOver(context, described, *old, held[name], plan);
        }
    }
    return plan;
}

Plan pruning(const Context &context, const Entries &held)
{
    Plan plan;
    for (const Described &described : context.description.all()) {
        const QString today = described.setting.name();
        for (const OldName &old : described.was) {
            const auto it = held.constFind(old.setting.name());
            if (it == held.cend())
                continue;
            if (held.contains(today)) {
                plan.steps.append({described.setting, old.setting, *it, {}});
            } else {
                plan.left.append({it.key(), "not removed: " + today + " has not taken it over",
                                  "run stbconfig migrate, or unset it"});
            }
        }
    }
    return plan;
}

writing::Change changeOf(const Plan &plan)
{
    writing::Change change;
    for (const Step &step : plan.steps) {
        if (step.value)
            change.set.append({step.today, *step.value});
        else
            change.remove.append(step.old);
    }
    return change;
}

// Returns what a write would have to keep.
QStringList keptOf(QSet<QString> foreign, const writing::Change &change)
{
    for (const Setting &setting : change.remove)
        foreign.remove(setting.name());
    return foreign.values();
}

output::Row rowOf(const Step &step, const output::Format &format)
{
    const bool isMigrated = step.value.has_value();
    const QVariant value = step.value.value_or(QVariant());
    const QString state = isMigrated ? "migrated" : "removed";
    const QString was = "was " + output::shown(step.today, step.held, format);
    const QString now = isMigrated ? output::shown(step.today, value, format) : QString();
    const bool isAsItWas = value::isSame(step.held, value);
    return {
        QJsonObject{{"setting", step.today.name()},
                    {"state", state},
                    {"oldName", step.old.name()},
                    {"value", isMigrated ? output::json(step.today, value, format) : QJsonValue()},
                    {"old", output::json(step.today, step.held, format)}},
        {state, output::safe(step.today.name()), output::safe(step.old.name()),
         !isMigrated     ? was
             : isAsItWas ? now
                         : now + " (" + was + ')'},
        {state, step.today.name(), step.old.name(), output::field(step.today, step.held, format),
         isMigrated ? output::field(step.today, value, format) : QString()}};
}

void tell(const Context &context, const Plan &plan)
{
    const output::Format &format = context.arguments.format;
    QVector<output::Row> rows;
    for (const Step &step : plan.steps)
        rows.append(rowOf(step, format));
    output::rows(rows, format);
    for (const Problem &problem : plan.left)
        output::note(problem);
    tellCount(context, rows.size());
}

ExitStatus migrate(const Context &context, const MigrateOptions &own)
{
    description::require(context.description, context.arguments.description, context.files);
    const writing::Holdings holdings = writing::inspect(context.files, false);
    const QSet<QString> foreign(holdings.foreign.cbegin(), holdings.foreign.cend());
    const Plan plan = own.isPruning ? pruning(context, holdings.written)
                                    : migration(context, holdings.written, foreign);
    const writing::Change change = changeOf(plan);
    if (!plan.steps.isEmpty())
        writing::requireKeepable(context.files, keptOf(foreign, change));
    writing::save(context.files, holdings.written, change, own.manner);
    tell(context, plan);
    return plan.left.isEmpty() ? Done : PlainNo;
}

} // namespace

void addMigrate(CommandLine &line)
{
    const auto own = std::make_shared<MigrateOptions>();
    const Command command =
        line.addWriter("migrate", "take over values from the older names of settings", own->manner,
                       [own](const Context &context) { return migrate(context, *own); });
    command.addFlag("--prune", own->isPruning, "remove the older names that are taken over");
    command.addRecords();
    command.treatBadDescription(BadDescription::Refused);
}
