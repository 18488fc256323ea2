// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_POCO_H
#define STBCONFIG_BENCHMARKS_POCO_H

#include "../dataset.h"

#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <Poco/Util/PropertyFileConfiguration.h>

/// Poco's layers, searched in order until one holds the setting.
class PocoLayers
{
public:
    static constexpr const char *name = "Poco";
    using Address = std::string;

    explicit PocoLayers(const DataSet &data)
    {
        using namespace Poco::Util;
        Poco::AutoPtr<MapConfiguration> memory(new MapConfiguration);
        for (const DataSet::Entry &entry : DataSet::heldInMemory())
            memory->setString(path(entry), "from memory");
        Poco::AutoPtr<MapConfiguration> environment(new MapConfiguration);
        for (const DataSet::Entry &entry : DataSet::heldInEnvironment())
            environment->setString(path(entry), "from the environment");
        int priority = 0;
        layers->add(iniFile(data.customFile()), priority++);
        layers->add(memory, priority++);
        layers->add(environment, priority++);
        layers->add(iniFile(data.defaultFile()), priority++);
    }

    static Address address(const Probe &probe)
    {
        return std::string(probe.group) + '.' + probe.key;
    }
    static std::string text(const std::string &value) { return value; }

    std::string read(const Address &address) const
    {
        return layers->getString(address, defaultValue);
    }

    /// Its INI files cannot be written; its property files can.
    static void persist(const DataSet &data, const QString &value)
    {
        const std::string file = (data.prefix() + "custom.properties").toStdString();
        Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> properties(
            new Poco::Util::PropertyFileConfiguration);
        properties->setString("Group03.key1", value.toStdString());
        properties->save(file);
    }

private:
    static std::string path(const DataSet::Entry &entry)
    {
        return (entry.group + '.' + entry.key).toStdString();
    }

    static Poco::AutoPtr<Poco::Util::IniFileConfiguration> iniFile(const QString &file)
    {
        return Poco::AutoPtr<Poco::Util::IniFileConfiguration>(
            new Poco::Util::IniFileConfiguration(file.toStdString()));
    }

    Poco::AutoPtr<Poco::Util::LayeredConfiguration> layers{new Poco::Util::LayeredConfiguration};
    const std::string defaultValue{"the caller's default"};
};

#endif
