// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_CONFIGURATIONMANAGER_P_H
#define STBCONFIG_CONFIGURATIONMANAGER_P_H

#include "backendinterfaces.h"
#include "backendregistry_p.h"
#include "configurationmanager.h"

#include <QtCore/QMutex>

#include <mutex>
#include <utility>

namespace stbconfig {

class ConfigurationManagerPrivate
{
    Q_DISABLE_COPY(ConfigurationManagerPrivate)

public:
    ConfigurationManagerPrivate(ConfigurationManager *q, const QString &prefix,
                                IErrorHandler *handler);
    ~ConfigurationManagerPrivate();

    static ConfigurationManagerPrivate *get(ConfigurationManager *manager)
    {
        return manager->d_func();
    }

    // Each looks into one registry. They stand here so that value() has them inline: a lookup
    // consists of little else than calls of the storages.
    QVariant readOnlyValue(const QString &group, const QString &key, QVariant &&defaultValue) const
    {
        return lookUp(snapshot(readableBackends), group, key, std::move(defaultValue));
    }

    QVariant dynamicValue(const QString &group, const QString &key, QVariant &&defaultValue) const
    {
        return lookUp(snapshot(storableBackends), group, key, std::move(defaultValue));
    }

    // Copies a registry under the lock, so that its backends can be asked without it.
    template <typename Backend>
    BackendRegistry<Backend> snapshot(const BackendRegistry<Backend> &registry) const
    {
        // A QMutexLocker could be unlocked early, and spends five instructions on it.
        const std::lock_guard<QMutex> guard(mutex);
        return registry;
    }

    // Reports a request for a location that has no storage, as message followed by its name.
    void reportInvalidStorage(const char *message,
                              ConfigurationManager::SettingsLocation location) const;

    ConfigurationManager *q_ptr;
    QString persistentStoragePrefix;
    IErrorHandler *errorHandler;
    stbui::CmdLineArgs cmdLineArgs;
    BackendRegistry<IReadableBackend> readableBackends;
    BackendRegistry<IStorableBackend> storableBackends;
    // Mutable, because opening a storage does not change what the manager answers.
    mutable QMap<QString, QSharedPointer<IStorableBackend>> independentStorages;

    // Guards the three maps above, and nothing else. Lookups and listings hold it only while they
    // copy a registry, because a backend may wait for its file and no other reader should wait
    // with it. The storage accessors hold it for their whole call, an error report included.
    mutable QMutex mutex;
};

} // namespace stbconfig

#endif
