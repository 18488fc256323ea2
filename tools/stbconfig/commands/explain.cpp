// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "loggingreader.h"
#include "session.h"
#include "telling.h"

using provenance::Answer;
using provenance::locationName;
using stbconfig::ConfigurationManager;

namespace {

QString reason(const Answer &answer, const Answer *winner)
{
    if (!answer.hasStorage)
        return "this location has no backend";
    if (winner && winner->location == answer.location)
        return "answers";
    if (winner && answer.isHeld)
        return "shadowed by " + locationName(winner->location);
    const provenance::Facts &facts = provenance::factsOf(answer.location);
    if (facts.keeper == provenance::Keeper::Memory)
        return QString("lives ") + facts.text + ", unseen here";
    return "not set";
}

// Says what the logging and locale readers of the library make of the setting: they do not simply
// take the winner.
QString readersView(const Session &session, const Setting &setting, const QVector<Answer> &answers)
{
    if (setting.group == names::localeGroup && setting.key == names::localeKey)
        return "default locale: " + session.manager().defaultLocale().name();
    if (!loggingreader::reads(setting))
        return {};
    const QVariant taken = loggingreader::effective(session, setting.key);
    const QString meaning = loggingreader::meaning(setting.key, taken);
    const Answer *origin = loggingreader::origin(answers, setting.key);
    return "logging reader: takes " + taken.toString() + (meaning.isEmpty() ? "" : " ") + meaning
        + " from " + (origin ? locationName(origin->location) : "its built-in value")
        + "; ignores the environment and memory"
        + (setting.key == names::level ? "; a level on the application's command line overrides it"
                                       : "");
}

QString ownerOf(const Answer &answer, const EnvironmentChoice &environment)
{
    return answer.location == ConfigurationManager::EnvironmentVariables && environment.isNamed()
            && environment.source != EnvironmentChoice::None
        ? "of " + environment.owner()
        : QString();
}

void printJson(const Session &session, const Setting &setting, const QVector<Answer> &answers,
               const description::Told &told, const output::Format &format)
{
    const Answer *winner = provenance::winner(answers);
    QJsonArray array;
    for (const Answer &answer : answers) {
        array.append(QJsonObject{
            {"location", locationName(answer.location)},
            {"held", answer.isHeld},
            {"value", output::jsonOrNull(setting, answer.isHeld ? &answer : nullptr, format)},
            {"source", session.source(answer.location, setting)},
            {"reason", reason(answer, winner)}});
    }
    QJsonObject object{
        {"group", setting.group},
        {"key", setting.key},
        {"winner", winner ? QJsonValue(locationName(winner->location)) : QJsonValue()},
        {"value", output::jsonOrNull(setting, winner, format)},
        {"reader", readersView(session, setting, answers)},
        {"answers", array}};
    if (told.described)
        object.insert("described", description::json(told, format));
    output::object(object);
}

constexpr int answersColumn = 32;

bool fits(const QString &text) { return output::columns(text) <= output::widest; }

void printAnswer(const QString &beginning, const QString &value, const QString &reason)
{
    const QString all = beginning + (value.isEmpty() ? QString() : value + ", ") + reason;
    if (value.isEmpty() || fits(all)) {
        output::line(all);
        return;
    }
    output::line(beginning + reason);
    output::line(output::indented(value, answersColumn));
}

void printSource(const QString &source, const QString &owner)
{
    const QString all = source + ' ' + owner;
    const bool isOneLine = fits(QString(answersColumn, ' ') + all);
    const QStringList texts = isOneLine ? QStringList{all.trimmed()} : QStringList{source, owner};
    for (const QString &text : texts) {
        if (!text.isEmpty())
            output::line(output::indented(text, answersColumn));
    }
}

void printForPerson(const Session &session, const Setting &setting, const QVector<Answer> &answers,
                    const description::Told &told, const Arguments &arguments)
{
    const Answer *winner = provenance::winner(answers);
    const QString name = output::safe(setting.name());
    const QString value =
        winner ? output::shown(setting, winner->value, arguments.format) : QString();
    if (!winner) {
        output::line(name + " is not set");
    } else if (fits(name + " = " + value)) {
        output::line(name + " = ", value);
    } else {
        output::line(name + " =");
        output::line({}, output::indented(value, 2));
    }
    for (const Answer &answer : answers) {
        const bool isWinner = winner != nullptr && winner->location == answer.location;
        printAnswer(QString(isWinner ? "-> " : "   ")
                        + output::padded(locationName(answer.location), 27) + "  ",
                    answer.isHeld ? output::shown(setting, answer.value, arguments.format)
                                  : QString(),
                    reason(answer, winner));
        printSource(output::safe(session.source(answer.location, setting)),
                    output::safe(ownerOf(answer, arguments.environment)));
    }
    const QString view = readersView(session, setting, answers);
    if (!view.isEmpty())
        output::paragraph(view);
    if (told.described) {
        output::line({});
        const QStringList lines = description::lines(told, arguments.format);
        for (const QString &line : lines)
            output::line(line);
    }
}

void printRecords(const Session &session, const Setting &setting, const QVector<Answer> &answers,
                  const output::Format &format)
{
    QVector<output::Row> rows;
    for (const Answer &answer : answers) {
        rows.append({{},
                     {},
                     {locationName(answer.location), reason(answer, provenance::winner(answers)),
                      session.source(answer.location, setting),
                      answer.isHeld ? output::field(setting, answer.value, format) : QString()}});
    }
    output::rows(rows, format);
}

ExitStatus explain(const Context &context, const Words &words)
{
    const Setting setting = words.setting();
    const Session session(context.files);
    const auto answers = session.ask(setting);
    const Answer *winner = provenance::winner(answers);
    const description::Told told =
        description::told(context.description, setting, winner ? &winner->value : nullptr);
    if (context.arguments.format.json)
        printJson(session, setting, answers, told, context.arguments.format);
    else if (context.arguments.format.nullSeparated)
        printRecords(session, setting, answers, context.arguments.format);
    else
        printForPerson(session, setting, answers, told, context.arguments);
    // This comes last, because what the other locations answer helps to mend the file.
    session.requireReadableFiles();
    if (winner)
        return Done;
    const QString nearest =
        names::nearest(setting.name(), session.settings() + context.description.names());
    if (!told.described && !nearest.isEmpty())
        output::note(notSet(setting, {nearest}, {}));
    return PlainNo;
}

} // namespace

void addExplain(CommandLine &line)
{
    const auto words = std::make_shared<Words>();
    const Command command =
        line.addCommand("explain", "say which location answers, and why the others do not",
                        [words](const Context &context) { return explain(context, *words); });
    command.addWords(*words).required();
    command.addRecords();
}
