// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "child.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace child {
namespace {

using Clock = std::chrono::steady_clock;

// The child sets this after the fork.
pid_t parentOfThis = 0; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

// Packs what the work returned or threw for the pipe.
QByteArray outcomeOf(const std::function<QByteArray()> &work)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    try {
        const QByteArray result = work();
        stream << false << result;
    } catch (const Failure &failure) {
        const auto &[thing, whatHappened, whatToDo] = failure.problem;
        stream << true << int(failure.status) << thing << whatHappened << whatToDo;
    }
    return bytes;
}

// Returns false if the child did not tell all.
bool take(const QByteArray &bytes, End &end)
{
    QDataStream stream(bytes);
    bool hasFailed = false;
    stream >> hasFailed;
    if (hasFailed) {
        int status = 0;
        Problem problem;
        stream >> status >> problem.thing >> problem.whatHappened >> problem.whatToDo;
        end.failure = Failure{ExitStatus(status), problem};
    } else {
        stream >> end.result;
    }
    return stream.status() == QDataStream::Ok;
}

[[noreturn]] void beChild(int output, pid_t parent, const std::function<QByteArray()> &work)
{
    parentOfThis = parent;
    std::set_terminate([] { std::_Exit(EXIT_FAILURE); }); // no memory
    dieWithParent();
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    try {
        const QByteArray result = outcomeOf(work);
        const char *next = result.constData();
        const char *const end = next + result.size();
        while (next != end) {
            const ssize_t written = write(output, next, static_cast<size_t>(end - next));
            if (written < 0 && errno != EINTR)
                std::_Exit(EXIT_FAILURE);
            next += std::max<ssize_t>(written, 0);
        }
    } catch (...) { // no memory
        std::_Exit(EXIT_FAILURE);
    }
    std::_Exit(EXIT_SUCCESS);
}

int millisecondsUntil(Clock::time_point time)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(time - Clock::now());
    return static_cast<int>(std::max(left, milliseconds(0)).count());
}

// Reads until the child closes its end. Returns 0, or why it cannot: ETIME if the time is over
// first.
int receive(int input, pid_t process, Clock::time_point end, const Watch &watch, QByteArray &result)
{
    const auto start = Clock::now();
    bool isWatched = static_cast<bool>(watch.call);
    std::array<char, 16384> buffer{};
    for (;;) {
        const auto next = isWatched ? std::min(end, start + watch.after) : end;
        pollfd descriptor{input, POLLIN, 0};
        const int ready = poll(&descriptor, 1, millisecondsUntil(next));
        if (ready < 0 && errno != EINTR)
            return errno;
        if (ready > 0) {
            const ssize_t count = read(input, buffer.data(), buffer.size());
            if (count == 0)
                return 0;
            if (count < 0 && errno != EINTR)
                return errno;
            if (count > 0)
                result.append(buffer.data(), static_cast<int>(count));
            continue;
        }
        if (Clock::now() >= end)
            return ETIME;
        if (isWatched && Clock::now() >= start + watch.after) {
            isWatched = false;
            watch.call(process);
        }
    }
}

// Does not wait for ever: nobody can end a process that waits for a file system which does not
// answer.
void reap(pid_t process, Clock::time_point end)
{
    int status = 0;
    for (;;) {
        const pid_t gone = waitpid(process, &status, WNOHANG);
        if (gone == process || (gone < 0 && errno != EINTR) || Clock::now() >= end)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

End run(std::chrono::seconds limit, const std::function<QByteArray()> &work, const Watch &watch)
{
    End end;
    const auto last = Clock::now() + limit;
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        end.why = QString("no process could be started: ") + std::strerror(errno);
        return end;
    }
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0) {
        close(pipe[0]);
        beChild(pipe[1], parent, work);
    }
    const int error = errno;
    close(pipe[1]);
    if (process < 0) {
        close(pipe[0]);
        end.why = QString("no process could be started: ") + std::strerror(error);
        return end;
    }
    QByteArray outcome;
    const int lost = receive(pipe[0], process, last, watch, outcome);
    close(pipe[0]);
    if (lost != 0) {
        constexpr std::chrono::milliseconds grace(500);
        kill(process, SIGKILL);
        reap(process, Clock::now() + grace);
        end.how = End::TimedOut;
        end.why = lost == ETIME
            ? QString("no end after %1 seconds").arg(limit.count())
            : QString("the answer of a process was lost: ") + std::strerror(lost);
        return end;
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {}
    if (WIFSIGNALED(status)) {
        end.how = End::Died;
        end.why = QString("a process died of signal %1").arg(WTERMSIG(status));
    } else if (status != 0 || !take(outcome, end)) {
        end.how = End::Died;
        end.why = "a process ran out of memory";
    } else {
        end.how = End::Returned;
    }
    return end;
}

void dieWithParent()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (parentOfThis != 0 && getppid() != parentOfThis)
        std::_Exit(EXIT_FAILURE);
}

#ifndef __SANITIZE_ADDRESS__ // the sanitizer takes terabytes of addresses for itself
MemoryLimit::MemoryLimit(qint64 bytes)
{
    getrlimit(RLIMIT_AS, &before);
    rlimit limit = before;
    limit.rlim_cur = std::min(limit.rlim_cur, (256 << 20) + 16 * static_cast<rlim_t>(bytes));
    setrlimit(RLIMIT_AS, &limit);
}

MemoryLimit::~MemoryLimit() { setrlimit(RLIMIT_AS, &before); }
#else
MemoryLimit::MemoryLimit(qint64) {}

MemoryLimit::~MemoryLimit() = default;
#endif

} // namespace child
