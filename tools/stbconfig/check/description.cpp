// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "checks.h"
#include "fileproblem.h"
#include "rawfile.h"

#include <QtCore/QHash>

#include <algorithm>

namespace check {
namespace {

// A setting as one location holds it.
struct Held
{
    const provenance::Facts &facts;
    const stbconfig::IReadableBackend &storage;
    QString name;
    QString place;
};

// Cuts a value, because it can be as long as its file.
QString cut(const QString &text)
{
    constexpr int most = 60;
    return output::columns(text) > most ? output::shortened(text, most - 1) + QChar(0x2026) : text;
}

// Returns the line that counts for each entry. Qt takes the sections in the order of their names: the
// entry b\c of [A] is the same as c of [A\b], and the latter counts wherever it stands. Within a
// section, the last line counts.
QHash<QString, RawLine> linesOf(const QString &file, const QString &root)
{
    QHash<QString, RawLine> result;
    const QVector<RawLine> lines = rawLines(fileproblem::read(file, root).bytes);
    for (const RawLine &line : lines) {
        const auto before = result.constFind(line.name);
        if (before == result.cend() || line.section.size() >= before->section.size())
            result.insert(line.name, line);
    }
    return result;
}

class Judge
{
public:
    Judge(const Context &context, Findings &findings)
        : description(context.description), format(context.arguments.format),
          nearest(context.description.names()), all(findings)
    {
        format.isForOthers = true; // findings go into tickets, and into the logs of builds
    }

    void look(const Held &held)
    {
        // The whole name is taken as a key, because no application reads "/b" when it asks for "b".
        const Setting setting{{}, held.name};
        if (const Described *described = description.find(setting))
            lookAtValue(held, *described);
        else if (const Described *today = description.findOld(setting))
            lookAtOldName(held, today->setting);
        else if (const auto problem = description::unknownName(description, setting, nearest))
            add(Id::UnknownSetting, held, "a setting " + problem->whatHappened, problem->whatToDo);
    }

private:
    void add(Id id, const Held &held, const QString &what, const QString &remedy)
    {
        all.append(
            {id,
             {held.place,
              output::printable(provenance::locationName(held.facts.location) + " holds " + what),
              output::printable(remedy)}});
    }

    void lookAtValue(const Held &held, const Described &described)
    {
        const Setting &setting = described.setting;
        const QVariant value = held.storage.value(setting.group, setting.key);
        const auto breach = description::breachOf(described, value);
        if (!breach)
            return;
        const bool isMasked = output::isMasked(setting, value, format);
        add(Id::BadValue, held,
            cut(output::shown(setting, value, format)) + ", which " + breach->what,
            (isDefault(held) ? "correct it in the image: " : "")
                + description::remedy(*breach, described, isMasked));
    }

    void lookAtOldName(const Held &held, const Setting &today)
    {
        if (held.storage.contains(today.group, today.key)) {
            add(Id::MigratedName, held, "this older name of " + today.name() + " beside it",
                isDefault(held)      ? "remove it from the image"
                    : isCustom(held) ? "run stbconfig migrate --prune once the update is good"
                                     : "unset it");
        } else {
            add(Id::OldName, held, "an older name of " + today.name(),
                isDefault(held)      ? "write " + today.name() + " in the image"
                    : isCustom(held) ? "run stbconfig migrate"
                                     : "set " + today.variable() + " in its place");
        }
    }

    static bool isCustom(const Held &held)
    {
        return held.facts.keeper == provenance::Keeper::WrittenFile;
    }

    static bool isDefault(const Held &held)
    {
        return held.facts.keeper == provenance::Keeper::ImageFile;
    }

    const Description &description;
    output::Format format;
    names::Nearest nearest;
    Findings &all;
};

void ofFile(const Session &session, const provenance::Facts &facts, Judge &judge)
{
    const auto &storage = session.readable(facts.location);
    const QString file = session.files().fileOf(facts);
    const QHash<QString, RawLine> lines = linesOf(file, session.files().root());
    QStringList all = storage.allKeys();
    all.sort();
    for (const QString &name : qAsConst(all)) {
        const QString line = QString::number(lines.value(name).number);
        judge.look({facts, storage, name, file + ':' + line + ": " + name});
    }
}

void ofVariables(const Session &session, const provenance::Facts &facts,
                 const Description &description, Judge &judge)
{
    const auto &storage = session.readable(facts.location);
    const auto meanings = meaningsOfVariables(session, description);
    for (auto it = meanings.cbegin(); it != meanings.cend(); ++it) {
        // A name that has changed only in case still has the same variable.
        const bool isOfToday = std::any_of(it->cbegin(), it->cend(), [&](const QString &name) {
            return description.find({{}, name}) != nullptr;
        });
        for (const QString &name : *it) {
            const Setting setting = Setting::named(name);
            if (isOfToday && description.findOld(setting))
                continue;
            if (storage.contains(setting.group, setting.key))
                judge.look({facts, storage, name, it.key()});
        }
    }
}

} // namespace

void againstDescription(const Session &session, const Context &context, Findings &findings)
{
    if (!context.description.exists())
        return;
    Judge judge(context, findings);
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            ofFile(session, facts, judge);
        else if (facts.keeper == provenance::Keeper::Variables)
            ofVariables(session, facts, context.description, judge);
    }
}

} // namespace check
