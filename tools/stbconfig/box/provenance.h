// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_PROVENANCE_H
#define STBCONFIG_TOOL_PROVENANCE_H

#include "names.h"

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
QVector<Answer> ask(const stbconfig::ConfigurationManager &manager, const Setting &setting);

/// Returns the answer that value() gives, or null if no location holds the setting.
const Answer *winner(const QVector<Answer> &answers);
/// Returns what that location answers.
const Answer &of(const QVector<Answer> &answers, Location location);

QString locationName(Location location);
/// Returns the names of all locations, in the order in which they are asked.
QStringList locationNames();
/// Finds the location whose name begins like this, in any case. Ends with Misuse if there is none.
Location locationNamed(const QString &word);

} // namespace provenance

#endif
