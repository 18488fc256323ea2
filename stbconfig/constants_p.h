// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_CONSTANTS_P_H
#define STBCONFIG_CONSTANTS_P_H

#include <QtCore/QString>

// The words that never change: files on boxes in the field and variables in start-up scripts are
// called by them.
namespace stbconfig::constants {

extern const QString qtSettingsIniBackend;
extern const QString environmentPrefix;
extern const QString stbappConf;
extern const QString ravel;
extern const QString customConf;
extern const QString independentStorageSuffix;

} // namespace stbconfig::constants

#endif
