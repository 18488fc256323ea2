// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_DESCRIBED_H
#define STBCONFIG_TESTS_FUZZ_DESCRIBED_H

#include "input.h"
#include "snapshot.h"

#include <QtCore/QJsonObject>

/// Returns what is stored for a text that a setting of this type may hold.
QString storedAs(const QString &type, const QString &text);

/// What a run's description says of the settings. An invalid one says nothing.
class Described
{
public:
    Described() = default;
    explicit Described(Input &input);

    /// Returns a name that a description is likely to have, of today or older.
    static QString anyName(Input &input);

    bool isValid() const { return isMade; }
    QByteArray text() const;

    QStringList names() const { return settings.keys(); }
    QStringList olderNames(const QString &name) const;
    /// Returns the name of today; empty if the setting is not described.
    QString today(const QString &anyName) const;
    QString type(const QString &name) const { return of(name).value("type").toString("text"); }
    bool isKept(const QString &name) const { return of(name).value("keep").toBool(); }
    bool isSecret(const QString &name) const;
    /// Returns what the application takes by itself; nothing if that is not said.
    std::optional<QStringList> byDefault(const QString &name) const;
    /// Tells whether the setting may hold the value; true if it is not described.
    bool allows(const QString &name, const Found &value) const;
    /// Returns what the setting is to hold once what is held under an older name is taken over;
    /// nothing if there is nothing to take over.
    std::optional<QStringList> migrated(const QString &name, const Holding &held) const;

private:
    QJsonObject of(const QString &name) const { return settings.value(name).toObject(); }

    bool isMade = false;
    QJsonObject settings;
};

#endif
