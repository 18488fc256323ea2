// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "settingslocationname_p.h"

namespace stbconfig {

QString settingsLocationName(ConfigurationManager::SettingsLocation location)
{
    switch (location) {
    case ConfigurationManager::CustomConfPersistent:
        return QStringLiteral("CustomConfPersistent");
    case ConfigurationManager::StbappConfDefault:
        return QStringLiteral("StbappConfDefault");
    case ConfigurationManager::EnvironmentVariables:
        return QStringLiteral("EnvironmentVariables");
    // The other locations have no name on purpose: those who collect these messages match them word
    // for word.
    case ConfigurationManager::DhcpOptionsConf:
    case ConfigurationManager::TemporaryApplicationStorage:
        break;
    }
    return QStringLiteral("internal error: invalid enumerator");
}

} // namespace stbconfig
