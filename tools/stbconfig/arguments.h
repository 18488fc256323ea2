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
#include "source.h"
#include "value.h"

#include <functional>
#include <memory>
#include <optional>

namespace CLI {
class App;
class Option;
class ParseError;
} // namespace CLI

// The options that all commands share.
struct Arguments
{
    Places places;
    EnvironmentChoice environment;
    description::Choice description;
    output::Format format;
    bool verbose = false;
};

// What a command works with, once its files are found.
struct Context
{
    const Arguments &arguments;
    const Files &files;
    const Description &description;
    const std::optional<Problem> &descriptionProblem; // why it could not be read
};

// What a command does about a description that cannot be read.
enum class BadDescription {
    Noted, // the command notes it and does its work without one
    Found, // the command shows it as a part of its answer
    Refused
};

// The positional words of a command that name a setting, and the value behind them.
struct Words
{
    QStringList all;

    /// Reads GROUP KEY, GROUP/KEY or /KEY; ends with Misuse if there is no key. A command that
    /// writes must get the group by name, so that a forgotten value is not taken for a key.
    Setting setting(bool namesGroup = false) const;
};

struct StorageChoice
{
    std::optional<QString> name;
    bool mayCreate = false;
};

// A word or an option of a command.
class Option
{
public:
    explicit Option(CLI::Option *option) : m_option(option) {}

    const Option &required() const;
    const Option &excludes(const Option &other) const;
    const Option &needs(const Option &other) const;
    /// Takes every word that is given, not only the last one; each time this many together.
    const Option &givenOften(int together = 1) const;

private:
    CLI::Option *m_option;
};

class CommandLine;

// A command declares its options with this. Each word is taken as it is.
class Command
{
public:
    using Take = std::function<void(const QString &)>;

    Command(CommandLine &line, CLI::App *app) : m_line(line), m_app(app) {}

    /// Adds a word of the command, or an option with a value; take receives it each time it occurs.
    Option addWord(const char *name, const char *help, Take take) const;
    Option addWords(Words &words) const;
    Option addFlag(const char *name, bool &flag, const char *help) const;
    Option addStorage(StorageChoice &storage) const;
    Option addLocation(std::optional<provenance::Location> &location) const;
    Option addType(const char *name, std::optional<value::Type> &type) const;
    /// Adds the flag that prints records which end with NUL.
    void addRecords() const;

    /// Adds a rule that ends with a Failure if the words do not belong together.
    void addRule(std::function<void()> rule) const;
    /// Adds what runs before the command, while the process is still the user who started it: see
    /// identity.h.
    void addPreparation(std::function<void(const Places &)> preparation) const;
    /// Chooses what the command does about a bad description. Without this, it says that it is bad.
    void treatBadDescription(BadDescription treatment) const;
    /// Runs this in place of the command, before any file is looked at.
    void runAtOnce(std::function<void()> run) const;

    CLI::App *app() const { return m_app; }

private:
    CommandLine &m_line;
    CLI::App *m_app;
};

// Parses the command line, as the commands declare it.
class CommandLine
{
public:
    CommandLine();
    ~CommandLine();
    Q_DISABLE_COPY(CommandLine)

    using Run = std::function<ExitStatus(const Context &)>;

    /// Adds a command. An empty help hides it.
    Command addCommand(const char *name, const char *help, Run run);
    /// Adds a command that changes a file.
    Command addWriter(const char *name, const char *help, writing::Manner &manner, Run run);

    /// Takes the words apart and returns the status to end with, if there is nothing to run: after
    /// --help or --version. Throws a Failure for words that mean nothing.
    std::optional<ExitStatus> parse(int argc, char *argv[]);

    const Arguments &arguments() const { return m_arguments; }
    /// Tells whether the command that was named changes a file.
    bool isWriter() const { return m_isWriter; }
    /// Returns the storage that it was told to work on.
    std::optional<QString> storage() const { return m_storage ? m_storage->name : std::nullopt; }
    BadDescription badDescription() const { return m_badDescription; }
    void prepare() const;
    ExitStatus run(const Context &context) const { return m_run(context); }

private:
    friend class Command;

    void notUnderstood(const CLI::ParseError &error) const;

    std::unique_ptr<CLI::App> m_app;
    Arguments m_arguments;
    Run m_run;
    std::function<void(const Places &)> m_prepare;
    bool m_isWriter = false;
    BadDescription m_badDescription = BadDescription::Noted;
    const StorageChoice *m_storage = nullptr;
};

/// These return what a person can write, and what suggestions offer.
QStringList typeNames();
/// Leaves out the hidden commands.
QStringList commandNames(const CLI::App &app);
/// Returns the long names of the options of this command, and of the commands above it.
QStringList optionNames(const CLI::App &app);

/// Returns every character of the word as a text. Ends with Misuse if the word is not UTF-8.
QString textOf(const QByteArray &word);

#endif
