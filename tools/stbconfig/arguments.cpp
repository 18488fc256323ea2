// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"

#include <CLI/CLI.hpp>

#include <QtCore/QMap>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace {

// Marks a word that CLI11 would otherwise not read as a word. A control character below the blank would not do:
// CLI11 2.4 takes no option to begin with one, so "-word" would become a value.
constexpr char protection = '\x7f';

// Returns where the value of "--name=value" begins; npos for any other word.
size_t valueBegin(const std::string &word)
{
    const size_t equals = word.compare(0, 2, "--") == 0 ? word.find('=') : std::string::npos;
    return equals == std::string::npos ? equals : equals + 1;
}

// CLI11 would read "-hidden" as "-h" and a value, though no option here has one letter and a value.
size_t protectedPlace(const std::string &word)
{
    const size_t begin = valueBegin(word);
    if (begin != std::string::npos)
        return begin;
    const bool isShort = word.size() > 1 && word[0] == '-' && word[1] != '-'
        && std::isdigit(static_cast<unsigned char>(word[1])) == 0;
    return isShort ? 1 : 0;
}

// CLI11 gives a meaning to words such as "++", "{}", "[a,b]" and "set.get", and each version to others. A word
// of these characters alone has none.
bool isPlain(const std::string &word)
{
    return std::all_of(word.cbegin(), word.cend(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '/';
    });
}

std::string protectedWord(std::string word)
{
    const size_t place = protectedPlace(word);
    const bool isOption = word.compare(0, 2, "--") == 0;
    // Behind "--name=" even an empty word is marked, because CLI11 would take the next word for the value.
    const bool isMarked = place == 0 ? !isOption && !isPlain(word) : place > 1 || word.size() > 2;
    if (isMarked || (place < word.size() && word[place] == protection))
        word.insert(place, 1, protection);
    return word;
}

// Takes the mark from a word, or from the value of "--name=value".
QString unprotected(std::string word)
{
    const size_t place = word.empty() || word.front() == protection ? 0 : protectedPlace(word);
    if (place < word.size() && word[place] == protection)
        word.erase(place, 1);
    return textOf(QByteArray::fromStdString(word));
}

const QMap<QString, value::Type> &types()
{
    static const QMap<QString, value::Type> all{{"text", value::Type::Text},
                                                {"int", value::Type::Int},
                                                {"bool", value::Type::Bool},
                                                {"list", value::Type::List}};
    return all;
}

value::Type typeNamed(const QString &word)
{
    const auto it = types().constFind(word);
    if (it == types().cend()) {
        throw Failure{Misuse,
                      {word, "no such type",
                       names::suggestion(word, typeNames(), "use text, int, bool or list")}};
    }
    return *it;
}

CLI::Option *wordOf(CLI::App *command, const char *name, const char *help, Command::Take take)
{
    CLI::Option *option = command->add_option(
        name,
        [take = std::move(take)](const CLI::results_t &words) {
            for (const std::string &word : words)
                take(unprotected(word));
            return true;
        },
        help);
    // Without this, CLI11 takes a word in brackets apart.
    return option->expected(1)->allow_extra_args(false)->type_name(
        std::string(name).substr(0, 2) == "--" ? "TEXT" : "");
}

} // namespace

QStringList typeNames() { return types().keys(); }

QStringList commandNames(const CLI::App &app)
{
    QStringList names;
    for (const CLI::App *command : app.get_subcommands({})) {
        if (!command->get_group().empty())
            names.append(QString::fromStdString(command->get_name()));
    }
    return names;
}

QStringList optionNames(const CLI::App &app)
{
    QStringList names;
    const CLI::App *parent = app.get_parent();
    for (const CLI::App *each : {&app, parent}) {
        if (!each)
            continue;
        for (const CLI::Option *option : each->get_options()) {
            for (const std::string &name : option->get_lnames())
                names.append("--" + QString::fromStdString(name));
        }
    }
    return names;
}

QString textOf(const QByteArray &word)
{
    const auto text = value::fromUtf8(word);
    if (!text)
        throw Failure{Misuse, {"arguments", "a word is not UTF-8", "write it in UTF-8"}};
    return *text;
}

