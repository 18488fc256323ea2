// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "fileproblem.h"

#include "child.h"
#include "descriptor.h"
#include "identity.h"
#include "rawfile.h"
#include "way.h"

#include <QtCore/QFile>
#include <QtCore/QSettings>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fileproblem {
namespace {

const char *kindOf(mode_t mode)
{
    return S_ISDIR(mode) ? "a directory"
        : S_ISFIFO(mode) ? "a FIFO"
        : S_ISSOCK(mode) ? "a socket"
                         : "a device";
}

Problem unreadable(const QString &file, int error)
{
    if (error == ELOOP)
        return {file, "a symbolic link that leads back to itself",
                "remove it, or let it lead to a file"};
    const bool isDenied = error == EACCES || error == EPERM;
    return {file,
            QString("cannot be read: ") + std::strerror(error)
                + (isDenied ? identity::remark() : QString()),
            isDenied ? !identity::remark().isEmpty()
                    ? "add --as-root if you trust that directory"
                    : "check the permissions, or work as the application's user"
                     : "check the path and the disk"};
}

std::optional<Problem> ofKind(const QString &file, const struct stat &status, qint64 largest)
{
    if (!S_ISREG(status.st_mode)) {
        return Problem{file, QString("not a file but ") + kindOf(status.st_mode), "move it away"};
    }
    if (status.st_size > largest) {
        return Problem{
            file,
            QString("too large: %1 bytes, at most %2 are read").arg(status.st_size).arg(largest),
            "look at what it holds, or move it away"};
    }
    return {};
}

// Only a link of the file itself can lead out: the directory was looked up inside the root.
std::optional<Problem> ofLink(const QString &file, const QString &root)
{
    if (root.isEmpty())
        return {};
    const QString end = follow(absolute(file)).end;
    if (root == "/" || end.startsWith(root + '/'))
        return {};
    return Problem{file, "leads out of the image",
                   "let its link, if it is one, lead to a file of the image"};
}

} // namespace

std::optional<Problem> ofOpening(const QString &file, const QString &root, qint64 largest)
{
    if (auto problem = ofLink(file, root))
        return problem;
    struct stat status = {};
    const QByteArray path = QFile::encodeName(file);
    if (uninterrupted([&] { return stat(path.constData(), &status); }) == 0)
        return ofKind(file, status, largest);
    return errno == ENOENT ? std::nullopt : std::optional(unreadable(file, errno));
}

Contents read(const QString &file, const QString &root, qint64 largest)
{
    Contents contents;
    contents.problem = ofOpening(file, root, largest);
    if (contents.problem)
        return contents;
    // Never waits, whatever has taken the file's place by now.
    const QByteArray path = QFile::encodeName(file);
    const Descriptor descriptor(uninterrupted(
        [&] { return open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    if (descriptor.number < 0) {
        if (errno != ENOENT)
            contents.problem = unreadable(file, errno);
        return contents;
    }
    contents.exists = true;
    struct stat status = {};
    contents.problem = uninterrupted([&] { return fstat(descriptor.number, &status); }) == 0
        ? ofKind(file, status, largest)
        : unreadable(file, errno);
    if (contents.problem)
        return contents;
    contents.bytes.reserve(static_cast<int>(status.st_size));
    if (const int error = readAll(descriptor.number, contents.bytes, largest))
        contents.problem = unreadable(file, error);
    return contents;
}

Contents readAsOwner(const QString &file, const QString &root, qint64 largest)
{
    if (geteuid() != 0)
        return read(file, root, largest);
    constexpr std::chrono::seconds limit(20);
    const child::End end = child::run(limit, [&] {
        identity::becomeOwner(QStringList{file});
        const Contents contents = read(file, root, largest);
        if (contents.problem)
            throw Failure{CannotRead, *contents.problem};
        return contents.exists ? '+' + contents.bytes : QByteArray();
    });
    if (end.failure)
        return {true, {}, end.failure->problem};
    if (end.how != child::End::Returned)
        throw Failure{CannotRead, {file, end.why, "try again"}};
    return {!end.result.isEmpty(), end.result.mid(1), {}};
}

std::optional<Problem> ofWhatWasRead(const QString &file, const QByteArray &bytes, bool isValid,
                                     bool isEmpty)
{
    if (isValid && !isEmpty)
        return {};
    const QVector<RawLine> lines = rawLines(bytes);
    if (!isValid) {
        QStringList numbers;
        for (const RawLine &line : lines) {
            if (line.kind == RawLine::Malformed)
                numbers.append(QString::number(line.number));
        }
        return Problem{file,
                       numbers.isEmpty() ? "malformed" : "malformed, line " + numbers.join(", "),
                       "correct or remove the line, then try again"};
    }
    if (std::any_of(lines.cbegin(), lines.cend(),
                    [](const RawLine &line) { return line.kind == RawLine::Entry; })) {
        return Problem{file, "holds entries, yet reading it gave none",
                       "try again, and check the disk"};
    }
    return {};
}

std::optional<Problem> ofReader(const QStringList &files)
{
    constexpr std::chrono::seconds limit(20);
    const auto endsReader = [limit](const QStringList &some) {
        return child::run(limit, [&some] {
            qint64 size = 0;
            for (const QString &file : some)
                size += QFile(file).size();
            const child::MemoryLimit memory(size);
            const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
            if (nowhere >= 0)
                dup2(nowhere, STDERR_FILENO); // what it says when it dies would only confuse
            for (const QString &file : some) {
                if (!ofOpening(file))
                    QSettings(file, QSettings::IniFormat).allKeys();
            }
            return QByteArray();
        });
    };
    const auto fatal = [](const child::End &end) {
        return end.how == child::End::Died || end.how == child::End::TimedOut;
    };
    if (!fatal(endsReader(files)))
        return {};
    for (const QString &file : files) {
        if (fatal(endsReader({file}))) {
            return Problem{file, "would crash every program that reads it",
                           "run stbconfig check, then restore it"};
        }
    }
    return {};
}

} // namespace fileproblem
