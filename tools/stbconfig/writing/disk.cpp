// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "disk.h"

#include "descriptor.h"
#include "way.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace disk {
namespace {

constexpr mode_t modeBits = 07777;
constexpr mode_t lessTheMask = 0666; // the mode with which the library makes files

int openQuietly(const QString &path, int flags)
{
    const QByteArray bytes = QFile::encodeName(path);
    return uninterrupted(
        [&] { return open(bytes.constData(), flags | O_RDONLY | O_NONBLOCK | O_CLOEXEC); });
}

int give(int descriptor, const struct stat &old)
{
    struct stat now = {};
    if (uninterrupted([&] { return fstat(descriptor, &now); }) != 0)
        return errno;
    if ((now.st_uid != old.st_uid || now.st_gid != old.st_gid)
        && uninterrupted([&] { return fchown(descriptor, old.st_uid, old.st_gid); }) != 0)
        return errno;
    if ((now.st_mode & modeBits) != (old.st_mode & modeBits)
        && uninterrupted([&] { return fchmod(descriptor, old.st_mode & modeBits); }) != 0)
        return errno;
    return 0;
}

int flushDirectory(const QString &directory)
{
    const Descriptor descriptor(openQuietly(directory, O_DIRECTORY));
    if (descriptor.number < 0)
        return errno == EACCES ? 0 : errno; // this user may not list it, so cannot flush it
    // A file system that cannot flush a directory says EINVAL.
    return fsync(descriptor.number) == 0 || errno == EINVAL ? 0 : errno;
}

} // namespace

int look(const QString &file, std::optional<struct stat> &status)
{
    struct stat found = {};
    const QByteArray path = QFile::encodeName(file);
    if (uninterrupted([&] { return stat(path.constData(), &found); }) != 0)
        return errno == ENOENT ? 0 : errno;
    status = found;
    return 0;
}

std::optional<struct stat> statusOf(const QString &file)
{
    std::optional<struct stat> status;
    static_cast<void>(look(file, status));
    return status;
}

int claim(const QString &path)
{
    const Descriptor descriptor(open(QFile::encodeName(path).constData(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, lessTheMask));
    return descriptor.number >= 0 || errno == ENOENT ? 0 : errno;
}

int keepOwner(const QString &file, const struct stat &old)
{
    const Descriptor descriptor(openQuietly(file, 0));
    return descriptor.number < 0 ? errno : give(descriptor.number, old);
}

int openToOthers(const QString &file)
{
    const mode_t mask = umask(0);
    umask(mask);
    constexpr mode_t ownerAlone = 0600;
    const Descriptor descriptor(openQuietly(file, 0));
    struct stat made = {};
    if (descriptor.number < 0)
        return errno == ENOENT ? 0 : errno;
    if (uninterrupted([&] { return fstat(descriptor.number, &made); }) != 0)
        return errno;
    if ((made.st_mode & modeBits) != ownerAlone)
        return 0;
    made.st_mode = lessTheMask & ~mask;
    return give(descriptor.number, made);
}

int flush(const QString &file, const QString &oldDirectory)
{
    const QString target = follow(absolute(file)).end;
    {
        const Descriptor descriptor(openQuietly(target, O_NOFOLLOW));
        if (descriptor.number < 0)
            return errno == ENOENT ? 0 : errno;
        if (fsync(descriptor.number) != 0)
            return errno;
        // The next read must come from the disk, not from the memory that should have gone there.
        posix_fadvise(descriptor.number, 0, 0, POSIX_FADV_DONTNEED);
    }
    QString directory = QFileInfo(target).path();
    for (;;) {
        if (const int error = flushDirectory(directory))
            return error;
        if (directory == "/" || directory.size() <= oldDirectory.size())
            return 0;
        directory = QFileInfo(directory).path();
    }
}

int putBack(const QString &file, const QByteArray &bytes, const std::optional<struct stat> &old)
{
    const QString target = follow(absolute(file)).end;
    if (!old) {
        return unlink(QFile::encodeName(target).constData()) == 0
            ? flushDirectory(QFileInfo(target).path())
            : errno;
    }
    QByteArray temporary = QFile::encodeName(target) + ".XXXXXX";
    const Descriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
    if (descriptor.number < 0)
        return errno;
    int error = 0;
    const char *next = bytes.constData();
    const char *const end = next + bytes.size();
    while (error == 0 && next != end) {
        const ssize_t count = write(descriptor.number, next, static_cast<size_t>(end - next));
        if (count < 0 && errno != EINTR)
            error = errno;
        next += std::max<ssize_t>(count, 0);
    }
    if (error == 0)
        error = give(descriptor.number, *old);
    if (error == 0 && fsync(descriptor.number) != 0)
        error = errno;
    if (error == 0 && rename(temporary.constData(), QFile::encodeName(target).constData()) != 0)
        error = errno;
    if (error != 0) {
        unlink(temporary.constData());
        return error;
    }
    return flushDirectory(QFileInfo(target).path());
}

} // namespace disk
