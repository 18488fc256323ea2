// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FAULTS_WAYSOUT_H
#define STBCONFIG_TESTS_FAULTS_WAYSOUT_H

// What an application can do about a change that does not reach the disk. docs/reliability.md
// quotes these functions word for word.

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStorageInfo>
#include <QtCore/QTemporaryDir>

namespace waysout {

// Once the event loop has written the changes made so far, tells whether the file could be replaced.
template <typename Callback>
void whenWritten(const stbconfig::IReadableBackend *storage, Callback callback)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [=] { callback(storage->isValid()); }, Qt::QueuedConnection);
}

// What the file really holds. It is read under another name, because Qt shows a process its own
// changes, written or not.
inline QVariant onDisk(const QString &file, const QString &group, const QString &key)
{
    using stbconfig::ConfigurationManager;
    const QTemporaryDir directory;
    const QString prefix = directory.path() + '/';
    QFile::copy(file, prefix + "custom.conf");
    const ConfigurationManager copy(prefix, prefix, nullptr);
    return copy.dynamicStorage(ConfigurationManager::CustomConfPersistent)->value(group, key);
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

// To be called before the manager is made, by the only process that writes the file.
inline void dropEmptyLock(const QString &file)
{
    const QFileInfo lock(file + ".lock");
    if (lock.exists() && lock.size() == 0)
        QFile::remove(lock.filePath());
}

} // namespace waysout

#endif