Setting Words::setting(bool namesGroup) const
{
    Setting result =
        all.size() == 1 ? Setting::named(all.first()) : Setting{all.value(0), all.value(1)};
    if (all.size() == 1 && namesGroup && !all.first().contains('/')) {
        throw Failure{
            Misuse, {all.first(), "no group", "name the setting as GROUP/KEY, /KEY or GROUP KEY"}};
    }
    // Qt takes a name without a key for a whole group.
    if (result.key.isEmpty())
        throw Failure{Misuse, {"setting", "no key", "give GROUP KEY or GROUP/KEY"}};
    return result;
}

CommandLine::CommandLine()
    : m_app(std::make_unique<CLI::App>(
        "Shows where the settings of a set-top box application come from, and changes them.",
        "stbconfig"))
{
    m_app->set_version_flag("--version", "stbconfig " STBCONFIG_VERSION);
    m_app->require_subcommand(1);
    m_app->fallthrough();

    Places &places = m_arguments.places;
    places.persistentPrefix = STBCONFIG_PERSISTENT_PREFIX;
    places.defaultsPrefix = STBCONFIG_DEFAULTS_PREFIX;
    wordOf(m_app.get(), "--persistent", "prefix of custom.conf and the *.db storages",
           [&places](const QString &word) { places.persistentPrefix = word; })
        ->envname("STBCONFIG_PERSISTENT_PREFIX")
        ->default_str(STBCONFIG_PERSISTENT_PREFIX);
    wordOf(m_app.get(), "--defaults", "prefix of stbapp.conf",
           [&places](const QString &word) { places.defaultsPrefix = word; })
        ->envname("STBCONFIG_DEFAULTS_PREFIX")
        ->default_str(STBCONFIG_DEFAULTS_PREFIX);
    wordOf(m_app.get(), "--root", "directory of an unpacked image; leaves the environment out",
           [&places](const QString &word) { places.root = word; });
    description::Choice &description = m_arguments.description;
    wordOf(m_app.get(), "--schema", "description of the settings, if not beside stbapp.conf",
           [&description](const QString &word) { description.file = word; })
        ->excludes(m_app->add_flag("--no-schema", description.isNone, "no description"));
    m_app->add_flag("--as-root", places.asRoot,
                    "keep root's rights in another user's directory, if you trust it");

    EnvironmentChoice &environment = m_arguments.environment;
    CLI::Option *none = m_app->add_flag_function(
        "--no-env", [&environment](auto) { environment.source = EnvironmentChoice::None; },
        "no variables");
    CLI::Option *file =
        wordOf(m_app.get(), "--env-file", "variables from a file, read as by systemd",
               [&environment](const QString &word) {
                   environment.source = EnvironmentChoice::File;
                   environment.file = word;
               });
    CLI::Option *process = wordOf(
        m_app.get(), "--pid", "variables with which the process of this number was started",
        [&environment](const QString &word) {
            bool isNumber = false;
            environment.source = EnvironmentChoice::Process;
            environment.process = word.toInt(&isNumber);
            if (!isNumber || environment.process <= 0) {
                throw Failure{Misuse, {word, "no number of a process", "give --pid a number"}};
            }
        });
    file->excludes(none);
    process->excludes(none)->excludes(file);

    output::Format &format = m_arguments.format;
    m_app->add_flag("--json", format.json, "print JSON");
    m_app->add_flag("-0", format.nullSeparated, "end records with NUL");
    m_app->add_flag("--show-secrets", format.showSecrets, "do not mask secrets");
    m_app->add_flag("-v", m_arguments.verbose, "say more on stderr");
}

CommandLine::~CommandLine() = default;

Command CommandLine::addCommand(const char *name, const char *help, Run run)
{
    CLI::App *command = m_app->add_subcommand(name, help);
    if (*help == '\0')
        command->group("");
    command->callback([this, run = std::move(run)] { m_run = run; });
    return {*this, command};
}

Command CommandLine::addWriter(const char *name, const char *help, writing::Manner &manner, Run run)
{
    const Command command = addCommand(name, help, {});
    command.app()->callback([this, &manner, run = std::move(run)] {
        m_run = run;
        m_isWriter = true;
        manner.asRoot = m_arguments.places.asRoot;
    });
    command.addFlag("--dry-run", manner.dryRun, "check and tell, but write nothing");
    command.addFlag("--force", manner.force, "write even if the estimated room is too little");
    return command;
}

const Option &Option::required() const
{
    m_option->required();
    return *this;
}

const Option &Option::excludes(const Option &other) const
{
    m_option->excludes(other.m_option);
    return *this;
}

const Option &Option::needs(const Option &other) const
{
    m_option->needs(other.m_option);
    return *this;
}

