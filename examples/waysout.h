// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_EXAMPLES_WAYSOUT_H
#define STBCONFIG_EXAMPLES_WAYSOUT_H

// What an application can do about a change that does not reach the disk. Copy what you need;
// docs/reliability.md says when to call which function, and the tests of the faults call them all.

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStorageInfo>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace waysout {

// Once the event loop has written the changes made so far, tells whether the file could be replaced.
template <typename Callback>
void whenWritten(const stbconfig::IReadableBackend *storage, Callback callback)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [=] { callback(storage->isValid()); }, Qt::QueuedConnection);
}

// Compares lists and whatever has a text. Values of other types, such as sizes, count as equal.
inline QString textOf(const QVariant &value)
{
    const bool isList = value.userType() == QMetaType::QStringList;
    return isList ? value.toStringList().join('\n') : value.toString();
}

// Tells whether the file really holds what the storage shows. It is read under another name, because
// Qt shows a process its own changes, written or not.
inline bool isOnDisk(const QString &file, const stbconfig::IReadableBackend *storage)
{
    using stbconfig::ConfigurationManager;
    const QTemporaryDir directory;
    const QString prefix = directory.path() + '/';
    QFile::copy(file, prefix + "custom.conf");
    const ConfigurationManager manager(prefix, prefix, nullptr);
    const auto *copy = manager.readOnlyStorage(ConfigurationManager::CustomConfPersistent);

    const QStringList keys = storage->allKeys();
    return copy->allKeys().size() == keys.size()
        && std::all_of(keys.begin(), keys.end(), [&](const QString &key) {
               return copy->contains({}, key)
                   && textOf(copy->value({}, key)) == textOf(storage->value({}, key));
           });
}

// Ask this before the first change: a file that could not be read counts as empty, and the change
// would be written in the place of all that is in it.
inline bool wasRead(const QString &file, const stbconfig::IReadableBackend *storage)
{
    const bool looksEmpty = storage->allKeys().isEmpty(); // reads all, then isValid() is right
    const bool isEmpty = QFileInfo(file).size() == 0;
    return storage->isValid() && looksEmpty == isEmpty && isOnDisk(file, storage);
}

// Writes what was changed so far, and tells whether a power cut can no longer take it back. Call
// it in the thread that made the manager.
inline bool makeDurable(const QString &file, const stbconfig::IReadableBackend *storage)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest); // Qt's note to write
    const QFileInfo written(QFileInfo(file).canonicalFilePath());
    for (const QString &path : {written.filePath(), written.path()}) {
        const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        const bool isFlushed = fsync(descriptor) == 0;
        // The next read must come from the disk: a flush by Qt that failed is not told again.
        posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
        ::close(descriptor);
        if (!isFlushed)
            return false;
    }
    return storage->isValid() && isOnDisk(file, storage);
}

// Every write needs room for the whole file, the old one being still there.
inline bool hasRoomToWrite(const QString &file)
{
    const QFileInfo info(file);
    return QStorageInfo(info.absolutePath()).bytesAvailable() > info.size() + 65536;
}

// Lets the thread of an object make a change: the thread that made the manager, and runs an event
// loop.
inline void setFromAnyThread(QObject *object, stbconfig::IStorableBackend *storage,
                             const QString &group, const QString &key, const QVariant &value)
{
    QMetaObject::invokeMethod(
        object, [=] { storage->setValue(group, key, value); }, Qt::QueuedConnection);
}

// Call this before the manager is made, in the only process that writes the file.
inline void dropEmptyLock(const QString &file)
{
    const QFileInfo lock(file + ".lock");
    if (lock.exists() && lock.size() == 0)
        QFile::remove(lock.filePath());
}

} // namespace waysout

#endif
