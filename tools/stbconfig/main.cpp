// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "child.h"
#include "commands/commands.h"
#include "environment.h"
#include "fileproblem.h"
#include "identity.h"
#include "output.h"

#if QT_VERSION_MAJOR < 6
#include <QtCore/QTextCodec>
#endif
#include <QtCore/QDataStream>
#include <QtCore/QFileInfo>
#include <QtCore/QObject>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>

namespace {

struct Entry
{
    const char *name;
    void (*add)(CommandLine &line);
};

constexpr Entry table[] = {
    {"get", addGet},
    {"explain", addExplain},
    {"list", addList},
    {"diff", addDiff},
    {"set", addSet},
    {"unset", addUnset},
    {"export", addExport},
    {"import", addImport},
    {"reset", addReset},
    {"migrate", addMigrate},
    {"schema", addSchema},
    {"logging", addLogging},
    {"locale", addLocale},
    {"locations", addLocations},
    {"check", addCheck},
    {"report", addReport},
    {"completion", addCompletion},
    {"complete", addComplete},
};

// Making the options of all commands takes as long as reading the files. So this makes only the
// commands whose names are among the words, and all of them for help, for an unknown name, and to
// complete.
void addCommands(CommandLine &line, const QList<QByteArray> &words)
{
    const auto isNamed = [&words](const Entry &entry) { return words.contains(entry.name); };
    const bool wantsAll =
        words.contains("complete") || std::none_of(std::begin(table), std::end(table), isNamed);
    for (const Entry &entry : table) {
        if (wantsAll || isNamed(entry))
            entry.add(line);
    }
}

void notePrefix(const QString &prefix, const char *file)
{
    if (prefix.isEmpty() || prefix.endsWith('/') || !QFileInfo(prefix).isDir())
        return;
    output::note({prefix,
                  "a directory without its final \"/\": this reads " + prefix + file + "; for "
                      + prefix + '/' + file + ", add the \"/\"",
                  {}});
}

// A bad description must not hide a value from someone who looks for a fault.
std::optional<Problem> loadDescription(const CommandLine &line, const Files &files,
                                       Description &description)
{
    const Arguments &arguments = line.arguments();
    try {
        description = description::load(arguments.description, files, arguments.places.asRoot);
    } catch (const Failure &failure) {
        // A named storage is not described, and so a change of it needs no description.
        const bool isNeeded = !line.isWriter() || !line.storage();
        if (line.badDescription() == BadDescription::Refused && isNeeded)
            throw;
        if (line.badDescription() != BadDescription::Found)
            output::note(failure.problem);
        names::doubtSecrets();
        return failure.problem;
    }
    names::describe(description.names(), description.secrets());
    return {};
}

// Runs in a child, because files, other processes and other users' directories may do anything to
// it.
QByteArray runCommand(const CommandLine &line)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const Arguments &arguments = line.arguments();
    EnvironmentChoice environmentChoice = arguments.environment;
    if (arguments.places.root && !environmentChoice.isNamed())
        environmentChoice.source = EnvironmentChoice::None;
    environment::choose(environmentChoice, output::note);
    const Files files(arguments.places, line.storage());
    line.prepare();
    if (!arguments.places.asRoot)
        identity::becomeOwner(files);
    notePrefix(files.persistentPrefix(), names::customFile);
    notePrefix(files.defaultsPrefix(), names::defaultsFile);

    int status = Done;
    Problem problem;
    try {
        Description description;
        const auto badDescription = loadDescription(line, files, description);
        status = line.run({arguments, files, description, badDescription});
    } catch (const Failure &failure) {
        status = failure.status;
        problem = failure.problem;
    }
    QByteArray result;
    QDataStream stream(&result, QIODevice::WriteOnly);
    stream << status << output::printed() << problem.thing << problem.whatHappened
           << problem.whatToDo;
    return result;
}

