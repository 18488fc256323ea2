// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "check/finding.h"
#include "child.h"
#include "commands.h"
#include "completion.h"
#include "identity.h"
#include "loggingreader.h"
#include "schema.h"
#include "session.h"

#include <CLI/CLI.hpp>

#include <QtCore/QDir>
#include <QtCore/QHash>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The words that stand before the one to complete, taken apart as the commands declare them.
struct Typed
{
    const CommandLine &line;
    CLI::App &app;
    CLI::App *command = nullptr;
    QStringList words{}; // of the command, without the options
    CLI::Option *option = nullptr; // whose value comes next
    bool hasOnlyWords = false; // after "--"
    bool isMeaningless = false; // there is no such command
};

using Source = QStringList (*)(const Typed &typed, const QString &word);

CLI::Option *findOption(const Typed &typed, const QString &name)
{
    for (CLI::App *app : {typed.command, &typed.app}) {
        CLI::Option *option = app ? app->get_option_no_throw(name.toStdString()) : nullptr;
        if (option)
            return option;
    }
    return nullptr;
}

bool takesValue(const CLI::Option *option) { return option->get_items_expected_max() > 0; }

// Only these options say which files the candidates come from; the others do not matter here.
void apply(CLI::Option *option, const QString &value)
{
    const QStringList placing{"--persistent", "--defaults", "--root",     "--storage",
                              "--as-root",    "--schema",   "--no-schema"};
    if (!placing.contains(QString::fromStdString(option->get_name())))
        return;
    option->clear(); // a variable may have set it
    option->add_result(value.toStdString());
    option->run_callback();
}

void takeOption(Typed &typed, CLI::Option *option, const QString &word)
{
    const auto equals = word.indexOf('=');
    if (!takesValue(option))
        apply(option, "true");
    else if (equals < 0)
        typed.option = option;
    else
        apply(option, word.mid(equals + 1));
}

void takeWord(Typed &typed, const QString &word)
{
    if (typed.option) {
        apply(typed.option, word);
        typed.option = nullptr;
        return;
    }
    if (!typed.hasOnlyWords && word == "--") {
        typed.hasOnlyWords = true;
        return;
    }
    if (!typed.hasOnlyWords && word.startsWith('-')) {
        if (CLI::Option *option = findOption(typed, word.section('=', 0, 0))) {
            takeOption(typed, option, word);
            return;
        }
    }
    if (typed.command) {
        typed.words.append(word);
        return;
    }
    for (CLI::App *command : typed.app.get_subcommands({})) {
        if (command->get_name() == word.toStdString())
            typed.command = command;
    }
    typed.isMeaningless |= typed.command == nullptr;
}

Files filesOf(const Typed &typed)
{
    const Arguments &arguments = typed.line.arguments();
    Files result(arguments.places, typed.line.storage());
    if (!arguments.places.asRoot)
        identity::becomeOwner(result);
    return result;
}

// A description that cannot be read describes nothing.
Description describe(const Typed &typed)
{
    const Arguments &arguments = typed.line.arguments();
    try {
        Description result =
            description::load(arguments.description, filesOf(typed), arguments.places.asRoot);
        names::describe(result.names(), result.secrets());
        return result;
    } catch (const Failure &) {
        return {};
    }
}

QStringList settings(const Typed &typed)
{
    const Files files = filesOf(typed);
    describe(typed);
    const Session session(files);
    const std::string &command = typed.command->get_name();
    const bool isOfOneFile = files.storage() || command == "unset" || command == "reset";
    return isOfOneFile ? session.written().allKeys() : session.knownSettings();
}

// Offers the groups first, so that a box with thousands of settings does not show them all.
QStringList settingNames(const Typed &typed, const QString &word)
{
    const QStringList all = settings(typed);
    const bool isWriter = typed.command->get_option_no_throw("--dry-run") != nullptr;
    QStringList result;
    for (const QString &name : all) {
        const auto slash = name.indexOf('/');
        if (slash < 0)
            result.append(isWriter || word.startsWith('/') ? '/' + name : name);
        else
            result.append(word.contains('/') ? name : name.left(slash + 1));
    }
    return result;
}

