// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/matchers.h"

#include <stbconfig/constants_p.h>
#include <stbconfig/settingslocationname_p.h>
#include <stbconfig/storagepaths_p.h>

#include <gtest/gtest.h>

#include <limits>

using namespace stbconfig;

TEST(Constants, AreTheWordsThatBoxesInTheFieldKnow)
{
    EXPECT_EQ(constants::qtSettingsIniBackend, "QtSettingsIniBackend");
    EXPECT_EQ(constants::environmentPrefix, "STBAPP_");
    EXPECT_EQ(constants::stbappConf, "stbapp.conf");
    EXPECT_EQ(constants::ravel, "ravel");
    EXPECT_EQ(constants::customConf, "custom.conf");
    EXPECT_EQ(constants::independentStorageSuffix, ".db");
}

TEST(StoragePaths, JoinPrefixAndNameAsTheyAre)
{
    EXPECT_EQ(storagepaths::customConfPath("/p/"), "/p/custom.conf");
    EXPECT_EQ(storagepaths::stbappConfPath("/d/"), "/d/stbapp.conf");
    EXPECT_EQ(storagepaths::independentStoragePath("/p/", "ravel"), "/p/ravel.db");
    EXPECT_EQ(storagepaths::customConfPath("/mnt/data"), "/mnt/datacustom.conf");
    EXPECT_EQ(storagepaths::stbappConfPath(""), "stbapp.conf");
    EXPECT_EQ(storagepaths::independentStoragePath("/p//../", ""), "/p//../.db");
}

TEST(LocationName, ThreeLocationsHaveOne)
{
    EXPECT_EQ(settingsLocationName(ConfigurationManager::CustomConfPersistent),
              "CustomConfPersistent");
    EXPECT_EQ(settingsLocationName(ConfigurationManager::StbappConfDefault), "StbappConfDefault");
    EXPECT_EQ(settingsLocationName(ConfigurationManager::EnvironmentVariables),
              "EnvironmentVariables");
}

TEST(LocationName, AllOthersHaveNone)
{
    for (const int number :
         {2, 4, 5, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const auto location = static_cast<ConfigurationManager::SettingsLocation>(number);
        EXPECT_EQ(settingsLocationName(location), "internal error: invalid enumerator") << number;
    }
}
