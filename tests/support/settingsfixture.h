// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_SETTINGSFIXTURE_H
#define STBCONFIG_TESTS_SETTINGSFIXTURE_H

#include "files.h"
#include "matchers.h"
#include "recordinghandler.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

/**
 * A box of the test's own: two directories, an environment without any variable of the library's,
 * and a manager over them that reports to a recording handler.
 *
 * The manager is made when it is first used. Files and variables must be in place by then.
 */
class SettingsFixture : public ::testing::Test
{
protected:
    using Location = stbconfig::ConfigurationManager::SettingsLocation;
    static constexpr Location CustomConfPersistent = Location::CustomConfPersistent;
    static constexpr Location StbappConfDefault = Location::StbappConfDefault;
    static constexpr Location DhcpOptionsConf = Location::DhcpOptionsConf;
    static constexpr Location EnvironmentVariables = Location::EnvironmentVariables;
    static constexpr Location TemporaryApplicationStorage = Location::TemporaryApplicationStorage;

    SettingsFixture();
    ~SettingsFixture() override;

    QString persistentPrefix() const { return scratch.path("data/"); }
    QString defaultPrefix() const { return scratch.path("etc/"); }
    QString customFile() const { return scratch.path("data/custom.conf"); }
    QString defaultFile() const { return scratch.path("etc/stbapp.conf"); }

    /// Puts a text into a location, before the manager is made.
    void hold(Location location, const char *group, const char *key, const char *text);
    void writeDefaultFile(const char *content) { scratch.write("etc/stbapp.conf", content); }
    void writeCustomFile(const char *content) { scratch.write("data/custom.conf", content); }

    stbconfig::ConfigurationManager &manager();
    stbconfig::IStorableBackend *customStorage();
    stbconfig::IStorableBackend *temporaryStorage();
    stbconfig::IReadableBackend *environment();
    stbconfig::IReadableBackend *defaults();

    /// Returns the merged value, or "default" if no storage holds the setting.
    QVariant valueOf(const char *group, const char *key);

    /// Destroys the manager, which writes its changes to the files; the next use makes another.
    void restart() { existingManager.reset(); }

    ScratchDirectory scratch;
    RecordingHandler handler;

private:
    void appendEntry(const QString &file, const char *group, const char *key, const char *text);

    struct Entry
    {
        Location location;
        const char *group;
        const char *key;
        const char *text;
    };
    std::vector<Entry> stored;
    std::unique_ptr<stbconfig::ConfigurationManager> existingManager;
};

#endif
