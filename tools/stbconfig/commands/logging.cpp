// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "loggingreader.h"
#include "rows.h"
#include "session.h"
#include "setting.h"

namespace {

struct LoggingOptions
{
    std::optional<QString> key;
    std::optional<QString> text;
    writing::Manner manner;
};

ExitStatus change(const Context &context, const LoggingOptions &own)
{
    const Setting setting{names::loggingGroup, *own.key};
    if (!loggingreader::reads(setting)) {
        throw Failure{Misuse,
                      {*own.key, "no logging setting",
                       names::suggestion(*own.key, loggingreader::keys(),
                                         "use one of " + loggingreader::keys().join(", "))}};
    }
    if (auto problem = loggingreader::misreading(setting, *own.text)) {
        problem->whatHappened = '"' + *own.text + "\" " + problem->whatHappened;
        throw Failure{Misuse, *problem};
    }
    if (context.descriptionProblem)
        throw Failure{CannotRead, *context.descriptionProblem};
    if (const auto problem = forbiddenValue(context, setting, *own.text))
        throw Failure{Misuse, *problem};
    return store(context, setting, *own.text, own.manner);
}

output::Row rowOf(const Session &session, const QString &key, const output::Format &format)
{
    const Setting setting{names::loggingGroup, key};
    const auto answers = session.ask(setting);
    const auto *origin = loggingreader::origin(answers, key);
    const QVariant taken = loggingreader::effective(session, key);
    const QString word = loggingreader::meaning(key, taken);
    const QString source = origin ? provenance::locationName(origin->location) : "built in";
    return {QJsonObject{{"name", key},
                        {"effective", QJsonValue::fromVariant(taken)},
                        {"meaning", word.isEmpty() ? QJsonValue() : QJsonValue(word)},
                        {"stored", output::jsonOrNull(setting, origin, format)},
                        {"source", source}},
            {key, taken.toString() + (word.isEmpty() ? "" : " ") + word,
             origin ? "stored as \"" + output::shown(setting, origin->value, format) + '"'
                    : "not stored",
             source},
            {key, taken.toString(), source,
             origin ? output::field(setting, origin->value, format) : QString()}};
}

ExitStatus show(const Context &context)
{
    if (context.descriptionProblem)
        output::note(*context.descriptionProblem);
    const Session session(context.files);
    session.requireReadableFiles();
    output::rows(rows::ofLogging(session, context.arguments.format), context.arguments.format);
    return Done;
}

} // namespace

namespace rows {

QVector<output::Row> ofLogging(const Session &session, const output::Format &format)
{
    QVector<output::Row> rows;
    const QStringList keys = loggingreader::keys();
    for (const QString &key : keys)
        rows.append(rowOf(session, key, format));
    return rows;
}

} // namespace rows

void addLogging(CommandLine &line)
{
    const auto own = std::make_shared<LoggingOptions>();
    const Command command = line.addWriter(
        "logging", "show or set the logging settings", own->manner,
        [own](const Context &context) { return own->key ? change(context, *own) : show(context); });
    const Option key =
        command.addWord("name", "a setting", [own](const QString &word) { own->key = word; });
    const Option text =
        command.addWord("value", "its new value", [own](const QString &word) { own->text = word; });
    text.needs(key);
    key.needs(text);
    command.addRecords();
    command.treatBadDescription(BadDescription::Found);
}
