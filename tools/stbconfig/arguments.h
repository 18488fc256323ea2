// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_ARGUMENTS_H
#define STBCONFIG_TOOL_ARGUMENTS_H

#include "environment.h"
#include "files.h"
#include "names.h"
#include "output.h"
#include "problem.h"
#include "provenance.h"
#include "save.h"
#include "value.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>

// What all commands are told.
struct Arguments
{
    Places places;
    EnvironmentChoice environment;
    output::Format format;
    bool verbose = false;
};

// What a command works with, once its files are found.
struct Context
{
    const Arguments &arguments;
    const Files &files;
};

// The positional words of a command that name a setting, and the value behind them.
struct Words
{
    QStringList all;

    /// GROUP KEY, GROUP/KEY or /KEY; ends with Misuse if there is no key. Whoever writes must name
    /// the group, so that a forgotten value is not taken for one.
    Setting setting(bool namesGroup = false) const;
};

struct StorageChoice
{
    std::optional<QString> name;
    bool mayCreate = false;
};

// The command line: commands declare their options with it, each word is taken as it is.
class CommandLine
{
public:
    CommandLine();
    Q_DISABLE_COPY(CommandLine)

    using Run = std::function<ExitStatus(const Context &)>;
    using Take = std::function<void(const QString &)>;

    /// Adds a command. An empty help hides it.
    CLI::App *addCommand(const char *name, const char *help, Run run);
    /// A command that changes a file.
    CLI::App *addWriter(const char *name, const char *help, writing::Manner &manner, Run run);

    /// A word of the command, or an option with one; given each time it occurs.
    CLI::Option *addWord(CLI::App *command, const char *name, const char *help, Take take);
    CLI::Option *addWords(CLI::App *command, Words &words);
    CLI::Option *addStorage(CLI::App *command, StorageChoice &storage);
    CLI::Option *addLocation(CLI::App *command, std::optional<provenance::Location> &location);
    CLI::Option *addType(CLI::App *command, const char *name, std::optional<value::Type> &type);
    /// Records that end with NUL.
    void addRecords(CLI::App *command);

    /// Takes the words apart and returns the status to end with, if there is nothing to run: after
    /// --help or --version. Throws a Failure for words that mean nothing.
    std::optional<ExitStatus> parse(int argc, char *argv[]);

    const Arguments &arguments() const { return m_arguments; }
    const CLI::App &app() const { return m_app; }
    /// Whether the command that was named changes a file.
    bool isWriter() const { return m_isWriter; }
    /// The storage that it was told to work on.
    std::optional<QString> storage() const { return m_storage ? m_storage->name : std::nullopt; }
    ExitStatus run(const Context &context) const { return m_run(context); }

private:
    void notUnderstood(const CLI::ParseError &error) const;

    CLI::App m_app;
    Arguments m_arguments;
    Run m_run;
    bool m_isWriter = false;
    const StorageChoice *m_storage = nullptr;
};

/// What can be asked for, as it is written: by a person, and in suggestions.
QStringList typeNames();
/// Without the hidden ones.
QStringList commandNames(const CLI::App &app);
/// The long names of the options of this command, and of those before it.
QStringList optionNames(const CLI::App &app);

/// The word as text, every character of it. Ends with Misuse if it is not UTF-8.
QString textOf(const QByteArray &word);

#endif
