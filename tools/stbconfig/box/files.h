// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_FILES_H
#define STBCONFIG_TOOL_FILES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

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

    QString customFile() const;
    QString defaultsFile() const;
    QString storageFile(const QString &name) const;
    /// The file that a command with this --storage reads and writes.
    QString writtenFile() const { return m_storage ? storageFile(*m_storage) : customFile(); }
    /// The names of the storages that have a file.
    QStringList storageNames() const;
    /// All of them, whether they exist or not.
    QStringList all() const;
    /// Those that the library opens when the command starts to look.
    QStringList openedAtOnce() const;

    const std::optional<QString> &storage() const { return m_storage; }
    /// Without links and absolute; empty without one.
    const QString &root() const { return m_root; }
    const QString &persistentPrefix() const { return m_persistentPrefix; }
    const QString &defaultsPrefix() const { return m_defaultsPrefix; }

private:
    std::optional<QString> m_storage;
    QString m_root;
    QString m_persistentPrefix;
    QString m_defaultsPrefix;
};

#endif
