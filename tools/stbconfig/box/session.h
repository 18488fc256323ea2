// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SESSION_H
#define STBCONFIG_TOOL_SESSION_H

#include "files.h"
#include "problem.h"
#include "provenance.h"

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <memory>
#include <optional>

// The manager over the files and the environment that one command looks at.
class Session
{
public:
    /// Opens the storages. Ends with CannotRead if one of their files is no file.
    explicit Session(const Files &files);

    const Files &files() const { return m_files; }
    stbconfig::ConfigurationManager &manager() const { return *m_manager; }
    const stbconfig::IReadableBackend &readable(provenance::Location location) const;

    /// Returns the storage that --storage names, otherwise the custom one.
    stbconfig::IStorableBackend &written() const;

    /// Ends with CannotRead if the file of a location cannot be read as a whole.
    void requireReadableFiles() const;
    /// These do the same for the written file alone, and for the files of the image alone.
    void requireReadableStorage() const;
    void requireReadableDefaults() const;

    QVector<provenance::Answer> ask(const Setting &setting) const;

    /// Says where the location keeps this setting: a file, a variable, or nothing that can be
    /// named.
    QString source(provenance::Location location, const Setting &setting) const;

    /// Lists every setting of the files, and those of the variables that stand for a setting we
    /// know.
    QStringList settings() const;
    /// Lists what a variable may stand for: the files' settings, those that are described, and
    /// those that the library itself reads.
    QStringList knownSettings() const;

private:
    void open(const QString &file, const stbconfig::IReadableBackend &storage);
    void requireReadable(const QString &file, const stbconfig::IReadableBackend &storage) const;

    const Files &m_files;
    std::unique_ptr<stbconfig::ConfigurationManager> m_manager;
    QMap<QString, QStringList> m_settings; // by file, as they were when it was opened
};

/// Says that the setting is not there, and names the nearest one, or else what to do instead.
Problem notSet(const Setting &setting, const QStringList &known, const QString &whatElse);

/// Ends with that status if --storage names no storage that exists, unless one may be created.
void requireStorage(const Files &files, bool mayCreate, ExitStatus status);

#endif
