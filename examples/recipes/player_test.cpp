// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "throwawaybox.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <cstdio>

using stbconfig::ConfigurationManager;

namespace {

// The application's own code. It takes the manager and does not make one, so a test can give it any.
void makeLouder(const ConfigurationManager &settings)
{
    const int volume = settings.value("Audio", "volume", 30).toInt();
    settings.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue("Audio", "volume", qMin(volume + 20, 100));
}

QByteArray customFileAfterMakeLouder(const ThrowAwayBox &box)
{
    makeLouder(ConfigurationManager(box.prefix(), box.prefix(), nullptr));
    return box.customFile();
}

int failures = 0; // NOLINT(*-avoid-non-const-global-variables): the tests count together

void expect(const char *fact, bool holds)
{
    std::printf("%s: %s\n", holds ? "ok" : "FAILED", fact);
    failures += holds ? 0 : 1;
}

} // namespace

int main()
{
    expect("louder is 20 more than the default",
           customFileAfterMakeLouder(ThrowAwayBox("[Audio]\nvolume=40\n"))
               == "[Audio]\nvolume=60\n");
    expect("louder is 20 more than what the user chose",
           customFileAfterMakeLouder(ThrowAwayBox("", "[Audio]\nvolume=50\n"))
               == "[Audio]\nvolume=70\n");
    expect("louder than 100 is 100",
           customFileAfterMakeLouder(ThrowAwayBox("[Audio]\nvolume=90\n"))
               == "[Audio]\nvolume=100\n");
    return failures == 0 ? 0 : 1;
}
