// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SESSION_H
#define STBCONFIG_TOOL_SESSION_H

#include "options.h"
#include "provenance.h"

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QStringList>

#include <memory>

// Where the files of one command lie; nothing is opened.
class Files
{
public:
    explicit Files(const Options &options);

    QString customFile() const { return m_persistentPrefix + QLatin1String("custom.conf"); }
    QString defaultsFile() const { return m_defaultsPrefix + QLatin1String("stbapp.conf"); }
    QString storageFile(const QString &name) const
    {
        return m_persistentPrefix + name + QLatin1String(".db");
    }
    /// The file that set and unset write.
    QString writtenFile() const
    {
        return m_options.storage ? storageFile(*m_options.storage) : customFile();
    }
    QStringList storageNames() const;
    /// All of them, whether they exist or not.
    QStringList all() const;

    const Options &options() const { return m_options; }
    const QString &persistentPrefix() const { return m_persistentPrefix; }
    const QString &defaultsPrefix() const { return m_defaultsPrefix; }

private:
    const Options &m_options;
    QString m_persistentPrefix;
    QString m_defaultsPrefix;
};

// The files and the environment that one command looks at.
class Session : public Files
{
public:
    /// Puts the chosen environment in place and opens the storages. Ends with CannotRead if this
    /// process would die of reading one of the command's files.
    explicit Session(const Options &options);

    stbconfig::ConfigurationManager &manager() const { return *m_manager; }
    const stbconfig::IReadableBackend *readable(provenance::Location location) const;

    /// Ends with CannotRead if one of the two files cannot be read as a whole.
    void requireReadableFiles() const;

    /// The storage --storage names, checked as a whole, or null.
    stbconfig::IStorableBackend *namedStorage(ExitStatus statusIfMissing) const;

    /// Where the location keeps this setting: a file, a variable, or nothing that can be named.
    QString source(provenance::Location location, const Address &address) const;

    /// Every setting of the files, and those variables' that stand for a setting we know.
    QStringList settings() const;
    /// What a variable may stand for: the files' settings and those that the library itself reads.
    QStringList knownSettings() const;

private:
    std::unique_ptr<stbconfig::ConfigurationManager> m_manager;
};

/// Splits at the first "/"; without one, the setting has no group.
Address addressOf(const QString &setting);
QString settingOf(const Address &address);

/// The location whose name begins like this, in any case.
provenance::Location locationOf(const QString &name);

/// Ends with CannotRead if the file is there but cannot be read as a whole.
void requireReadable(const QString &file, const stbconfig::IReadableBackend &storage);

/// A value as the texts that a file would keep, so that values of different types compare.
QStringList texts(const QVariant &value);

/// "" matches everything.
bool matches(const QString &glob, const QString &setting);

#endif
