// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_GLIB_H
#define STBCONFIG_BENCHMARKS_GLIB_H

#include "../dataset.h"

#include <glib.h>

#include <array>
#include <memory>

/// Asks four GKeyFiles, one after the other, until one holds the setting: GLib has no layers.
class GKeyFiles
{
public:
    static constexpr const char *name = "GKeyFile";
    using Address = const Probe *;

    explicit GKeyFiles(const DataSet &data)
    {
        load(files[0], data.customFile());
        put(files[1], DataSet::heldInMemory(), "from memory");
        put(files[2], DataSet::heldInEnvironment(), "from the environment");
        load(files[3], data.defaultFile());
    }

    static Address address(const Probe &probe) { return &probe; }
    static std::string text(const std::string &value) { return value; }

    std::string read(Address address) const
    {
        for (const File &file : files) {
            const std::unique_ptr<char, decltype(&g_free)> value(
                g_key_file_get_string(file.get(), address->group, address->key, nullptr), g_free);
            if (value)
                return value.get();
        }
        return "the caller's default";
    }

    static void persist(const DataSet &data, const QString &value)
    {
        File file = make();
        load(file, data.customFile());
        g_key_file_set_string(file.get(), "Group03", "key1", value.toUtf8().constData());
        g_key_file_save_to_file(file.get(), data.customFile().toUtf8().constData(), nullptr);
    }

private:
    using File = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

    static File make() { return File(g_key_file_new(), g_key_file_free); }

    static void load(File &file, const QString &path)
    {
        g_key_file_load_from_file(file.get(), path.toUtf8().constData(), G_KEY_FILE_NONE, nullptr);
    }

    static void put(File &file, const QList<DataSet::Entry> &entries, const char *value)
    {
        for (const DataSet::Entry &entry : entries)
            g_key_file_set_string(file.get(), entry.group.toUtf8().constData(),
                                  entry.key.toUtf8().constData(), value);
    }

    std::array<File, 4> files{make(), make(), make(), make()};
};

#endif
