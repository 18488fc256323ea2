// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_SETTINGSLOCATIONNAME_P_H
#define STBCONFIG_SETTINGSLOCATIONNAME_P_H

#include "configurationmanager.h"

namespace stbconfig {

// What a location is called in a message.
QString settingsLocationName(ConfigurationManager::SettingsLocation location);

} // namespace stbconfig

#endif
