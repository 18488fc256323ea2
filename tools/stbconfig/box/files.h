// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_FILES_H
#define STBCONFIG_TOOL_FILES_H

#include "way.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace provenance {
struct Facts;
}

// What the user says of the files' places.
struct Places
{
    QString persistentPrefix;
    QString defaultsPrefix;
    std::optional<QString> root;
    bool asRoot = false;
};

// Where the files of one command lie; nothing is opened.
class Files
{
public:
    /// With a root, the prefixes are looked up inside it. Ends with CannotRead if there is no such
    /// directory.
    explicit Files(const Places &places, std::optional<QString> storage = {});

    /// Returns the file of a location that has one.
    QString fileOf(const provenance::Facts &facts) const;
    QString customFile() const;
    QString defaultsFile() const;
    QString descriptionFile() const;
    QString storageFile(const QString &name) const;
    /// Returns the file that a command with this --storage reads and writes.
    QString writtenFile() const { return m_storage ? storageFile(*m_storage) : customFile(); }
    /// Returns the names of the storages that have a file.
    QStringList storageNames() const;
    /// Returns the files of all locations.
    QStringList ofLocations() const;
    /// Returns all files, whether they exist or not.
    QStringList all() const;
    /// Returns the files that the library opens when the command starts to look.
    QStringList openedAtOnce() const;

    const std::optional<QString> &storage() const { return m_storage; }
    /// Returns the root, absolute and without links; empty if there is none.
    const QString &root() const { return m_root; }
    /// Returns the first owner on the ways to the root, and to the prefixes in it, who is not root.
    const std::optional<Owner> &foreigner() const { return m_foreigner; }
    /// Returns the first directory on the way to the file, or on these ways, in which others can
    /// exchange what is next; empty if there is none.
    QString sharedBefore(const QString &file) const;
    const QString &persistentPrefix() const { return m_persistentPrefix; }
    const QString &defaultsPrefix() const { return m_defaultsPrefix; }

private:
    QString rootDirectory(const QString &given);
    QString insideRoot(const QString &prefix);
    void note(const Way &way);

    std::optional<QString> m_storage;
    QString m_root;
    std::optional<Owner> m_foreigner;
    QString m_shared;
    QString m_persistentPrefix;
    QString m_defaultsPrefix;
};

#endif
