// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QFile>

#include <cstdio>

using stbconfig::ConfigurationManager;

namespace {

// The unit's LoadCredential= leaves the secret in a file that only this service can read. In memory the
// whole application finds it by value(), and no write brings it into a file.
void takeAccountToken(const ConfigurationManager &settings)
{
    QFile file(qEnvironmentVariable("CREDENTIALS_DIRECTORY") + "/account-token");
    if (file.open(QIODevice::ReadOnly))
        settings.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage)
            ->setValue("Account", "token", QString::fromUtf8(file.readAll().trimmed()));
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 3)
        return 2;
    const ConfigurationManager settings(argv[1], argv[2], nullptr);
    takeAccountToken(settings);

    const QString server = settings.value("Network", "timeServer", "none").toString();
    const QString token = settings.value("Account", "token", QString()).toString();
    std::printf("time server %s, %s\n", qUtf8Printable(server),
                token.isEmpty() ? "no account" : "an account");

    settings.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue("Network", "lastServer", server);
}
