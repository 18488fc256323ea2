// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_KCONFIG_H
#define STBCONFIG_BENCHMARKS_KCONFIG_H

#include "../dataset.h"

#include <KConfig>
#include <KConfigGroup>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <memory>

/// KConfig merges the user's file over the system's when it loads them. It has no layer for the
/// environment or for memory, so those overrides are written over the files, without a sync.
class KConfigFiles
{
public:
    static constexpr const char *name = "KConfig";

    explicit KConfigFiles(const DataSet &data) : config(openCascade(data))
    {
        for (const DataSet::Entry &entry : DataSet::heldInEnvironment())
            put(entry, "from the environment");
        for (const DataSet::Entry &entry : DataSet::heldInMemory())
            put(entry, "from memory");
    }

    ~KConfigFiles() { config->markAsClean(); }

    struct Address
    {
        QString group;
        const char *key;
    };

    static Address address(const Probe &probe) { return {probe.group, probe.key}; }
    static std::string text(const QString &value) { return value.toStdString(); }

    QString read(const Address &address) const
    {
        return config->group(address.group).readEntry(address.key, defaultValue);
    }

    static void persist(const DataSet &data, const QString &value)
    {
        KConfig config(data.customFile(), KConfig::SimpleConfig);
        config.group("Group03").writeEntry("key1", value);
        config.sync();
    }

private:
    // It looks for the two files by one name, where the desktop's variables say.
    static std::unique_ptr<KConfig> openCascade(const DataSet &data)
    {
        const QString home = data.prefix() + "home";
        QDir().mkpath(home);
        QFile::copy(data.customFile(), home + "/stbapp.conf");
        qputenv("XDG_CONFIG_HOME", home.toUtf8());
        qputenv("XDG_CONFIG_DIRS", data.prefix().toUtf8());
        auto config = std::make_unique<KConfig>("stbapp.conf", KConfig::CascadeConfig);
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("XDG_CONFIG_DIRS");
        return config;
    }

    void put(const DataSet::Entry &entry, const char *value)
    {
        if (config->group(entry.group).readEntry(entry.key, QString()) != "from the custom file")
            config->group(entry.group).writeEntry(entry.key, value);
    }

    const std::unique_ptr<KConfig> config;
    const QString defaultValue{"the caller's default"};
};

#endif
