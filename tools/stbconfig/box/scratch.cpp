// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "scratch.h"

#include "output.h"
#include "problem.h"
#include "way.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The user whom root has become may not be able to use root's TMPDIR.
QString parentDirectory()
{
    const QByteArray named = qgetenv("TMPDIR");
    return named.isEmpty() || eaccess(named.constData(), W_OK | X_OK) != 0
        ? QString("/tmp")
        : absolute(QFile::decodeName(named));
}

[[noreturn]] void fail(const QString &parent, const QString &what)
{
    throw Failure{CannotRead,
                  {parent, "no scratch directory: " + what,
                   "set TMPDIR to a directory that only this user can write"}};
}

void requireOwn(const QString &parent)
{
    const Way way = follow(parent + "/new");
    const QString others = way.foreigner ? way.foreigner->directory : way.shared;
    if (!others.isEmpty())
        fail(parent, "others than root can exchange what is in " + others);
}

// Closes everything else, so that nobody who waits for the end of a pipe waits for this process.
void closeAllBut(int kept)
{
    constexpr int most = 1024;
    for (int number = 0; number < most; ++number) {
        if (number != kept)
            close(number);
    }
}

// Neither a terminal nor a service manager ends this process before its work is done.
[[noreturn]] void keep(int line, QByteArray path)
{
    closeAllBut(line);
    setsid();
    sigset_t ends;
    sigemptyset(&ends);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        sigaddset(&ends, signal);
    sigprocmask(SIG_SETMASK, &ends, nullptr);
    if (!mkdtemp(path.data()))
        path = QByteArray::number(errno);
    const bool isTold =
        send(line, path.constData(), static_cast<size_t>(path.size()), MSG_NOSIGNAL) == path.size();
    char nothing = 0;
    while (isTold && read(line, &nothing, 1) < 0 && errno == EINTR) {}
    if (path.startsWith('/'))
        QDir(QFile::decodeName(path)).removeRecursively();
    std::_Exit(EXIT_SUCCESS);
}

} // namespace

Scratch::Scratch(bool asRoot)
{
    const QString parent = parentDirectory();
    if (geteuid() == 0 && !asRoot)
        requireOwn(parent);
    std::array<int, 2> ends{};
    // A socket of messages hands a path over as a whole.
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        fail(parent, std::strerror(errno));
    keeper = fork();
    if (keeper == 0)
        keep(ends[1], QFile::encodeName(parent) + "/stbconfig.XXXXXX");
    const int error = errno;
    close(ends[1]);
    line = ends[0];
    std::array<char, 4096> path{};
    const ssize_t length = keeper < 0 ? 0 : recv(line, path.data(), path.size(), 0);
    const QByteArray told(path.data(), static_cast<int>(std::max<ssize_t>(length, 0)));
    if (!told.startsWith('/')) {
        close(line);
        if (keeper > 0)
            waitpid(keeper, nullptr, 0);
        fail(parent, std::strerror(keeper < 0 ? error : told.toInt()));
    }
    directory = QFile::decodeName(told) + '/';
}

Scratch::~Scratch()
{
    QDir(directory).removeRecursively(); // the keeper tries again if this fails
    close(line);
    while (waitpid(keeper, nullptr, 0) < 0 && errno == EINTR) {}
    if (QFileInfo::exists(directory))
        output::note({directory, "could not be removed", "remove it: it may hold settings"});
}

Files Scratch::files() const { return Files({directory, directory, {}, false}); }