// Begins the message of a child that could not say whether it has saved the change.
QString unknown(const CommandLine &line)
{
    return line.isWriter() ? "it is not known whether the change is saved: " : "";
}

// Lets another child find out which file has ended the child.
Failure whyDied(const CommandLine &line, const child::End &end, ExitStatus otherwise,
                std::chrono::seconds limit)
{
    const Arguments &arguments = line.arguments();
    const child::End search = child::run(limit, [&]() -> QByteArray {
        const Files files(arguments.places, line.storage());
        if (!arguments.places.asRoot)
            identity::becomeOwner(files);
        if (const auto problem = fileproblem::ofReader(files.openedAtOnce()))
            throw Failure{CannotRead, *problem};
        return {};
    });
    return search.failure.value_or(Failure{
        otherwise, {"stbconfig", unknown(line) + end.why, "try again, and tell its maintainers"}});
}

ExitStatus runInChild(const CommandLine &line)
{
    // This is less than the 35 seconds that no command may take.
    constexpr std::chrono::seconds limit(34);
    const auto start = std::chrono::steady_clock::now();
    const child::End end = child::run(limit, [&line] { return runCommand(line); });
    const ExitStatus ifLost = line.isWriter() ? NotSaved : CannotRead;
    if (end.failure)
        throw *end.failure;
    if (end.how == child::End::NotStarted)
        throw Failure{ifLost, {"stbconfig", end.why, "end some processes, or free some memory"}};
    if (end.how == child::End::TimedOut) {
        throw Failure{
            ifLost,
            {"stbconfig", unknown(line) + end.why, "see what holds the files or their disk"}};
    }
    if (end.how == child::End::Died) {
        const auto passed = std::chrono::steady_clock::now() - start;
        throw whyDied(line, end, ifLost, limit - std::chrono::ceil<std::chrono::seconds>(passed));
    }
    int status = Done;
    QByteArray printed;
    Problem problem;
    QDataStream stream(end.result);
    stream >> status >> printed >> problem.thing >> problem.whatHappened >> problem.whatToDo;
    std::fwrite(printed.constData(), 1, static_cast<size_t>(printed.size()), stdout);
    std::fflush(stdout); // the answer goes before the complaint
    if (!problem.thing.isNull())
        output::note(problem);
    return ExitStatus(status);
}

// This runs only if there is no memory left, and takes none itself.
[[noreturn]] void giveUp()
{
    std::fputs("stbconfig: out of memory, and it is not known whether a change is saved; free some "
               "memory, then try again\n",
               stderr);
    std::_Exit(NotSaved);
}

// A caller may have closed these streams; our own pipes must not take their places.
void openStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // They are opened the wrong way round, so that reading or writing a closed one still fails.
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

ExitStatus run(int argc, char *argv[])
{
    CommandLine line;
    QList<QByteArray> words;
    for (int i = 1; i < argc; ++i)
        words.append(QByteArray::fromRawData(argv[i], static_cast<int>(std::strlen(argv[i]))));
    addCommands(line, words);
    if (const auto status = line.parse(argc, argv))
        return *status;
    return runInChild(line);
}

} // namespace

int main(int argc, char *argv[]) // NOLINT(bugprone-exception-escape): only for want of memory
{
    std::set_terminate(giveUp);
    const QObject first; // made early: Qt crashes if it lacks memory for it
    openStandardStreams();
    std::signal(SIGCHLD, SIG_DFL); // nobody can wait for a child while it is ignored
#if QT_VERSION_MAJOR < 6
    // A box's shell is often in the C locale, yet names and values are UTF-8. Qt 6 asks no locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif
    int status = Done;
    try {
        status = run(argc, argv);
    } catch (const Failure &failure) {
        output::note(failure.problem);
        status = failure.status;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        output::note({"standard output", "cannot be written", "give it a place with space left"});
        return CannotRead;
    }
    // The kernel frees everything faster than destructors would.
    std::_Exit(status);
}
