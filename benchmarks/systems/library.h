// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_LIBRARY_H
#define STBCONFIG_BENCHMARKS_LIBRARY_H

#include "../dataset.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

/// The library, as an application uses it.
class Library
{
public:
    static constexpr const char *name = "stbconfig";

    explicit Library(const DataSet &data) : manager(data.prefix(), data.prefix(), nullptr)
    {
        for (const DataSet::Entry &entry : DataSet::heldInMemory())
            memory->setValue(entry.group, entry.key, "from memory");
    }

    struct Address
    {
        QString group;
        QString key;
    };

    static Address address(const Probe &probe) { return {probe.group, probe.key}; }
    static std::string text(const QVariant &value) { return value.toString().toStdString(); }

    QVariant read(const Address &address) const
    {
        return manager.value(address.group, address.key, defaultValue);
    }

    QVariant readDefaultFile(const Address &address) const
    {
        return defaults->value(address.group, address.key);
    }

    void setInMemory(const Address &address, const QVariant &value)
    {
        memory->setValue(address.group, address.key, value);
    }

    int level() const { return logging.level(); }

    /// Stores one value so that it is in the file afterwards.
    static void persist(const DataSet &data, const QString &value)
    {
        stbconfig::ConfigurationManager manager(data.prefix(), data.prefix(), nullptr);
        manager.dynamicStorage(manager.CustomConfPersistent)->setValue("Group03", "key1", value);
    }

private:
    stbconfig::ConfigurationManager manager;
    stbconfig::LogsConfigWrapper logging{manager};
    stbconfig::IStorableBackend *const memory =
        manager.dynamicStorage(manager.TemporaryApplicationStorage);
    stbconfig::IReadableBackend *const defaults =
        manager.readOnlyStorage(manager.StbappConfDefault);
    const QVariant defaultValue{"the caller's default"};
};

#endif
