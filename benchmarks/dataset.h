// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_DATASET_H
#define STBCONFIG_BENCHMARKS_DATASET_H

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A setting to ask for, called by the storage that wins, and the answer every system must give.
struct Probe
{
    const char *winner;
    const char *group;
    const char *key;
    const char *answer;
};

/// One setting won by each storage, one held by all of them, and one held by none.
constexpr Probe probes[] = {
    {"custom", "Group03", "key1", "from the custom file"},
    {"memory", "Group03", "key3", "from memory"},
    {"environment", "Group03", "key2", "from the environment"},
    {"default", "Group03", "key8", "from the default file"},
    {"all", "Group05", "key4", "from the custom file"},
    {"none", "Group03", "unknown", "the caller's default"},
};

/**
 * The settings that every system is measured on: a default file of 40 groups of 10 keys each, some
 * 30 overrides in a custom file, 5 in the environment and 5 for memory.
 */
class DataSet
{
public:
    explicit DataSet(int groups = 40);

    QString customFile() const { return directory.filePath("custom.conf"); }
    QString defaultFile() const { return directory.filePath("stbapp.conf"); }
    /// The effective settings, in one file, for a system that has no layers.
    QString mergedFile() const { return directory.filePath("merged.conf"); }
    QString prefix() const { return directory.path() + '/'; }

    struct Entry
    {
        QString group;
        QString key;
    };
    static QList<Entry> heldInEnvironment();
    static QList<Entry> heldInMemory();

private:
    QTemporaryDir directory;
};

#endif
