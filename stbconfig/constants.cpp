// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "constants_p.h"

namespace stbconfig::constants {

// The backend's name belongs to the fixed words although nothing reads it.
const QString qtSettingsIniBackend = QStringLiteral("QtSettingsIniBackend");
const QString environmentPrefix = QStringLiteral("STBAPP_");
const QString stbappConf = QStringLiteral("stbapp.conf");
const QString ravel = QStringLiteral("ravel");
const QString customConf = QStringLiteral("custom.conf");
const QString independentStorageSuffix = QStringLiteral(".db");

} // namespace stbconfig::constants
