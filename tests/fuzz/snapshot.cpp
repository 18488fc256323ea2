// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "snapshot.h"

#include "box.h"
#include "process.h"

#include <QtCore/QDataStream>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QVariant>

#include <sys/stat.h>

namespace {

OnDisk onDisk(const QString &path)
{
    constexpr qint64 second = 1000000000;
    struct stat status = {};
    expect(lstat(QFile::encodeName(path).constData(), &status) == 0,
           "what is listed is there:", path);
    OnDisk entry;
    entry.mode = status.st_mode;
    entry.user = status.st_uid;
    entry.group = status.st_gid;
    entry.number = status.st_ino;
    entry.changed = status.st_mtim.tv_sec * second + status.st_mtim.tv_nsec;
    if (S_ISLNK(status.st_mode)) {
        entry.bytes = QFile::symLinkTarget(path).toUtf8();
    } else if (S_ISREG(status.st_mode)) {
        QFile file(path);
        if (file.open(QFile::ReadOnly)) // what its mode hides is as it was, if the rest is
            entry.bytes = file.readAll();
    }
    return entry;
}

Found foundIn(const QVariant &value)
{
    Found found;
    QDataStream stream(&found.all, QIODevice::WriteOnly);
    stream << value;
    found.isText = value.userType() == QMetaType::QString;
    const bool isList =
        value.userType() == QMetaType::QStringList || value.userType() == QMetaType::QVariantList;
    found.texts = isList ? value.toStringList() : QStringList(value.toString());
    return found;
}

void tell(const QSettings &settings, QDataStream &stream)
{
    const QStringList names = settings.allKeys();
    stream << (settings.status() == QSettings::NoError) << names.size();
    for (const QString &name : names) {
        // A name with an empty part can stand in a file, but not be asked for.
        const bool canBeAsked = name.split('/', Qt::SkipEmptyParts).join('/') == name;
        const Found held = foundIn(canBeAsked ? settings.value(name) : QVariant());
        stream << name << held.all << held.isText << held.texts;
    }
}

std::optional<Holding> told(QDataStream &stream)
{
    bool isValid = false;
    int count = 0;
    stream >> isValid >> count;
    Holding holding;
    for (; count > 0; --count) {
        QString name;
        Found found;
        stream >> name >> found.all >> found.isText >> found.texts;
        holding.insert(name, found);
    }
    return isValid ? std::optional(holding) : std::nullopt;
}

} // namespace

Snapshot snapshotOf(const QString &directory)
{
    Snapshot snapshot;
    QDirIterator all(directory,
                     QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        snapshot.insert(path, onDisk(path));
    }
    return snapshot;
}

QVector<std::optional<Holding>> holdingsOf(const QStringList &files)
{
    // Qt remembers what it has read from a path.
    const QByteArray bytes = inChild([&files] {
        QByteArray result;
        QDataStream stream(&result, QIODevice::WriteOnly);
        for (const QString &file : files) {
            const QFileInfo status(file);
            if (status.exists() && !status.isFile()) // a FIFO would never open
                stream << false << 0;
            else
                tell(QSettings(file, QSettings::IniFormat), stream);
        }
        return result;
    });
    QDataStream stream(bytes);
    QVector<std::optional<Holding>> holdings;
    for (int i = 0; i < files.size(); ++i)
        holdings.append(told(stream));
    return holdings;
}
