// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "environment.h"
#include "otherside.h"
#include "rows.h"
#include "session.h"

#include <algorithm>

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

ExitStatus withDefaults(const Context &context, const QString &glob)
{
    const Session session(context.files);
    session.requireReadableFiles();
    const QVector<output::Row> rows = rows::ofDifferences(session, glob, context.arguments.format);
    output::rows(rows, context.arguments.format);
    return rows.isEmpty() ? Done : PlainNo;
}

// Says of a secret only that it differs. A hash of it would confirm a guess.
output::Row rowOf(const Setting &setting, const QVariant *here, const QVariant *there,
                  const output::Format &format)
{
    const auto shown = [&](const QVariant *value) {
        return value ? output::shown(setting, *value, format) : QString();
    };
    const auto field = [&](const QVariant *value) {
        return value ? output::field(setting, *value, format) : QString();
    };
    const auto json = [&](const QVariant *value) {
        return value ? output::json(setting, *value, format) : QJsonValue();
    };
    const bool isBoth = here != nullptr && there != nullptr;
    const bool isHidden = isBoth && setting.isSecret() && !format.showSecrets;
    const QString state = isHidden ? "differs"
        : isBoth                   ? "changed"
        : here                     ? "only-here"
                                   : "only-there";
    return {QJsonObject{{"setting", setting.name()},
                        {"state", state},
                        {"here", json(here)},
                        {"there", json(there)}},
            {state, output::safe(setting.name()),
             isHidden     ? shown(here)
                 : isBoth ? shown(here) + " -> " + shown(there)
                          : shown(here) + shown(there)},
            {state, setting.name(), field(here), field(there)}};
}

const QVariant *find(const Entries &entries, const QString &name)
{
    const auto it = entries.constFind(name);
    return it == entries.cend() ? nullptr : &*it;
}

// An export leaves secrets out, so that two equal boxes seem to differ.
void tellSecrets(const otherside::Side &side, const Entries &here, const Entries &there)
{
    const auto isSecret = [](const QString &name) { return Setting::named(name).isSecret(); };
    const QStringList ours = here.keys();
    const QStringList theirs = there.keys();
    if (side.text && std::any_of(ours.cbegin(), ours.cend(), isSecret)
        && std::none_of(theirs.cbegin(), theirs.cend(), isSecret)) {
        output::note({side.text->source, "holds no secrets, so those of this box are only here",
                      "export them with --show-secrets to compare them"});
    }
}

ExitStatus withOther(const Context &context, const QString &glob, const otherside::Side &side)
{
    if (side.compared != otherside::AllThatAnswer) {
        EnvironmentChoice none;
        none.source = EnvironmentChoice::None;
        environment::choose(none, output::note);
    }
    const Session session(context.files);
    session.requireReadableFiles();
    const Entries here = otherside::entriesOf(session, side.compared);
    const Entries there = otherside::entriesOf(side, context.arguments.places.asRoot);
    Entries either = here;
    for (auto it = there.cbegin(); it != there.cend(); ++it)
        either.insert(it.key(), it.value());
    QVector<output::Row> rows;
    const QStringList all = either.keys();
    for (const QString &name : all) {
        const QVariant *ours = find(here, name);
        const QVariant *theirs = find(there, name);
        const bool isSame = ours != nullptr && theirs != nullptr && value::isSame(*ours, *theirs);
        if (names::matches(glob, name) && !isSame)
            rows.append(rowOf(Setting::named(name), ours, theirs, context.arguments.format));
    }
    output::rows(rows, context.arguments.format);
    tellSecrets(side, here, there);
    return rows.isEmpty() ? Done : PlainNo;
}

struct DiffOptions
{
    QString glob;
    std::optional<QString> with;
    otherside::Side side;
};

} // namespace

namespace rows {

QVector<output::Row> ofDifferences(const Session &session, const QString &glob,
                                   const output::Format &format)
{
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
                rows.append(
                    rowOf(setting, stateOf(answer, winner, defaults), answer, defaults, format));
            }
        }
    }
    return rows;
}

} // namespace rows

void addDiff(CommandLine &line)
{
    const auto own = std::make_shared<DiffOptions>();
    const Command command = line.addCommand(
        "diff", "compare with the defaults, or with another box", [own](const Context &context) {
            return own->with ? withOther(context, own->glob, own->side)
                             : withDefaults(context, own->glob);
        });
    command.addWord("glob", "only this group, or those that match",
                    [own](const QString &word) { own->glob = word; });
    command.addWord(
        "--with", "an exported file (or -), another box's directory, or an unpacked image",
        [own](const QString &word) {
            if (word.isEmpty())
                throw Failure{Misuse, {"--with", "an empty path", "name the other side"}};
            own->with = word;
        });
    command.addRecords();
    command.addPreparation([own](const Places &places) {
        if (own->with)
            own->side = otherside::look(*own->with, places);
    });
}
