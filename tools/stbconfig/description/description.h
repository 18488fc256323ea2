// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_DESCRIPTION_H
#define STBCONFIG_TOOL_DESCRIPTION_H

#include "names.h"
#include "problem.h"
#include "value.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <optional>

// A name that a setting had in an older version of the application.
struct OldName
{
    Setting setting;
    QHash<QString, QVariant> values; // maps the older values that have changed to those of today
};

// What the application's authors say of one setting.
struct Described
{
    Setting setting;
    value::Type type = value::Type::Text;
    QStringList values; // the only ones, or a list's only items, if there are any
    std::optional<int> minimum;
    std::optional<int> maximum;
    QString text; // for a person; may have several lines
    std::optional<QVariant> defaultValue; // what the application passes to value()
    QString since;
    QVector<OldName> was; // the newest first
    bool isSecret = false;
    bool isKept = false; // a reset keeps it
};

// The settings that an application has, as their description says. Without one it is empty, and
// everything is allowed.
class Description
{
public:
    Description() = default;
    /// Each name, of today or older, must belong to one setting only.
    Description(const QString &file, const QVector<Described> &all);

    /// Tells whether there is a description; one may describe nothing.
    bool exists() const { return !m_file.isEmpty(); }
    const QString &file() const { return m_file; }
    /// Returns the settings in the order of their names.
    const QVector<Described> &all() const { return m_all; }
    QStringList names() const;
    /// Returns each name of every secret setting. An older name that says so makes a setting
    /// secret.
    QSet<QString> secrets() const;

    /// These find the setting that has this name today, that had it, or either; null if there is
    /// none.
    const Described *find(const Setting &setting) const;
    const Described *findOld(const Setting &setting) const;
    const Described *findByAnyName(const Setting &setting) const;

private:
    QString m_file;
    QVector<Described> m_all;
    QHash<QString, int> m_byName;
    QHash<QString, int> m_byOldName;
};

namespace description {

// What a description forbids of a value. Neither text shows the value, which may be a secret.
struct Breach
{
    QString what; // "is above the maximum, 100"
    QString nearest; // what is allowed in its place; empty if nothing comes near
};

/// Returns nothing if the value is allowed.
std::optional<Breach> breachOf(const Described &described, const QVariant &value);

/// Says what to do about it. For a secret it does not name the nearest value, which would tell a part
/// of the secret.
QString remedy(const Breach &breach, const Described &described, bool isSecret);

/// Says that the description knows no such setting, and which of its names is the nearest, or by
/// which name it knows it today. Returns nothing if it knows the setting, if the library itself
/// reads it, or if there is no description.
std::optional<Problem> unknownName(const Description &description, const Setting &setting,
                                   names::Nearest &nearest);

/// Says what is allowed, for a person: "a whole number from 0 to 100".
QString allowed(const Described &described);

} // namespace description

#endif
