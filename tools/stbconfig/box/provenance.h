// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_PROVENANCE_H
#define STBCONFIG_TOOL_PROVENANCE_H

#include "names.h"

#include <stbconfig/configurationmanager.h>

#include <QtCore/QVariant>
#include <QtCore/QVector>

// Which locations there are and which of them answers, told from outside: the manager gives the
// merged value, but not its origin.
namespace provenance {

using stbconfig::ConfigurationManager;
using Location = ConfigurationManager::SettingsLocation;

enum class Keeper {
    WrittenFile, // behind the prefix of the files that the application writes
    ImageFile, // behind the prefix of the defaults, and never written
    Variables,
    Memory, // of the application, so that nobody else sees it
    Nobody
};

struct Facts
{
    Location location;
    Keeper keeper;
    const char *text; // the file's name, or what an output says in its place
    char mark; // in a report; 0 for those whose settings nobody sees here

    constexpr bool hasFile() const
    {
        return keeper == Keeper::WrittenFile || keeper == Keeper::ImageFile;
    }
};

// The one table of locations: all commands follow it. The first that holds a setting answers, and
// those without a storage come last.
inline constexpr Facts byPrecedence[] = {
    {ConfigurationManager::CustomConfPersistent, Keeper::WrittenFile, names::customFile, 'c'},
    {ConfigurationManager::TemporaryApplicationStorage, Keeper::Memory,
     "in the application's memory", 0},
    {ConfigurationManager::EnvironmentVariables, Keeper::Variables, "variables STBAPP_GROUP_KEY",
     'e'},
    {ConfigurationManager::StbappConfDefault, Keeper::ImageFile, names::defaultsFile, 'd'},
    {ConfigurationManager::DhcpOptionsConf, Keeper::Nobody, "no backend", 0},
};

/// Returns the row of that location.
const Facts &factsOf(Location location);

struct Answer
{
    Location location;
    bool hasStorage;
    bool isHeld;
    QVariant value;
};

/// Asks every location, in the order of the table.
QVector<Answer> ask(const stbconfig::ConfigurationManager &manager, const Setting &setting);

/// Returns the answer that value() gives, or null if no location holds the setting.
const Answer *winner(const QVector<Answer> &answers);
/// Returns what that location answers.
const Answer &of(const QVector<Answer> &answers, Location location);

QString locationName(Location location);
/// Returns the names of all locations, in the order of the table.
QStringList locationNames();
/// Finds the location whose name begins like this, in any case. Ends with Misuse if there is none.
Location locationNamed(const QString &word);

} // namespace provenance

#endif
