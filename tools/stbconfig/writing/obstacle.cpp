// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "obstacle.h"

#include "fileproblem.h"
#include "identity.h"
#include "names.h"
#include "value.h"
#include "way.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace obstacle {
namespace {

std::optional<Obstacle> fact(const QString &thing, const QString &what, const QString &remedy)
{
    return Obstacle{{thing, what, remedy}, false};
}

int denied(const QString &path, int mode)
{
    return eaccess(QFile::encodeName(path).constData(), mode) == 0 ? 0 : errno;
}

// Says why access() said no. The remedy for a read-only file system is the same everywhere.
std::optional<Obstacle> ofDenial(const QString &file, int error, const QString &what,
                                 const QString &remedy)
{
    if (error == 0)
        return {};
    if (error == EROFS)
        return fact(file, "read-only file system", "remount it read-write");
    const bool isDenied = error == EACCES || error == EPERM;
    return fact(file, what + (isDenied ? identity::remark() : QString(": ") + std::strerror(error)),
                remedy);
}

bool isMountPoint(const QString &path)
{
    QFile mounts("/proc/self/mountinfo");
    if (!mounts.open(QIODevice::ReadOnly))
        return false;
    // The kernel writes four characters as octal escapes.
    QByteArray escaped;
    const QByteArray bytes = QFile::encodeName(path);
    for (const char byte : bytes) {
        escaped += std::strchr(" \t\n\\", byte)
            ? '\\' + QByteArray::number(byte, 8).rightJustified(3, '0')
            : QByteArray(1, byte);
    }
    const QList<QByteArray> lines = mounts.readAll().split('\n');
    return std::any_of(lines.cbegin(), lines.cend(), [&escaped](const QByteArray &line) {
        return line.split(' ').value(4) == escaped;
    });
}

bool isInGroup(gid_t group)
{
    std::vector<gid_t> groups(static_cast<size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<size_t>(std::max(count, 0)));
    return group == getegid() || std::find(groups.cbegin(), groups.cend(), group) != groups.cend();
}

// The new file belongs to the user who writes it; only root can give it back to somebody else.
std::optional<Obstacle> ofOwner(const QString &file, const struct stat &status,
                                const struct stat &directory)
{
    if (geteuid() == 0)
        return {};
    if (status.st_uid != geteuid()) {
        return fact(file,
                    "it belongs to " + identity::userName(status.st_uid) + " and would belong to "
                        + identity::userName(geteuid()),
                    "work as " + identity::userName(status.st_uid)
                        + ", or give the file to the user of its directory");
    }
    const bool isInherited =
        (directory.st_mode & S_ISGID) != 0 && directory.st_gid == status.st_gid;
    if (!isInherited && !isInGroup(status.st_gid)) {
        return fact(file, QString("its group %1 would change").arg(status.st_gid),
                    "give it a group of the user who writes it");
    }
    return {};
}

// Returns the directory that is to be written, or the one in which it would be made.
QString existingDirectory(const QString &file)
{
    QString directory = QFileInfo(follow(absolute(file)).end).path();
    while (denied(directory, F_OK) == ENOENT)
        directory = QFileInfo(directory).path();
    return directory;
}

// QSettings puts a new file in the old one's place however little of it could be written.
std::optional<Obstacle> ofRoom(const QString &file, const QString &directory, qint64 size)
{
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
        && limit.rlim_cur < static_cast<rlim_t>(std::max<qint64>(size, 1))) {
        return Obstacle{{file,
                         QString("files may have %1 bytes here, about %2 are needed")
                             .arg(limit.rlim_cur)
                             .arg(size),
                         QString("raise the limit, ulimit -f")
                             + (limit.rlim_cur == 0 ? "" : ", or add --force")},
                        limit.rlim_cur != 0};
    }
    struct statvfs space = {};
    if (statvfs(QFile::encodeName(directory).constData(), &space) != 0)
        return {};
    const auto block = static_cast<qint64>(space.f_frsize);
    const qint64 available = static_cast<qint64>(space.f_bavail) * block;
    // The old file stays meanwhile, and the lock takes a block too.
    const qint64 needed = (std::max<qint64>(size, 1) + block - 1) / block * block + block;
    if (available < needed) {
        const bool isFact = available < 2 * block;
        return Obstacle{
            {file,
             QString("the file system is full: %1 bytes are free, about %2 are needed")
                 .arg(available)
                 .arg(needed),
             "free some space where " + directory + " is" + (isFact ? "" : ", or add --force")},
            !isFact};
    }
    return {};
}

