// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_PROPERTYTREE_H
#define STBCONFIG_BENCHMARKS_PROPERTYTREE_H

#include "../dataset.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

/// One Boost.PropertyTree into which every layer is merged, weakest first, when it is loaded.
class PropertyTree
{
public:
    static constexpr const char *name = "PropertyTree";
    using Address = std::string;

    explicit PropertyTree(const DataSet &data)
    {
        read_ini(data.defaultFile().toStdString(), tree);
        put(DataSet::heldInEnvironment(), "from the environment");
        put(DataSet::heldInMemory(), "from memory");
        boost::property_tree::ptree custom;
        read_ini(data.customFile().toStdString(), custom);
        for (const auto &[group, keys] : custom) {
            for (const auto &[key, value] : keys)
                tree.put(group + '.' + key, value.data());
        }
    }

    static Address address(const Probe &probe)
    {
        return std::string(probe.group) + '.' + probe.key;
    }
    static std::string text(const std::string &value) { return value; }

    std::string read(const Address &address) const { return tree.get(address, defaultValue); }

    static void persist(const DataSet &data, const QString &value)
    {
        const std::string file = data.customFile().toStdString();
        boost::property_tree::ptree custom;
        read_ini(file, custom);
        custom.put("Group03.key1", value.toStdString());
        write_ini(file, custom);
    }

private:
    void put(const QList<DataSet::Entry> &entries, const char *value)
    {
        for (const DataSet::Entry &entry : entries)
            tree.put((entry.group + '.' + entry.key).toStdString(), value);
    }

    boost::property_tree::ptree tree;
    const std::string defaultValue{"the caller's default"};
};

#endif
