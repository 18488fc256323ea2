// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "save.h"

#include "child.h"
#include "disk.h"
#include "fileproblem.h"
#include "lock.h"
#include "obstacle.h"
#include "output.h"
#include "rawfile.h"
#include "session.h"
#include "value.h"
#include "way.h"

#include <QtCore/QDataStream>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>
#include <cstring>
#include <unistd.h>

using stbconfig::IStorableBackend;

namespace writing {
namespace {

// Qt waits 30 seconds for a lock that nobody removes.
constexpr std::chrono::seconds writeLimit(32);

QString listed(const QStringList &all)
{
    constexpr int most = 3;
    const QStringList first = all.mid(0, most);
    return first.join(", ")
        + (all.size() > most ? QString(" and %1 more").arg(all.size() - most) : QString());
}

QSet<QString> changedNames(const Change &change)
{
    QSet<QString> result;
    for (const auto &[setting, value] : change.set)
        result.insert(setting.name());
    return result;
}

Entries after(const Entries &before, const Change &change)
{
    Entries result = before;
    if (change.removeGroup) {
        for (auto it = before.cbegin(); it != before.cend(); ++it) {
            if (it.key().startsWith(*change.removeGroup + '/'))
                result.remove(it.key());
        }
    }
    for (const Setting &setting : change.remove)
        result.remove(setting.name());
    for (const QString &name : change.removeListed)
        result.remove(name);
    for (const auto &[setting, value] : change.set)
        result.insert(setting.name(), value);
    return result;
}

bool isReachable(const QString &name) { return names::asStored(name) == name; }

// Makes the change in the memory of this process. If memory runs out, the process must end at once,
// because the storage would write a part of the change when it is destroyed.
// NOLINTNEXTLINE(bugprone-exception-escape): so it does
void apply(IStorableBackend &storage, const Change &change, const Entries &expected) noexcept
{
    // Qt takes a name without a key for a group and the entry of its name, and removes with an
    // entry the group of its name.
    if (change.removeGroup)
        storage.remove(*change.removeGroup, QString());
    for (const Setting &setting : change.remove)
        storage.remove(setting.group, setting.key);
    // An entry that nobody can ask for goes only if everything goes; the rest is put back below.
    if (!std::all_of(change.removeListed.cbegin(), change.removeListed.cend(), isReachable))
        storage.remove({}, {});
    for (const QString &name : change.removeListed) {
        const Setting setting = Setting::named(name);
        if (isReachable(name))
            storage.remove(setting.group, setting.key);
    }
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        const Setting setting = Setting::named(it.key());
        if (isReachable(it.key()) && !storage.contains(setting.group, setting.key))
            storage.setValue(setting.group, setting.key, *it);
    }
    for (const auto &[setting, value] : change.set)
        storage.setValue(setting.group, setting.key, value);
}

// An error must not count as a missing file: the owner would then not be kept.
std::optional<struct stat> statusOf(const QString &file)
{
    std::optional<struct stat> status;
    if (const int error = disk::look(file, status)) {
        throw Failure{CannotRead,
                      {file, QString("cannot be read: ") + std::strerror(error),
                       "check the path and the disk"}};
    }
    return status;
}

Failure changedSince(const QString &file, const QString &where)
{
    return {CannotRead,
            {file, "two looks at it differ" + where,
             "another process writes it, or the disk fails; try again"}};
}

QByteArray told(const QString &whatHappened, const QString &whatToDo)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << whatHappened << whatToDo;
    return bytes;
}

// Runs in a child, so that what Qt has cached dies with it. Returns what it tells of the time after
// the write.
QByteArray write(const Files &files, const Entries &before, const Entries &expected,
                 const Change &change, const QByteArray &oldBytes)
{
    const QString file = files.writtenFile();
    const auto old = statusOf(file);
    const Way way = follow(absolute(file));
    QString oldDirectory = QFileInfo(way.end).path();
    while (oldDirectory != "/" && !QFileInfo::exists(oldDirectory))
        oldDirectory = QFileInfo(oldDirectory).path();
    auto session = std::make_unique<Session>(files);
    session->requireReadableStorage();
    IStorableBackend &storage = session->written();
    const Entries now = entries::of(storage);
    // Qt may have read a file that is already replaced, and would not read the new one then.
    if (fileproblem::read(file, files.root()).bytes != oldBytes)
        throw changedSince(file, {});
    const QStringList differing = entries::differences(before, now);
    if (!differing.isEmpty())
        throw changedSince(file, " in " + listed(differing));
    apply(storage, change, expected);
    const QStringList wrong =
        entries::differences(expected, entries::of(storage), changedNames(change));
    if (!wrong.isEmpty()) {
        static_cast<void>(session.release()); // its end would write
        throw notSaved(file, "more would change than was asked for: " + listed(wrong),
                       "rename these entries in the file, Qt cannot address them");
    }
    // In a sticky directory nobody can exchange root's own file, but anybody can take a free name.
    const int obstruction = way.isFree && geteuid() == 0 ? disk::claim(way.end) : 0;
    if (obstruction != 0) {
        static_cast<void>(session.release()); // its end would write
        throw notSaved(file, std::strerror(obstruction), "try again, and see who else makes it");
    }
    session.reset(); // its end writes
    if (const int error = old ? disk::keepOwner(file, *old) : disk::openToOthers(file)) {
        return told(QString("written, but its owner could not be kept: ") + std::strerror(error),
                    "give it back to its owner");
    }
    if (const int error = disk::flush(file, oldDirectory)) {
        return told(QString("written, but not flushed to the disk: ") + std::strerror(error),
                    "check the disk; after a power cut the change may be gone");
    }
    return {};
}

