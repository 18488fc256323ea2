// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "configurationmanager.h"

#include "backends/backends_p.h"
#include "configurationmanager_p.h"
#include "settingslocationname_p.h"
#include "storagepaths_p.h"

#include <QtCore/QStringBuilder>

#include <utility>

namespace stbconfig {

ConfigurationManagerPrivate::ConfigurationManagerPrivate(ConfigurationManager *q,
                                                         const QString &prefix,
                                                         IErrorHandler *handler)
    : q_ptr(q), persistentStoragePrefix(prefix), errorHandler(handler)
{}

ConfigurationManagerPrivate::~ConfigurationManagerPrivate() { q_ptr = nullptr; }

void ConfigurationManagerPrivate::reportInvalidStorage(
    const char *message, ConfigurationManager::SettingsLocation location) const
{
    if (errorHandler)
        errorHandler->handleError(QString::fromUtf8(message) % settingsLocationName(location));
}

ConfigurationManager::ConfigurationManager(const QString &persistentStoragePrefix,
                                           const QString &defaultConfigPrefix,
                                           IErrorHandler *errorHandler)
    : d_ptr(new ConfigurationManagerPrivate(this, persistentStoragePrefix, errorHandler))
{
    Q_D(ConfigurationManager);
    const auto iniFile = [errorHandler](const QString &fileName) {
        return createQtSettingsIniBackend(fileName, errorHandler);
    };
    auto &readable = d->readableBackends;
    auto &storable = d->storableBackends;
    auto &independent = d->independentStorages;

    // The table of storages. The smaller number wins, but only among the storages of one registry:
    // across the registries every storable backend wins over every readable one, see value().
    using constants::ravel;
    using namespace storagepaths;
    readable.insert({0, EnvironmentVariables}, createEnvironmentReader(errorHandler));
    storable.insert({2, CustomConfPersistent}, iniFile(customConfPath(persistentStoragePrefix)));
    readable.insert({3, StbappConfDefault}, iniFile(stbappConfPath(defaultConfigPrefix)));
    storable.insert({4, TemporaryApplicationStorage}, createDynamicMapStorage());
    independent.insert(ravel, iniFile(independentStoragePath(persistentStoragePrefix, ravel)));
}

ConfigurationManager::~ConfigurationManager() = default;

QString ConfigurationManager::persistentStoragePrefix() const
{
    Q_D(const ConfigurationManager);
    return d->persistentStoragePrefix;
}

void ConfigurationManager::setErrorHandler(IErrorHandler *handler)
{
    Q_D(ConfigurationManager);
    d->errorHandler = handler;
}

stbui::CmdLineArgs ConfigurationManager::cmdLineArgs() const
{
    Q_D(const ConfigurationManager);
    return d->cmdLineArgs;
}

void ConfigurationManager::setCmdLineArgs(const stbui::CmdLineArgs &args)
{
    Q_D(ConfigurationManager);
    d->cmdLineArgs = args;
}

QVariant ConfigurationManager::value(const QString &group, const QString &key,
                                     const QVariant &defaultValue) const
{
    Q_D(const ConfigurationManager);
    QVariant result = d->readOnlyValue(group, key, QVariant(defaultValue));
    return d->dynamicValue(group, key, std::move(result));
}

IStorableBackend *ConfigurationManager::dynamicStorage(SettingsLocation location) const
{
    Q_D(const ConfigurationManager);
    const QMutexLocker locker(&d->mutex);
    if (IStorableBackend *storage = findByLocation(d->storableBackends, location))
        return storage;
    d->reportInvalidStorage("invalid dynamic storage ", location);
    return nullptr;
}

IReadableBackend *ConfigurationManager::readOnlyStorage(SettingsLocation location) const
{
    Q_D(const ConfigurationManager);
    const QMutexLocker locker(&d->mutex);
    if (IReadableBackend *storage = findByLocation(d->readableBackends, location))
        return storage;
    if (IReadableBackend *storage = findByLocation(d->storableBackends, location))
        return storage;
    d->reportInvalidStorage("invalid read-only storage ", location);
    return nullptr;
}

IStorableBackend *ConfigurationManager::independentStorage(const QString &name) const
{
    Q_D(const ConfigurationManager);
    const QMutexLocker locker(&d->mutex);
    const QString fileName = storagepaths::independentStoragePath(d->persistentStoragePrefix, name);
    // The entry is null for a new name, and for a name whose storage could not be made the last
    // time.
    QSharedPointer<IStorableBackend> &storage = d->independentStorages[name];
    if (!storage)
        storage = createQtSettingsIniBackend(fileName, d->errorHandler);
    return storage.data();
}

QSet<ConfigurationManager::SettingsLocation> ConfigurationManager::readOnlyStorages() const
{
    Q_D(const ConfigurationManager);
    return locations(d->snapshot(d->readableBackends));
}

QSet<ConfigurationManager::SettingsLocation> ConfigurationManager::dynamicStorages() const
{
    Q_D(const ConfigurationManager);
    return locations(d->snapshot(d->storableBackends));
}

QLocale ConfigurationManager::defaultLocale() const
{
    return QLocale(value(QStringLiteral("Profile"), QStringLiteral("locale"), QStringLiteral("ru"))
                       .toString());
}

} // namespace stbconfig