// Does what settingNames() does, but offers a name without a group as it is, because a pattern must
// match that.
QStringList patterns(const Typed &typed, const QString &word)
{
    QStringList result = settingNames(typed, word);
    for (QString &name : result) {
        if (name.startsWith('/') && !word.startsWith('/'))
            name.remove(0, 1);
    }
    return result;
}

QStringList groups(const Typed &typed, const QString &)
{
    const QStringList all = settings(typed);
    QStringList result;
    for (const QString &name : all)
        result.append(Setting::named(name).group);
    return result;
}

// Returns the default as "set" takes it. A list of texts with commas cannot be typed.
QStringList defaultOf(const Described &described)
{
    if (!described.defaultValue || described.setting.isSecret())
        return {};
    const QStringList texts = value::texts(*described.defaultValue);
    const bool isList = described.type == value::Type::List;
    return isList && texts.join("").contains(',') ? QStringList() : QStringList(texts.join(','));
}

QStringList describedValues(const Typed &typed, const Setting &setting)
{
    if (typed.line.storage())
        return {};
    const Description description = describe(typed);
    const Described *described = description.find(setting);
    if (!described)
        return {};
    return described->type == value::Type::Bool ? QStringList{"true", "false"}
                                                : described->values + defaultOf(*described);
}

QStringList valuesOf(const Typed &typed, const Setting &setting)
{
    QStringList described = describedValues(typed, setting);
    if (!described.isEmpty())
        return described;
    if (!loggingreader::reads(setting) || setting.key == names::responseLengthLimit)
        return {};
    return setting.key == names::level ? loggingreader::levels() : QStringList{"true", "false"};
}

QStringList values(const Typed &typed, const QString &)
{
    const QStringList &words = typed.words;
    return words.size() == 1 ? valuesOf(typed, {names::loggingGroup, words[0]})
                             : valuesOf(typed, {words[0], words[1]});
}

QStringList keys(const Typed &typed, const QString &)
{
    const QString first = typed.words.first();
    if (typed.command->get_name() == "set" && first.contains('/'))
        return valuesOf(typed, Setting::named(first)); // spelled as GROUP/KEY VALUE
    const QStringList all = settings(typed);
    const QString group = first + '/';
    QStringList result;
    for (const QString &name : all) {
        if (name.startsWith(group))
            result.append(name.mid(group.size()));
    }
    return result;
}

QStringList paths(const QString &word, QDir::Filters kinds)
{
    const auto stem = word.lastIndexOf('/') + 1;
    const QString directory = word.left(stem);
    const QFileInfoList entries =
        QDir(directory.isEmpty() ? "." : directory)
            .entryInfoList(kinds | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDir::Unsorted);
    QStringList result;
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (word.mid(stem).startsWith('.') || !name.startsWith('.'))
            result.append(directory + name + (entry.isDir() ? "/" : ""));
    }
    return result;
}

QStringList pathsOfFiles(const Typed &, const QString &word)
{
    return paths(word, QDir::Files | QDir::AllDirs);
}

QStringList directories(const Typed &, const QString &word) { return paths(word, QDir::AllDirs); }

QStringList processes(const Typed &, const QString &)
{
    QStringList result = QDir("/proc").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    result.erase(std::remove_if(result.begin(), result.end(),
                                [](const QString &name) { return name.toInt() <= 0; }),
                 result.end());
    return result;
}

QStringList severities(const Typed &, const QString &)
{
    return {check::nameOf(check::Severity::Error), check::nameOf(check::Severity::Warning),
            check::nameOf(check::Severity::Note)};
}

