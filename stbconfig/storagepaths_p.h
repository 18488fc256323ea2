// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_STORAGEPATHS_P_H
#define STBCONFIG_STORAGEPATHS_P_H

#include "constants_p.h"

#include <QtCore/QStringBuilder>

// Every file path is composed here. Prefix and name are joined as they are: whether a prefix is a
// directory or the beginning of a name is for the application to say, by its trailing "/".
namespace stbconfig::storagepaths {

inline QString customConfPath(const QString &persistentStoragePrefix)
{
    return persistentStoragePrefix % constants::customConf;
}

inline QString stbappConfPath(const QString &defaultConfigPrefix)
{
    return defaultConfigPrefix % constants::stbappConf;
}

inline QString independentStoragePath(const QString &persistentStoragePrefix, const QString &name)
{
    return persistentStoragePrefix % name % constants::independentStorageSuffix;
}

} // namespace stbconfig::storagepaths

#endif
