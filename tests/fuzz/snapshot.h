// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_SNAPSHOT_H
#define STBCONFIG_TESTS_FUZZ_SNAPSHOT_H

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <optional>

/// What a directory entry is: everything that a reader must leave alone.
struct OnDisk
{
    QByteArray bytes; // of a file; of a link, where it leads
    quint32 mode = 0;
    quint32 user = 0;
    quint32 group = 0;
    quint64 number = 0;
    qint64 changed = 0; // its time stamp
};

using Snapshot = QMap<QString, OnDisk>;

/// Returns everything in the directory, by its path.
Snapshot snapshotOf(const QString &directory);

/// A value that a file holds: what it is, for comparing, and the texts that a person sees.
struct Found
{
    QByteArray all;
    bool isText = false;
    QStringList texts;
};

using Holding = QMap<QString, Found>;

/// Returns what Qt reads from each file; nothing if it cannot, or dies of one of them.
QVector<std::optional<Holding>> holdingsOf(const QStringList &files);

#endif
