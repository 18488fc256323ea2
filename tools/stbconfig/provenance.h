// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_PROVENANCE_H
#define STBCONFIG_TOOL_PROVENANCE_H

#include <stbconfig/configurationmanager.h>

#include <QtCore/QVariant>
#include <QtCore/QVector>

// Which location answers, told from outside: the manager gives the merged value, but not its origin.
namespace provenance {

using Location = stbconfig::ConfigurationManager::SettingsLocation;

struct Answer
{
    Location location;
    bool hasStorage;
    bool isHeld;
    QVariant value;
};

/// Asks every location, the strongest first and those without a storage last.
QVector<Answer> ask(const stbconfig::ConfigurationManager &manager, const QString &group,
                    const QString &key);

/// The answer that value() gives, or null if no location holds the setting.
const Answer *winner(const QVector<Answer> &answers);

QString locationName(Location location);

/// The environment variable of a setting.
QString variableName(const QString &group, const QString &key);

} // namespace provenance

#endif