// Qt writes "%2F" or "%U0416" for a character that is no letter, digit, "_", "-" or ".".
qint64 sizeOfName(const QString &name)
{
    qint64 size = 0;
    for (const QChar character : name) {
        const ushort code = character.unicode();
        const bool isPlain = code < 0x80
            && (character.isLetterOrNumber() || code == '_' || code == '-' || code == '.'
                || code == '/');
        size += isPlain ? 1 : code < 0x100 ? 3 : 6;
    }
    return size;
}

bool isHexadecimal(ushort code)
{
    return (code >= '0' && code <= '9') || (code >= 'a' && code <= 'f')
        || (code >= 'A' && code <= 'F');
}

// Qt writes "\x416" for a character beyond ASCII, and then also for each digit that would be taken
// for a part of it.
qint64 sizeOfText(const QString &text)
{
    qint64 size = 0;
    bool isBehindNumber = false;
    for (const QChar character : text) {
        const ushort code = character.unicode();
        const bool isNumber =
            code < 0x20 || code >= 0x7f || (isBehindNumber && isHexadecimal(code));
        if (isNumber)
            size += code < 0x100 ? 4 : code < 0x1000 ? 5 : 6;
        else
            size += code == '"' || code == '\\' ? 2 : 1;
        isBehindNumber = isNumber;
    }
    return size;
}

} // namespace

qint64 sizeOf(const Entries &entries)
{
    constexpr int punctuation = 8; // "=", quotes, the line's end, a comma and a blank
    qint64 size = 0;
    QString group;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        const Setting setting = Setting::named(it.key());
        if (setting.group != group)
            size += sizeOfName(setting.group) + punctuation;
        group = setting.group;
        size += sizeOfName(setting.key) + punctuation;
        if (value::isList(it.value()) || it.value().userType() == QMetaType::QString) {
            const QStringList texts = value::texts(it.value());
            for (const QString &text : texts)
                size += sizeOfText(text) + punctuation;
        } else {
            size += 4 * value::fingerprint(it.value()).size() + 2 * punctuation;
        }
    }
    return size;
}

std::optional<Obstacle> of(const QString &file, qint64 size)
{
    if (const auto problem = fileproblem::ofOpening(file))
        return fact(file, problem->whatHappened, problem->whatToDo);
    // The library makes missing directories, but not the one to which a link leads.
    const QString target = follow(absolute(file)).end;
    if (QFileInfo(file).isSymLink() && !QFileInfo::exists(QFileInfo(target).path()))
        return fact(file, "a symbolic link into a directory that is missing", "make the directory");
    const QString directory = existingDirectory(file);
    struct stat around = {};
    if (stat(QFile::encodeName(directory).constData(), &around) != 0 || !S_ISDIR(around.st_mode))
        return fact(file, directory + " is no directory", "correct the prefix");
    struct stat status = {};
    if (stat(QFile::encodeName(file).constData(), &status) == 0) {
        if (isMountPoint(follow(absolute(file)).end)) {
            return fact(file, "the file is a mount point and cannot be replaced",
                        "mount its directory instead");
        }
        if (auto problem =
                ofDenial(file, denied(file, W_OK), "the file is not writable", "make it writable"))
            return problem;
        if (auto problem = ofOwner(file, status, around))
            return problem;
    }
    // That the directory can be searched has shown when the file was read.
    if (auto problem = ofDenial(file, denied(directory, W_OK),
                                "the directory " + directory + " is not writable",
                                "make it writable, the file alone is not enough"))
        return problem;
    return ofRoom(file, directory, size);
}

} // namespace obstacle