void tellCosts(const QString &file, const QByteArray &bytes)
{
    int comments = 0;
    QStringList beyondAscii;
    const QVector<RawLine> lines = rawLines(bytes);
    for (const RawLine &line : lines) {
        const bool isComment = line.kind == RawLine::Comment;
        comments += isComment ? 1 : 0;
        if (!isComment && std::any_of(line.text.cbegin(), line.text.cend(), [](char byte) {
                return static_cast<unsigned char>(byte) >= 0x80;
            }))
            beyondAscii.append(QString::number(line.number));
    }
    if (comments != 0)
        output::note({file, QString("a write drops its comments: %1").arg(comments), {}});
#if QT_VERSION_MAJOR < 6 // Qt 6 reads UTF-8
    if (!beyondAscii.isEmpty()) {
        output::note({file,
                      "a write makes text beyond ASCII permanent as Latin-1 shows it: line "
                          + beyondAscii.join(", "),
                      {}});
    }
#endif
}

// Somebody who can exchange a part of the way may put a link there meanwhile.
void requireOwnDirectory(const Files &files, const Manner &manner)
{
    if (geteuid() != 0 || manner.asRoot)
        return;
    const QString file = files.writtenFile();
    const QString shared = files.sharedBefore(file);
    if (!shared.isEmpty()) {
        throw notSaved(file, "others than root can write in " + shared,
                       "work as the application's user, or add --as-root if you trust them");
    }
}

void requireStable(const QString &file, Entries expected, const QSet<QString> &changed)
{
    for (const QString &name : changed)
        expected.remove(name);
    const QStringList unstable = entries::unstable(expected);
    if (!unstable.isEmpty()) {
        throw notSaved(file, "a write would also change " + listed(unstable),
                       "let the application write it, or correct these entries in the file");
    }
}

void requireNoObstacle(const QString &file, qint64 size, const Manner &manner)
{
    const auto obstacle = obstacle::of(file, size);
    if (obstacle && !(obstacle->isEstimate && manner.force))
        throw notSaved(obstacle->problem);
    const auto held = lock::of(file);
    if (held && !held->canGo)
        throw notSaved(held->problem);
}

// What the file was before the write.
struct Old
{
    fileproblem::Contents contents;
    std::optional<struct stat> status;
};

// Says why nothing of the change is on the disk.
Failure causeOf(const QString &file, qint64 size, const QString &otherwise)
{
    if (const auto obstacle = obstacle::of(file, size))
        return notSaved(obstacle->problem);
    if (const auto held = lock::of(file)) {
        return notSaved(file, held->holder + " holds " + file + names::lockSuffix,
                        "wait for it, or remove a left-over lock");
    }
    return notSaved(file, otherwise, "check the file system, then try again");
}

bool isAsBefore(const fileproblem::Contents &now, const Old &old)
{
    return !now.problem && now.exists == old.contents.exists && now.bytes == old.contents.bytes;
}

// Says what is known of a change whose write has begun and is not proved.
Failure unproved(const Files &files, qint64 size, const Old &old, const QString &why)
{
    const QString file = files.writtenFile();
    const fileproblem::Contents now = fileproblem::read(file, files.root());
    if (now.problem) {
        return {NotSaved,
                {file, "it is not known whether the change is saved: " + why,
                 "see what the file holds, then try again"}};
    }
    if (isAsBefore(now, old))
        return causeOf(file, size, why);
    const int error = now.exists && old.status ? disk::keepOwner(file, *old.status) : 0;
    return {
        NotSaved,
        {file,
         "written, but not proved: " + why
             + (error == 0 ? QString()
                           : QString(", and its owner could not be kept: ") + std::strerror(error)),
         "see what the file holds, then try again"}};
}

// Tells whether the file holds a part of what was to be there, and nothing else.
bool isPart(const Entries &found, const Entries &expected)
{
    if (found.size() >= expected.size())
        return false;
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        const auto wanted = expected.constFind(it.key());
        if (wanted == expected.cend() || !value::isSame(*wanted, *it))
            return false;
    }
    return true;
}