const Option &Option::givenOften(int together) const
{
    m_option->expected(together)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return *this;
}

Option Command::addWord(const char *name, const char *help, Take take) const
{
    return Option(wordOf(m_app, name, help, std::move(take)));
}

Option Command::addWords(Words &words) const
{
    const auto take = [&words](const QString &word) { words.all.append(word); };
    const Option first = addWord("setting", "GROUP/KEY, or GROUP and KEY", take);
    addWord("key", "", take);
    return first;
}

Option Command::addFlag(const char *name, bool &flag, const char *help) const
{
    return Option(m_app->add_flag(name, flag, help));
}

Option Command::addStorage(StorageChoice &storage) const
{
    addFlag("--create", storage.mayCreate, "accept a storage that has no file yet");
    return addWord("--storage", "a named storage, in place of the custom file",
                   [&line = m_line, &storage](const QString &word) {
                       storage.name = word;
                       line.m_storage = &storage;
                   });
}

Option Command::addLocation(std::optional<provenance::Location> &location) const
{
    return addWord("--from", "only this location", [&location](const QString &word) {
        location = provenance::locationNamed(word);
    });
}

Option Command::addType(const char *name, std::optional<value::Type> &type) const
{
    return addWord(name, "text, int, bool or list",
                   [&type](const QString &word) { type = typeNamed(word); });
}

void Command::addRecords() const
{
    // Unlike the others, this flag is not inherited, because CLI11 would take "-0" for a number.
    addFlag("-0", m_line.m_arguments.format.nullSeparated, "end records with NUL");
}

void Command::addRule(std::function<void()> rule) const
{
    m_app->parse_complete_callback(std::move(rule));
}

void Command::addPreparation(std::function<void(const Places &)> preparation) const
{
    m_line.m_prepare = std::move(preparation);
}

void Command::treatBadDescription(BadDescription treatment) const
{
    m_app->preparse_callback(
        [&line = m_line, treatment](size_t) { line.m_badDescription = treatment; });
}

void Command::runAtOnce(std::function<void()> run) const
{
    m_app->callback([run = std::move(run)] {
        run();
        throw CLI::Success();
    });
}

std::optional<ExitStatus> CommandLine::parse(int argc, char *argv[])
{
    // CLI11 wants the last word first.
    std::vector<std::string> words;
    for (int i = argc - 1; i > 0; --i)
        words.push_back(protectedWord(argv[i]));
    try {
        m_app->parse(std::move(words));
    } catch (const CLI::Success &help) {
        return ExitStatus(m_app->exit(help));
    } catch (const CLI::ParseError &error) {
        notUnderstood(error);
    }
    return {};
}

void CommandLine::prepare() const
{
    if (m_prepare)
        m_prepare(m_arguments.places);
}

// No message repeats a word that may be a value, because a value may be a secret.
void CommandLine::notUnderstood(const CLI::ParseError &error) const
{
    const auto commands = m_app->get_subcommands();
    const CLI::App *command = commands.empty() ? nullptr : commands.front();
    const std::vector<std::string> extra = m_app->remaining(true);
    if (!command && !extra.empty()) {
        const QString word = unprotected(extra.front());
        const bool isOption = word.startsWith('-');
        throw Failure{
            Misuse,
            {word, isOption ? "no such option" : "no such command",
             names::suggestion(word, isOption ? optionNames(*m_app) : commandNames(*m_app),
                               "see stbconfig --help")}};
    }
    const QString help = command
        ? "see stbconfig " + QString::fromStdString(command->get_name()) + " --help"
        : QString("see stbconfig --help");
    if (!extra.empty()) {
        const QString word = unprotected(extra.front());
        const QString nearest = word.startsWith("--")
            ? names::nearest(word.section('=', 0, 0), optionNames(*command))
            : QString();
        if (!nearest.isEmpty())
            throw Failure{Misuse,
                          {"arguments", "an unknown option", "did you mean " + nearest + "?"}};
        throw Failure{Misuse,
                      {"arguments", "a word too many, or an unknown option",
                       help + "; before values that begin with \"-\", put --"}};
    }
    // The text of this error would show what stands behind "=".
    if (dynamic_cast<const CLI::ConversionError *>(&error))
        throw Failure{Misuse, {"arguments", "an option that takes no value has one", help}};
    throw Failure{Misuse, {"arguments", QString::fromStdString(error.what()), help}};
}
