// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "lock.h"

#include "identity.h"
#include "names.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QSysInfo>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace lock {
namespace {

// Qt takes a lock with this suffix while it removes an old lock.
constexpr char removalSuffix[] = ".rmlock";

struct Writer
{
    bool isKnown = false;
    qint64 process = 0;
    bool isHere = false;
    bool isGone = false;
    QString name;
};

// A process whose number now belongs to another program is gone.
bool isRunning(qint64 process, const QString &program)
{
    if (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH)
        return false;
    const QString running = QFile::symLinkTarget(QString("/proc/%1/exe").arg(process));
    return running.isEmpty() || QFileInfo(running).fileName() == QFileInfo(program).fileName();
}

Writer writerOf(const QString &path)
{
    Writer writer;
    QString host;
    QString program;
    writer.isKnown = QLockFile(path).getLockInfo(&writer.process, &host, &program);
    if (!writer.isKnown) {
        writer.name = "an empty or unreadable lock";
        return writer;
    }
    writer.isHere = host.isEmpty() || host == QSysInfo::machineHostName();
    writer.isGone = writer.isHere && !isRunning(writer.process, program);
    writer.name = writer.isHere ? QString("process %1").arg(writer.process)
                                : QString("process %1 of %2").arg(writer.process).arg(host);
    return writer;
}

// Qt opens an old lock for writing before it removes it.
bool isRemovable(const QString &path, const struct stat &status)
{
    if (access(QFile::encodeName(path).constData(), W_OK) != 0)
        return false;
    struct stat directory = {};
    if (stat(QFile::encodeName(QFileInfo(path).path()).constData(), &directory) != 0)
        return false;
    const uid_t self = geteuid();
    return (directory.st_mode & S_ISVTX) == 0 || self == 0 || self == directory.st_uid
        || self == status.st_uid;
}

Held stuck(const QString &path, const QString &what)
{
    return {what, 0, false, {path, what + " holds every write", "remove it"}};
}

std::optional<Held> ofPath(const QString &path);

// Judges an old lock, or one whose process is gone: Qt takes it over if it can.
std::optional<Held> ofTakeOver(const QString &path, const struct stat &status)
{
    if (!isRemovable(path, status)) {
        return stuck(path,
                     "an old lock of " + identity::userName(status.st_uid)
                         + ", which cannot be removed,");
    }
    return ofPath(path + removalSuffix);
}

std::optional<Held> ofPath(const QString &path)
{
    const QByteArray bytes = QFile::encodeName(path);
    struct stat status = {};
    if (lstat(bytes.constData(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode)) {
        // Qt never makes a link as a lock, and would open the file to which a link leads.
        return stuck(path,
                     S_ISDIR(status.st_mode)       ? "a directory"
                         : S_ISLNK(status.st_mode) ? "a symbolic link"
                                                   : "a thing that is no file");
    }
    constexpr off_t largest = 65536; // Qt reads all of it, again and again
    if (status.st_size > largest)
        return stuck(path, QString("a lock of %1 bytes").arg(status.st_size));

    const Writer writer = writerOf(path);
    if (writer.isGone)
        return ofTakeOver(path, status);
    constexpr time_t oldest = 30; // Qt ignores a lock older than this
    const time_t age = std::time(nullptr) - status.st_mtim.tv_sec;
    // Some file systems and clocks are a moment ahead.
    if (age < -2)
        return stuck(path, writer.name + " with a time stamp in the future");
    if (status.st_mtim.tv_sec == 0) // Qt takes such a lock for one without an age
        return stuck(path, writer.name + " without a time stamp");
    if (age > oldest)
        return ofTakeOver(path, status);
    return Held{writer.name,
                writer.isHere ? static_cast<pid_t>(writer.process) : 0,
                true,
                {path, writer.name + " can hold a write for some 30 seconds",
                 "remove it if no process holds it"}};
}

} // namespace

std::optional<Held> of(const QString &file) { return ofPath(file + names::lockSuffix); }

} // namespace lock
