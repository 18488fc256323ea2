// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_MODEL_H
#define STBCONFIG_TESTS_FUZZ_MODEL_H

#include <QtCore/QVariant>

#include <map>
#include <utility>

// What each kind of storage promises, in the simplest words: docs/ini-files.md and
// backendinterfaces.h say it at length.

/// Expects the same type and the same value; a null text is not an empty one.
void expectSame(const QVariant &actual, const QVariant &expected, const char *fact,
                const QString &about = {});

class FileModel
{
public:
    bool contains(const QString &group, const QString &key) const;
    QVariant value(const QString &group, const QString &key) const;
    QStringList allKeys() const;
    void setValue(const QString &group, const QString &key, const QVariant &value);
    void remove(const QString &group, const QString &key);

    /// Returns what is held after it was written to a file and read from it.
    FileModel reread() const;

    const std::map<QString, QVariant> &all() const { return entries; }

    /// Returns the pair as one name: group, "/", key, without slashes at either end or side by side.
    static QString entryName(const QString &group, const QString &key);

private:
    std::map<QString, QVariant> entries;
};

class MemoryModel
{
public:
    bool contains(const QString &group, const QString &key) const;
    QVariant value(const QString &group, const QString &key) const;
    QStringList allKeys() const;
    void setValue(const QString &group, const QString &key, const QVariant &value);
    void remove(const QString &group, const QString &key);

private:
    std::map<std::pair<QString, QString>, QVariant> entries;
};

class EnvironmentModel
{
public:
    bool contains(const QString &group, const QString &key) const;
    QVariant value(const QString &group, const QString &key) const;

    /// Sets the variable of the pair, if there can be one of such a name and text.
    void setVariable(const QString &group, const QString &key, const QString &text);

    const std::map<QByteArray, QByteArray> &all() const { return variables; }

private:
    std::map<QByteArray, QByteArray> variables;
};

#endif
