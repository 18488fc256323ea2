// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "process.h"

#include "box.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// No command takes longer than 35 seconds, and a command that waits for nobody is much faster.
constexpr std::chrono::seconds limit(15);

struct Ends
{
    int reading = -1;
    int writing = -1;
};

Ends makePipe()
{
    std::array<int, 2> pipe{};
    expect(pipe2(pipe.data(), O_CLOEXEC) == 0, "a pipe can be made");
    return {pipe[0], pipe[1]};
}

// Opens a terminal that hands everything on as it is, or a pipe where there are no terminals.
Ends makeTerminal()
{
    Ends ends;
    winsize size{24, 80, 0, 0};
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&ends.reading, &ends.writing, nullptr, &raw, &size) != 0)
        return makePipe();
    fcntl(ends.reading, F_SETFD, FD_CLOEXEC);
    fcntl(ends.writing, F_SETFD, FD_CLOEXEC);
    return ends;
}

int inputOf(const QByteArray &bytes)
{
    const int descriptor = memfd_create("input", MFD_CLOEXEC);
    expect(descriptor >= 0
               && write(descriptor, bytes.constData(), size_t(bytes.size())) == bytes.size()
               && lseek(descriptor, 0, SEEK_SET) == 0,
           "the input of a run can be made");
    return descriptor;
}

bool isOurs(const QByteArray &variable)
{
    return variable.startsWith("STBAPP_") || variable.startsWith("STBCONFIG_");
}

// Clears what the variables of the person who runs this would change.
// NOLINTBEGIN(concurrency-mt-unsafe): in a child, which has no other thread
void setVariables(const QList<QByteArray> &variables)
{
    QList<QByteArray> names;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (isOurs(*variable) && !QByteArray(*variable).startsWith("STBCONFIG="))
            names.append(QByteArray(*variable).split('=').first());
    }
    for (const QByteArray &name : names)
        unsetenv(name.constData());
    unsetenv("NO_COLOR");
    for (const QByteArray &variable : variables) {
        const auto equals = variable.indexOf('=');
        setenv(variable.left(equals).constData(), variable.mid(equals + 1).constData(), 1);
    }
}
// NOLINTEND(concurrency-mt-unsafe)

// Returns false at its end.
bool take(int descriptor, QByteArray &into)
{
    std::array<char, 65536> buffer{};
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0)
        into.append(buffer.data(), static_cast<int>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

// Reads both until they end. Returns false if that takes too long.
bool takeAll(int first, QByteArray &printed, int second, QByteArray &said)
{
    const auto last = Clock::now() + limit;
    std::array<pollfd, 2> open{{{first, POLLIN, 0}, {second, POLLIN, 0}}};
    while (open[0].fd >= 0 || open[1].fd >= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(last - Clock::now()).count();
        if (left <= 0)
            return false;
        if (poll(open.data(), open.size(), static_cast<int>(left)) <= 0)
            continue;
        if (open[0].revents != 0 && !take(first, printed))
            open[0].fd = -1;
        if (open[1].revents != 0 && !take(second, said))
            open[1].fd = -1;
    }
    return true;
}

QByteArray quoted(QByteArray word) { return '\'' + word.replace('\'', "'\\''") + '\''; }

} // namespace

End run(const Start &start)
{
    const int input = inputOf(start.input);
    const Ends printed = start.isTerminal ? makeTerminal() : makePipe();
    const Ends said = makePipe();
    std::fflush(nullptr);
    const pid_t process = fork();
    expect(process >= 0, "a process can be started");
    if (process == 0) {
        setpgid(0, 0); // so that all its processes can be ended
        dup2(input, STDIN_FILENO);
        dup2(printed.writing, STDOUT_FILENO);
        dup2(said.writing, STDERR_FILENO);
        for (const int other :
             {printed.reading, printed.writing, said.reading, said.writing, input})
            close(other);
        if (chdir(qUtf8Printable(start.directory)) != 0)
            leave(127);
        setVariables(start.variables);
        beCommand(start.words);
    }
    close(input);
    close(printed.writing);
    close(said.writing);
    End end;
    end.isInTime = takeAll(printed.reading, end.printed, said.reading, end.said);
    if (!end.isInTime)
        kill(-process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {}
    end.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    close(printed.reading);
    close(said.reading);
    takeCoverage();
    return end;
}

QByteArray asShell(const Start &start)
{
    QByteArray result = "cd " + quoted(start.directory.toUtf8()) + " && ";
    if (!start.input.isEmpty())
        result += "printf %s " + quoted(start.input) + " | ";
    result += "env";
    for (const QByteArray &variable : start.variables)
        result += ' ' + quoted(variable);
    result += " stbconfig";
    for (const QByteArray &word : start.words)
        result += ' ' + quoted(word);
    return result;
}

QByteArray inChild(const std::function<QByteArray()> &work)
{
    const Ends pipe = makePipe();
    std::fflush(nullptr);
    const pid_t process = fork();
    expect(process >= 0, "a process can be started");
    if (process == 0) {
        forgetFuzzer();
        alarm(limit.count());
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        const QByteArray result = work();
        const char *next = result.constData();
        const char *const end = next + result.size();
        while (next != end) {
            const ssize_t count = write(pipe.writing, next, size_t(end - next));
            if (count < 0)
                leave(1);
            next += count;
        }
        leave(0);
    }
    close(pipe.writing);
    QByteArray result;
    while (take(pipe.reading, result)) {}
    close(pipe.reading);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {}
    return status == 0 ? result : QByteArray();
}