// A write that was cut off has replaced the file all the same. Qt ends each line, so only a disk
// that runs full at the end of a block can cut behind one.
bool isCutOff(const QByteArray &now, const Entries &found, const Entries &expected)
{
    constexpr int smallestBlock = 512;
    return (!now.isEmpty() && !now.endsWith('\n'))
        || (now.size() % smallestBlock == 0 && isPart(found, expected));
}

void runInChild(const Files &files, const Entries &before, const Entries &expected,
                const Change &change, qint64 size, const Old &old)
{
    const QString file = files.writtenFile();
    const child::Watch tellWaiting{
        std::chrono::milliseconds(300), [&file](pid_t writer) {
            const auto held = lock::of(file);
            if (held && held->process != writer) {
                output::note({file + names::lockSuffix,
                              "waiting for " + held->holder + ", up to 30 seconds",
                              {}});
            }
        }};
    const child::End end = child::run(
        writeLimit, [&] { return write(files, before, expected, change, old.contents.bytes); },
        tellWaiting);
    if (end.failure)
        throw *end.failure;
    if (end.how == child::End::NotStarted)
        throw notSaved(file, end.why, "end some processes, or free some memory");
    if (end.how != child::End::Returned)
        throw unproved(files, size, old, end.why);
    Problem problem{file, {}, {}};
    QDataStream stream(end.result);
    stream >> problem.whatHappened >> problem.whatToDo;
    // Qt does not say that it could not write; the proof does.
    if (!problem.whatHappened.isEmpty() && !isAsBefore(fileproblem::read(file, files.root()), old))
        throw Failure{NotSaved, problem};
}

void prove(const Files &files, const Entries &expected, const Change &change, qint64 size,
           const Old &old)
{
    const QString file = files.writtenFile();
    const fileproblem::Contents now = fileproblem::read(file, files.root());
    if (now.problem)
        throw unproved(files, size, old, now.problem->whatHappened);
    const Session session(files);
    const Entries found = entries::of(session.written());
    const QStringList wrong = entries::differences(expected, found, changedNames(change));
    if (wrong.isEmpty() && session.written().isValid())
        return;
    const QString what = "the file on the disk differs in " + listed(wrong);
    if (now.exists && !isAsBefore(now, old) && isCutOff(now.bytes, found, expected)) {
        const int error = disk::putBack(file, old.contents.bytes, old.status);
        throw notSaved(file,
                       error == 0 ? "the write was cut off; the old file was put back"
                                  : QString("the write was cut off, and the old file could not "
                                            "be put back: ")
                               + std::strerror(error),
                       causeOf(file, size, what).problem.whatToDo);
    }
    throw unproved(files, size, old, what);
}

// Looking at the file may fail, too.
void proveOrTell(const Files &files, const Entries &expected, const Change &change, qint64 size,
                 const Old &old)
{
    try {
        prove(files, expected, change, size, old);
    } catch (const Failure &failure) {
        if (failure.status != CannotRead)
            throw;
        throw unproved(files, size, old,
                       failure.problem.thing + ": " + failure.problem.whatHappened);
    }
}

} // namespace

Outcome save(const Files &files, const Entries &before, const Change &change, const Manner &manner)
{
    const QString file = files.writtenFile();
    const Entries expected = after(before, change);
    const QSet<QString> changed = changedNames(change);
    if (entries::differences(expected, before, changed).isEmpty()) {
        // The process that wrote it need not have flushed it.
        const int error =
            manner.dryRun ? 0 : disk::flush(file, QFileInfo(follow(absolute(file)).end).path());
        if (error != 0) {
            throw Failure{NotSaved,
                          {file,
                           QString("holds this already, but is not flushed to the disk: ")
                               + std::strerror(error),
                           "check the disk"}};
        }
        return Unchanged;
    }
    const Old old{fileproblem::read(file, files.root()), statusOf(file)};
    if (old.contents.problem)
        throw Failure{CannotRead, *old.contents.problem};
    if (old.status && old.contents.bytes.size() < old.status->st_size) {
        throw Failure{CannotRead,
                      {file, "only a part of it could be read", "try again, and check the disk"}};
    }
#if QT_VERSION_MAJOR < 6
    // Qt 5 reads a file with such a mark as UTF-8, but writes it without the mark, and then reads it
    // as Latin-1.
    if (old.contents.bytes.startsWith(byteOrderMark)) {
        throw notSaved(file, "it begins with a byte order mark, which a write would lose",
                       "save the file without it");
    }
#endif
    requireStable(file, expected, changed);
    const qint64 size = obstacle::sizeOf(expected);
    requireNoObstacle(file, size, manner);
    requireOwnDirectory(files, manner);
    tellCosts(file, old.contents.bytes);
    if (manner.dryRun)
        return WouldBeSaved;
    runInChild(files, before, expected, change, size, old);
    proveOrTell(files, expected, change, size, old);
    return Saved;
}

} // namespace writing
