// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// An application in three versions; VERSION says which one. Prints its settings as it reads them,
// or stores what its user chooses: PERSISTENT DEFAULTS [GROUP KEY VALUE].

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <iostream>

using stbconfig::ConfigurationManager;

namespace {

void print(const char *name, const QVariant &value)
{
    const bool isList = value.userType() == QMetaType::QStringList;
    const QString text = isList ? value.toStringList().join('|') : value.toString();
    std::cout << name << '=' << qPrintable(text) << '\n';
}

void printSettings(const ConfigurationManager &settings)
{
    print("output", settings.value("Video", "output", "hdmi").toString());
#if VERSION == 1
    print("volume", settings.value("Sound", "level", 30).toInt());
#elif VERSION == 2
    print("volume", settings.value("Audio", "level", 30).toInt());
#else
    print("volume", settings.value("Audio", "volume", 30).toInt());
#endif
#if VERSION < 3
    print("format", settings.value("Video", "mode", "wide").toString());
    print("subtitles", settings.value("Subtitles", "mode", 0).toInt());
    print("server", settings.value("Network", "server", "").toString());
    print("teletext", settings.value("Teletext", "shown", true).toBool());
#else
    print("format", settings.value("Picture", "format", "16:9").toString());
    print("subtitles", settings.value("Subtitles", "shown", false).toBool());
    print("servers", settings.value("Network", "servers", QStringList()).toStringList());
    print("night", settings.value("Audio", "night", false).toBool());
#endif
}

} // namespace

int main(int argc, char **argv)
{
    const ConfigurationManager settings(argv[1], argv[2], nullptr);
    if (argc == 6) {
        settings.dynamicStorage(ConfigurationManager::CustomConfPersistent)
            ->setValue(argv[3], argv[4], QString(argv[5]));
    } else {
        printSettings(settings);
    }
    return 0;
}
