// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BACKENDREGISTRY_P_H
#define STBCONFIG_BACKENDREGISTRY_P_H

#include "configurationmanager.h"

#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QSharedPointer>

#include <utility>

namespace stbconfig {

// Priority and location, ordered by priority first: the smallest key is asked last and wins.
using BackendKey = QPair<int, ConfigurationManager::SettingsLocation>;

template <typename Backend>
using BackendRegistry = QMap<BackendKey, QSharedPointer<Backend>>;

// Visits from the largest key down and lets each hit replace the last: the smallest key wins, and
// every holder is read once per lookup. An invalid value counts as a hit. The default is moved into
// the result, which saves every lookup a copy and its destruction.
template <typename Backend>
QVariant lookUp(const BackendRegistry<Backend> &registry, const QString &group, const QString &key,
                QVariant &&defaultValue)
{
    QVariant result = std::move(defaultValue);
    const auto begin = registry.constBegin();
    for (auto it = registry.constEnd(); it != begin;) {
        const QSharedPointer<Backend> &backend = (--it).value();
        if (backend->contains(group, key))
            result = backend->value(group, key);
    }
    return result;
}

// Returns null if the registry has no such location, and the backend of the lowest priority number
// if it has several.
template <typename Backend>
Backend *findByLocation(const BackendRegistry<Backend> &registry,
                        ConfigurationManager::SettingsLocation location)
{
    for (auto it = registry.constBegin(); it != registry.constEnd(); ++it) {
        if (it.key().second == location)
            return it.value().data();
    }
    return nullptr;
}

template <typename Backend>
QSet<ConfigurationManager::SettingsLocation> locations(const BackendRegistry<Backend> &registry)
{
    QSet<ConfigurationManager::SettingsLocation> result;
    for (auto it = registry.constBegin(); it != registry.constEnd(); ++it)
        result.insert(it.key().second);
    return result;
}

} // namespace stbconfig

#endif
