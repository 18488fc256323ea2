// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#if QT_VERSION_MAJOR < 6
#include <QtCore/QTextCodec>
#endif

#include <CLI/CLI.hpp>

#include <cstdio>

namespace {

// As CLI11 hands them over.
struct Arguments
{
    std::string persistent = STBCONFIG_PERSISTENT_PREFIX;
    std::string defaults = STBCONFIG_DEFAULTS_PREFIX;
    std::string root, environmentFile, value, type = "text", as, glob, loggingName;
    std::string defaultValue, from, group, storage, shell;
    std::vector<std::string> address;
    int pid = 0;
};

QString text(const std::string &bytes) { return QString::fromStdString(bytes); }

Address addressFrom(const std::vector<std::string> &words)
{
    return words.size() == 2 ? Address{text(words[0]), text(words[1])} : addressOf(text(words[0]));
}

void notePrefix(const QString &prefix, const char *file)
{
    if (prefix.isEmpty() || prefix.endsWith(QLatin1Char('/')) || !QFileInfo(prefix).isDir())
        return;
    const QString name = QString::fromLatin1(file);
    output::note(prefix,
                 QStringLiteral("a directory without its final \"/\": this reads %1; for "
                                "%2, add the \"/\"")
                     .arg(prefix + name, prefix + QLatin1Char('/') + name));
}

int run(int argc, char *argv[])
{
    Options options;
    Arguments given;
    CLI::App app{"Shows and changes the settings of a set-top box application, and why each is as "
                 "it is.",
                 "stbconfig"};
    app.set_version_flag("--version", "stbconfig " STBCONFIG_VERSION);
    app.require_subcommand(1);
    app.fallthrough();

    app.add_option("--persistent", given.persistent, "prefix of custom.conf and the *.db storages")
        ->envname("STBCONFIG_PERSISTENT_PREFIX")
        ->capture_default_str();
    app.add_option("--defaults", given.defaults, "prefix of stbapp.conf")
        ->envname("STBCONFIG_DEFAULTS_PREFIX")
        ->capture_default_str();
    app.add_option("--root", given.root, "directory before both; leaves the environment out");
    auto *noEnvironment = app.add_flag("--no-env", options.noEnvironment, "no variables");
    auto *environmentFile =
        app.add_option("--env-file", given.environmentFile, "variables from NAME=VALUE lines")
            ->excludes(noEnvironment);
    auto *pid = app.add_option("--pid", given.pid, "variables of that process")
                    ->excludes(noEnvironment)
                    ->excludes(environmentFile);
    app.add_flag("--json", options.json, "print JSON");
    app.add_flag("--show-secrets", options.showSecrets, "do not mask secrets");
    app.add_flag("-v", options.verbose, "say more on stderr");

    const auto addAddress = [&given](CLI::App *command) {
        return command->add_option("setting", given.address, "GROUP KEY or GROUP/KEY")
            ->expected(1, 2);
    };
    std::vector<CLI::Option *> storages;
    const auto addStorage = [&](CLI::App *command) {
        storages.push_back(command->add_option("--storage", given.storage, "a named storage"));
        command->add_flag("--create", options.create, "accept a storage that has no file yet");
    };
    const CLI::IsMember types({"text", "int", "bool", "list"});

    auto *getCommand = app.add_subcommand("get", "print a value");
    addAddress(getCommand)->required();
    auto *defaultValue = getCommand->add_option("--default", given.defaultValue, "if not set");
    std::vector<CLI::Option *> fromOptions{
        getCommand->add_option("--from", given.from, "one location")};
    getCommand->add_option("--as", given.as, "convert the value")->check(types);
    addStorage(getCommand);

    auto *explainCommand = app.add_subcommand("explain", "say which location answers, and why");
    addAddress(explainCommand)->required();

    auto *listCommand = app.add_subcommand("list", "list all settings");
    listCommand->add_option("glob", given.glob, "only those that match");
    fromOptions.push_back(listCommand->add_option("--from", given.from, "one location"));
    listCommand->add_flag("--origin", options.origin, "with the location, also with -0");
    listCommand->add_flag("--keys", options.keysOnly, "names alone");
    addStorage(listCommand);

    auto *diffCommand = app.add_subcommand("diff", "compare with the defaults");
    diffCommand->add_option("glob", given.glob, "only those that match");

    auto *setCommand = app.add_subcommand("set", "store a value in the custom file");
    // The last word is the value, so that GROUP KEY VALUE needs no option.
    setCommand->add_option("setting", given.address, "GROUP KEY VALUE or GROUP/KEY VALUE")
        ->expected(2, 3)
        ->required();
    setCommand->add_option("--type", given.type, "type of the value")->check(types);
    setCommand->add_flag("--dry-run", options.dryRun, "check, but write nothing");
    addStorage(setCommand);

    auto *unsetCommand = app.add_subcommand("unset", "remove from the custom file");
    auto *unsetAddress = addAddress(unsetCommand);
    auto *group =
        unsetCommand->add_option("--group", given.group, "a whole group")->excludes(unsetAddress);
    auto *redundant =
        unsetCommand->add_flag("--redundant", options.redundant, "what equals the defaults")
            ->excludes(unsetAddress)
            ->excludes(group);
    unsetCommand->add_flag("--dry-run", options.dryRun, "check, but write nothing");
    addStorage(unsetCommand);
    redundant->excludes(storages.back());

    auto *loggingCommand = app.add_subcommand("logging", "show or set the logging settings");
    auto *loggingName = loggingCommand->add_option("name", given.loggingName, "a setting");
    auto *loggingValue =
        loggingCommand->add_option("value", given.value, "its new value")->needs(loggingName);
    loggingName->needs(loggingValue);

    auto *localeCommand = app.add_subcommand("locale", "show the default locale");
    auto *locationsCommand = app.add_subcommand("locations", "show the locations and their files");
    auto *checkCommand = app.add_subcommand("check", "find what will hurt");
    auto *completionCommand = app.add_subcommand("completion", "print a completion script");
    completionCommand->add_option("shell", given.shell, "bash")
        ->required()
        ->check(CLI::IsMember({"bash"}));
    auto *readBackCommand = app.add_subcommand("read-back", "")->group("");
    addStorage(readBackCommand);

    // Not inherited like the others: to CLI11, "-0" would be a number and so the glob.
    for (CLI::App *command : {listCommand, diffCommand, checkCommand, getCommand})
        command->add_flag("-0", options.nullSeparated, "end records with NUL");

    try {
        app.parse(argc, argv);
        if (unsetCommand->parsed()
            && unsetAddress->count() + group->count() + redundant->count() == 0)
            throw CLI::RequiredError("a setting, --group or --redundant");
    } catch (const CLI::Success &help) {
        return app.exit(help);
    } catch (const CLI::ParseError &error) {
        output::complain(QStringLiteral("arguments"), text(error.what()),
                         QStringLiteral("see stbconfig --help"));
        return Misuse;
    }

    options.program = QFile::decodeName(argv[0]);
    options.persistentPrefix = text(given.persistent);
    options.defaultsPrefix = text(given.defaults);
    options.root = text(given.root);
    if (environmentFile->count())
        options.environmentFile = text(given.environmentFile);
    if (pid->count())
        options.pid = given.pid;
    if (setCommand->parsed()) {
        options.value = text(given.address.back());
        given.address.pop_back();
    } else {
        options.value = text(given.value);
    }
    if (!given.address.empty()) {
        options.address = addressFrom(given.address);
        // To Qt, a name without a key means a whole group.
        if (options.address.key.isEmpty()) {
            throw Failure{Misuse, QStringLiteral("setting"), QStringLiteral("no key"),
                          QStringLiteral("give GROUP KEY or GROUP/KEY")};
        }
    }
    options.type = text(getCommand->parsed() ? given.as : given.type);
    options.glob = text(given.glob);
    options.loggingName = text(given.loggingName);
    if (defaultValue->count())
        options.defaultValue = text(given.defaultValue);
    for (const auto *option : fromOptions)
        if (option->count())
            options.from = text(given.from);
    if (group->count())
        options.group = text(given.group);
    for (const auto *option : storages)
        if (option->count())
            options.storage = text(given.storage);

    if (completionCommand->parsed())
        return completion();
    if (readBackCommand->parsed())
        return readBack(options);
    notePrefix(options.persistentPrefix, "custom.conf");
    notePrefix(options.defaultsPrefix, "stbapp.conf");

    const std::pair<CLI::App *, ExitStatus (*)(const Options &)> commands[] = {
        {getCommand, get},         {explainCommand, explain}, {listCommand, list},
        {diffCommand, diff},       {setCommand, set},         {unsetCommand, unset},
        {loggingCommand, logging}, {localeCommand, locale},   {locationsCommand, locations},
        {checkCommand, check}};
    for (const auto &[command, function] : commands) {
        if (command->parsed())
            return function(options);
    }
    return Misuse;
}

} // namespace

int main(int argc, char *argv[]) // NOLINT(bugprone-exception-escape): only for want of memory
{
#if QT_VERSION_MAJOR < 6
    // A box's shell is often in the C locale, yet names and values are UTF-8. Qt 6 asks no locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif
    int status = Done;
    try {
        status = run(argc, argv);
    } catch (const Failure &failure) {
        output::complain(failure.thing, failure.whatHappened, failure.whatToDo);
        status = failure.status;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        output::complain(QStringLiteral("standard output"), QStringLiteral("cannot be written"),
                         QStringLiteral("give it a place with space left"));
        return CannotRead;
    }
    return status;
}
