// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "settingsfixture.h"

#include "environment.h"

#include <QtCore/QFile>

using namespace stbconfig;

SettingsFixture::SettingsFixture() { clearVariables(); }

SettingsFixture::~SettingsFixture() { clearVariables(); }

void SettingsFixture::hold(Location location, const char *group, const char *key, const char *text)
{
    ASSERT_FALSE(existingManager) << "hold() comes before the first use of the manager";
    switch (location) {
    case CustomConfPersistent:
        return appendEntry("data/custom.conf", group, key, text);
    case StbappConfDefault:
        return appendEntry("etc/stbapp.conf", group, key, text);
    case EnvironmentVariables:
        return setVariable(QByteArray("STBAPP_") + QByteArray(group).toUpper() + '_'
                               + QByteArray(key).toUpper(),
                           text);
    default: // written through the manager, as soon as there is one
        return stored.push_back({location, group, key, text});
    }
}

void SettingsFixture::appendEntry(const QString &file, const char *group, const char *key,
                                  const char *text)
{
    const QString path = scratch.path(file);
    const QByteArray before = QFile::exists(path) ? contentOf(path) : QByteArray();
    scratch.write(file, before + '[' + group + "]\n" + key + '=' + text + '\n');
}

ConfigurationManager &SettingsFixture::manager()
{
    if (!existingManager) {
        existingManager =
            std::make_unique<ConfigurationManager>(persistentPrefix(), defaultPrefix(), &handler);
        for (const Entry &entry : stored) {
            IStorableBackend *storage = existingManager->dynamicStorage(entry.location);
            EXPECT_NE(storage, nullptr) << "hold() knows no way into " << entry.location;
            if (storage)
                storage->setValue(entry.group, entry.key, entry.text);
        }
    }
    return *existingManager;
}

IStorableBackend *SettingsFixture::customStorage()
{
    return manager().dynamicStorage(CustomConfPersistent);
}

IStorableBackend *SettingsFixture::temporaryStorage()
{
    return manager().dynamicStorage(TemporaryApplicationStorage);
}

IReadableBackend *SettingsFixture::environment()
{
    return manager().readOnlyStorage(EnvironmentVariables);
}

IReadableBackend *SettingsFixture::defaults()
{
    return manager().readOnlyStorage(StbappConfDefault);
}

QVariant SettingsFixture::valueOf(const char *group, const char *key)
{
    return manager().value(group, key, "default");
}
