// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "descriptor.h"
#include "holdings.h"
#include "loggingreader.h"
#include "session.h"
#include "setting.h"

#include <cstring>
#include <unistd.h>

namespace {

struct SetOptions
{
    Words words;
    bool isFromInput = false;
    std::optional<QString> input;
    std::optional<value::Type> type;
    StorageChoice storage;
    writing::Manner manner;
};

// Reads all of standard input but the last line end, which echo and editors put there.
QString inputText()
{
    constexpr qint64 most = 16 << 20;
    QByteArray bytes;
    if (const int error = readAll(STDIN_FILENO, bytes, most))
        throw Failure{Misuse, {"standard input", std::strerror(error), "give --stdin a value"}};
    if (bytes.size() > most) {
        throw Failure{Misuse,
                      {"standard input", QString("more than %1 bytes").arg(most),
                       "give --stdin a shorter value"}};
    }
    if (bytes.endsWith('\n'))
        bytes.chop(1);
    return textOf(bytes);
}

void requireOwnGroup(const Setting &setting)
{
    const Setting stored = Setting::named(setting.name());
    const QString group = entries::groupAsRead(stored.group);
    if (group != stored.group) {
        throw Failure{Misuse,
                      {stored.name(), "a file cannot express this group",
                       "use " + Setting{group, stored.key}.name()}};
    }
}

// A user who mistypes a command may have put a secret in the value's place, so no error shows it.
QVariant typed(const Setting &setting, const QString &text, value::Type type)
{
    const auto refuse = [&setting](const QString &what, const QString &remedy) {
        throw Failure{Misuse, {setting.name(), "the value is " + what, remedy}};
    };
    switch (type) {
    case value::Type::Int: {
        const auto number = value::wholeNumber(text);
        if (!number)
            refuse("no number", "give a whole number of 32 bits");
        return *number;
    }
    case value::Type::Bool:
        if (text != "true" && text != "false")
            refuse("no boolean", "give true or false");
        return text == "true";
    case value::Type::List:
        return text.split(',');
    case value::Type::Text:
        break;
    }
    return text;
}

// Warns of what the new value hides, or will be taken for.
void tellCosts(const Context &context, const Setting &setting, const QVariant &value)
{
    if (context.files.storage())
        return;
    if (const auto problem = loggingreader::misreading(setting, value.toString()))
        output::note(*problem);
    const QByteArray variable = setting.variable().toLocal8Bit();
    if (!loggingreader::reads(setting) && qEnvironmentVariableIsSet(variable.constData())
        && QString::fromLocal8Bit(qgetenv(variable.constData())) != value.toString()) {
        output::note(
            {setting.variable(),
             "is set in " + context.arguments.environment.owner() + ", and hidden by this value",
             {}});
    }
}

// Returns what the description says of the setting. It describes no named storage.
const Described *describedIn(const Context &context, const Setting &setting)
{
    return context.files.storage() ? nullptr : context.description.find(setting);
}

Problem forbidden(Problem problem)
{
    problem.whatToDo += " (--no-schema leaves the description out)";
    return problem;
}

// The description knows the type, so nobody has to say it.
QVariant asDescribed(const Context &context, const Described &described, const QString &text,
                     std::optional<value::Type> type)
{
    if (type.value_or(described.type) != described.type) {
        throw Failure{Misuse,
                      forbidden({described.setting.name(),
                                 "its type is not " + value::nameOf(*type) + " but "
                                     + value::nameOf(described.type),
                                 "leave --type out"})};
    }
    const bool isList = described.type == value::Type::List;
    const QVariant given = isList ? QVariant(text.split(',')) : QVariant(text);
    if (const auto problem = forbiddenValue(context, described.setting, given))
        throw Failure{Misuse, *problem};
    return *value::converted(given, described.type);
}

QVariant valueOf(const Context &context, const Setting &setting, const QString &text,
                 std::optional<value::Type> type)
{
    names::Nearest nearest(context.description.names());
    if (const auto problem = forbiddenName(context, setting, nearest))
        throw Failure{Misuse, *problem};
    const Described *described = describedIn(context, setting);
    return described ? asDescribed(context, *described, text, type)
                     : typed(setting, text, type.value_or(value::Type::Text));
}

// "set Net/key two words" would name the first word of the value, which may be a secret.
void requireOneValue(const Context &context, const Words &name, const Setting &setting)
{
    const QString first = name.all.first();
    if (name.all.size() == 2 && context.description.find(setting) == nullptr
        && context.description.find(Setting::named(first)) != nullptr) {
        throw Failure{Misuse, {first, "a word too many", "put a value of several words in quotes"}};
    }
}

ExitStatus set(const Context &context, const SetOptions &own)
{
    Words name{own.words.all};
    const QString text = own.isFromInput ? *own.input : name.all.takeLast();
    const Setting setting = name.setting(true);
    requireOneValue(context, name, setting);
    requireOwnName(setting);
    requireOwnGroup(setting);
    if (value::asRead(text) != text) {
        throw Failure{Misuse,
                      {setting.name(), "a file cannot express the value's byte order mark",
                       "leave U+FEFF out"}};
    }
    const QVariant value = valueOf(context, setting, text, own.type);
    requireStorage(context.files, own.storage.mayCreate, NotSaved);
    return store(context, setting, value, own.manner);
}

} // namespace

