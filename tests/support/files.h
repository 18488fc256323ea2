// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FILES_H
#define STBCONFIG_TESTS_FILES_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A directory for one test, which is removed when the test is over.
class ScratchDirectory
{
public:
    ScratchDirectory();

    /// Returns the absolute path of @p name in the directory.
    QString path(const QString &name) const { return directory.filePath(name); }

    /// Writes a file, creating its directory if it is missing, and returns its path.
    QString write(const QString &name, const QByteArray &content) const;

    /// Makes a prefix below which nothing can be written, not even by root: its directory is a file.
    QString unwritablePrefix() const;

private:
    QTemporaryDir directory;
};

/// Returns the bytes of a file. Fails the test if it cannot be read.
QByteArray contentOf(const QString &path);

#endif