// Finds the source by the name under which commands declare an option or a word.
Source sourceOf(const QString &name)
{
    static const QHash<QString, Source> sources{
        {"--persistent", directories},
        {"--defaults", directories},
        {"--root", directories},
        {"--env-file", pathsOfFiles},
        {"--schema", pathsOfFiles},
        {"--pid", processes},
        {"--with", pathsOfFiles},
        {"--from", [](const Typed &, const QString &) { return provenance::locationNames(); }},
        {"--as", [](const Typed &, const QString &) { return typeNames(); }},
        {"--type", [](const Typed &, const QString &) { return typeNames(); }},
        {"--storage",
         [](const Typed &typed, const QString &) { return filesOf(typed).storageNames(); }},
        {"--group", groups},
        {"--fail-on", severities},
        {"--ignore", [](const Typed &, const QString &) { return check::idNames(); }},
        {"setting", settingNames},
        {"glob", patterns},
        {"--keep", patterns},
        {"--only", patterns},
        {"file", pathsOfFiles},
        {"key", keys},
        {"name", [](const Typed &, const QString &) { return loggingreader::keys(); }},
        {"value", values},
        {"shell", [](const Typed &, const QString &) { return completion::shells(); }},
        {"output", [](const Typed &, const QString &) { return schema::outputs(); }},
    };
    return sources.value(name);
}

QStringList valuesOf(const Typed &typed, const CLI::Option *option, const QString &word)
{
    const Source source = sourceOf(QString::fromStdString(option->get_name()));
    return source ? source(typed, word) : QStringList();
}

QStringList wordsOfCommand(const Typed &typed, const QString &word)
{
    auto before = typed.words.size();
    for (const CLI::Option *option : typed.command->get_options()) {
        if (option->get_positional() && before-- == 0)
            return valuesOf(typed, option, word);
    }
    return {};
}

QStringList candidates(const Typed &typed, const QString &word)
{
    if (typed.isMeaningless)
        return {};
    if (typed.option)
        return valuesOf(typed, typed.option, word);
    if (!typed.hasOnlyWords && word.startsWith("--") && word.contains('=')) {
        const QString name = word.section('=', 0, 0);
        const CLI::Option *option = findOption(typed, name);
        QStringList result;
        if (option && takesValue(option))
            result = valuesOf(typed, option, word.mid(name.size() + 1));
        for (QString &value : result)
            value.prepend(name + '=');
        return result;
    }
    if (!typed.hasOnlyWords && word.startsWith('-'))
        return optionNames(typed.command ? *typed.command : typed.app);
    QStringList result = typed.command ? wordsOfCommand(typed, word) : commandNames(typed.app);
    // Names that begin with "-" would be taken for options.
    if (!typed.hasOnlyWords) {
        result.erase(std::remove_if(result.begin(), result.end(),
                                    [](const QString &name) { return name.startsWith('-'); }),
                     result.end());
    }
    return result;
}

// A shell shows candidates as they are: whatever a terminal would obey, or hide, is left out. So is
// a name that is not UTF-8, since nobody could give it to a command.
bool isPresentable(QString candidate)
{
    candidate.remove('\\');
    return !candidate.isEmpty() && !candidate.contains(QChar::ReplacementCharacter)
        && output::safe(candidate) == candidate;
}

QByteArray linesFor(const Typed &typed, const QString &word)
{
    QStringList all = candidates(typed, word);
    all.removeDuplicates();
    all.sort();
    QByteArray lines;
    for (const QString &candidate : qAsConst(all)) {
        if (candidate.startsWith(word) && isPresentable(candidate))
            lines += candidate.toUtf8() + '\n';
    }
    return lines;
}

// Prints nothing but candidates, and rather none than late ones, because somebody waits for them.
void complete(const CommandLine &line, CLI::App &app, QStringList words)
{
    constexpr std::chrono::seconds limit(2);
    const QString word = words.isEmpty() ? QString() : words.takeLast();
    Typed typed{line, app};
    for (const QString &before : qAsConst(words))
        takeWord(typed, before);
    const child::End end = child::run(limit, [&typed, &word] {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere >= 0)
            dup2(nowhere, STDERR_FILENO);
        return linesFor(typed, word);
    });
    std::fwrite(end.result.constData(), 1, static_cast<size_t>(end.result.size()), stdout);
}

} // namespace

void addComplete(CommandLine &line)
{
    const auto words = std::make_shared<QStringList>();
    const Command command = line.addCommand("complete", "", {});
    // Takes as many words as there are, one by one: CLI11 takes words apart where it may take more
    // than it must.
    command.addWord("words", "", [words](const QString &word) { words->append(word); })
        .givenOften(1 << 20);
    // This runs at once because its words say which files to look at.
    command.runAtOnce(
        [&line, app = command.app(), words] { complete(line, *app->get_parent(), *words); });
}