void requireOwnName(const Setting &setting)
{
    const QString name = setting.name();
    const QString other = names::asStored(name);
    if (other != name) {
        throw Failure{Misuse,
                      {name, "a file cannot express this name",
                       other.isEmpty() ? "name a key"
                                       : "use " + QString(other.contains('/') ? "" : "/") + other}};
    }
}

std::optional<Problem> forbiddenName(const Context &context, const Setting &setting,
                                     names::Nearest &nearest)
{
    if (context.files.storage())
        return {};
    const auto problem = description::unknownName(context.description, setting, nearest);
    return problem ? std::optional(forbidden(*problem)) : std::nullopt;
}

std::optional<Problem> forbiddenValue(const Context &context, const Setting &setting,
                                      const QVariant &value)
{
    const Described *described = describedIn(context, setting);
    const auto breach = described ? description::breachOf(*described, value) : std::nullopt;
    if (!breach)
        return {};
    return forbidden({setting.name(), "the value " + breach->what,
                      description::remedy(*breach, *described, setting.isSecret())});
}

void tellOf(writing::Outcome outcome, const std::function<void()> &tell)
{
    try {
        tell();
    } catch (Failure &failure) {
        if (outcome == writing::Saved)
            failure.problem.whatHappened.prepend("the change is saved, but ");
        throw;
    }
}

void tellCount(const Context &context, qsizetype count)
{
    if (!context.arguments.verbose)
        return;
    const QString file = context.files.writtenFile();
    output::note(count == 0
                     ? Problem{file, "unchanged", {}}
                     : Problem{file, QString("settings that change: %1").arg(count),
                               "a running application sees that when it restarts or next writes "
                               "that file"});
}

ExitStatus store(const Context &context, const Setting &setting, const QVariant &value,
                 const writing::Manner &manner)
{
    const output::Format &format = context.arguments.format;
    const auto before = writing::read(context.files, false).written;
    const auto old = before.constFind(setting.name());
    const bool isNew = old == before.cend() || !value::isSame(*old, value);
    if (isNew)
        tellCosts(context, setting, value);
    const auto outcome =
        writing::save(context.files, before, {{{setting, value}}, {}, {}, {}}, manner);
    if (format.json) {
        output::object({{"group", setting.group},
                        {"key", setting.key},
                        {"value", output::json(setting, value, format)},
                        {"file", context.files.writtenFile()},
                        {"changed", outcome != writing::Unchanged},
                        {"dryRun", manner.dryRun}});
    } else if (outcome == writing::WouldBeSaved) {
        output::line("would set " + output::safe(setting.name()) + " to "
                     + output::shown(setting, value, format));
    }
    if (context.arguments.verbose && outcome == writing::Unchanged)
        output::note({setting.name(), "unchanged", {}});
    if (context.arguments.verbose && outcome == writing::Saved) {
        output::note({context.files.writtenFile(), "saved",
                      "a running application sees the change when it restarts or next writes that "
                      "file"});
    }
    return Done;
}

void addSet(CommandLine &line)
{
    const auto own = std::make_shared<SetOptions>();
    const Command command =
        line.addWriter("set", "store a value in the custom file", own->manner,
                       [own](const Context &context) { return set(context, *own); });
    // The last word is the value, so that GROUP KEY VALUE needs no option.
    command.addWords(own->words).required();
    command.addWord("value", "the new value",
                    [own](const QString &word) { own->words.all.append(word); });
    command.addType("--type", own->type);
    command.addStorage(own->storage);
    command.addFlag("--stdin", own->isFromInput,
                    "take the value from standard input, without its last line end");
    command.treatBadDescription(BadDescription::Refused);
    command.addRule([own] {
        const auto least = own->isFromInput ? 1 : 2;
        const auto count = own->words.all.size();
        if (count < least || count > least + 1) {
            throw Failure{Misuse,
                          {count == 1 && own->words.all.first().contains('/')
                               ? own->words.all.first()
                               : "set",
                           count < least ? "no value" : "a word too many",
                           "give GROUP/KEY VALUE, /KEY VALUE or GROUP KEY VALUE"}};
        }
        if (own->isFromInput)
            own->input = inputText();
    });
}
