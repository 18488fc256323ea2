// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

// Sends the application's own record through the library.
int main(int argc, char *argv[])
{
    const QString prefix = argc > 1 ? argv[1] : "";
    stbconfig::ConfigurationManager settings(prefix, prefix, nullptr);
    const bool isOwn = settings.cmdLineArgs().skin == "none";
    stbui::CmdLineArgs args;
    args.logLevel = 3;
    args.skin = "dark";
    args.demoMode = true;
    args.region = "north";
    settings.setCmdLineArgs(args);

    const stbui::CmdLineArgs kept = settings.cmdLineArgs();
    const bool isKept = kept.logLevel == 3 && kept.skin == "dark" && kept.demoMode
        && kept.region == "north" && stbconfig::LogsConfigWrapper(settings).level() == 3;
    return isOwn && isKept ? 0 : 1;
}
