// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <QtCore/QMetaEnum>

#include <optional>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// The names of all storages: of a location, as its enumerator is called, or of one opened by name.
// A new storage joins one of these lists, and so keeps the promises below.
const std::string writableStorages[] = {"CustomConfPersistent", "TemporaryApplicationStorage",
                                        "ravel", "channels"};
const std::string readOnlyStorages[] = {"EnvironmentVariables", "StbappConfDefault"};

using Location = ConfigurationManager::SettingsLocation;

std::optional<Location> locationOf(const std::string &name)
{
    bool isLocation = false;
    const int location = QMetaEnum::fromType<Location>().keyToValue(name.c_str(), &isLocation);
    return isLocation ? std::optional(static_cast<Location>(location)) : std::nullopt;
}

template <std::size_t size>
QSet<Location> locationsOf(const std::string (&names)[size])
{
    QSet<Location> locations;
    for (const std::string &name : names) {
        if (const auto location = locationOf(name))
            locations.insert(*location);
    }
    return locations;
}

const QString strangeNames[] = {QString(),
                                "",
                                " ",
                                "/",
                                "//",
                                "%1",
                                "%n%s%99%",
                                "[]",
                                "=;#",
                                "\n\r\t\0",
                                QChar(0xd83d), // half of a character
                                QString(65536, 'x'),
                                QString(3, QChar::Null)};

} // namespace

class StorageContract : public SettingsFixture
{
};

TEST_F(StorageContract, IsJoinedByTheStorageOfEveryLocation)
{
    EXPECT_EQ(locationsOf(writableStorages), manager().dynamicStorages());
    EXPECT_EQ(locationsOf(readOnlyStorages), manager().readOnlyStorages());
}

// Every storage keeps these promises, wherever its settings come from.
class AnyStorage : public SettingsFixture, public ::testing::WithParamInterface<std::string>
{
protected:
    // Comes before the first use of the storage.
    void hold(const char *group, const char *key, const char *text)
    {
        if (const auto location = locationOf(GetParam()))
            SettingsFixture::hold(*location, group, key, text);
        else
            manager().independentStorage(GetParam().c_str())->setValue(group, key, text);
    }

    const IReadableBackend &storage()
    {
        if (const auto location = locationOf(GetParam()))
            return *manager().readOnlyStorage(*location);
        return *manager().independentStorage(GetParam().c_str());
    }
};

static const auto nameOf = [](const auto &test) { return test.param; };

INSTANTIATE_TEST_SUITE_P(Writable, AnyStorage, ::testing::ValuesIn(writableStorages), nameOf);
INSTANTIATE_TEST_SUITE_P(ReadOnly, AnyStorage, ::testing::ValuesIn(readOnlyStorages), nameOf);

TEST_P(AnyStorage, IsUsableFromTheStart) { EXPECT_TRUE(storage().isValid()); }

TEST_P(AnyStorage, AnswersForWhatItHolds)
{
    hold("Video", "output", "hdmi");

    EXPECT_TRUE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsText("hdmi"));
}

TEST_P(AnyStorage, KeepsSettingsApart)
{
    hold("Video", "output", "hdmi");
    hold("Audio", "output", "spdif");
    hold("Video", "rate", "50");

    EXPECT_THAT(storage().value("Video", "output"), IsText("hdmi"));
    EXPECT_THAT(storage().value("Audio", "output"), IsText("spdif"));
    EXPECT_THAT(storage().value("Video", "rate"), IsText("50"));
    EXPECT_FALSE(storage().contains("Audio", "rate"));
    EXPECT_FALSE(storage().contains("output", "Video"));
}

// The environment calls a setting otherwise than the others do; its own tests say how.
TEST_P(AnyStorage, ListsASettingOnce)
{
    hold("Video", "nowhereElse", "hdmi");

    EXPECT_EQ(storage().allKeys().filter("nowhereElse", Qt::CaseInsensitive).size(), 1);
}

TEST_P(AnyStorage, HoldsNoAbsentSetting)
{
    hold("Video", "output", "hdmi");

    EXPECT_FALSE(storage().contains("Video", "rate"));
    EXPECT_TRUE(storage().value("Video", "rate").toString().isNull());
    EXPECT_FALSE(storage().contains("", ""));
}

TEST_P(AnyStorage, IsNotChangedByReading)
{
    const QStringList before = storage().allKeys();
    storage().contains("Video", "output");
    storage().value("Video", "output");

    EXPECT_FALSE(storage().contains("Video", "output"));
    EXPECT_EQ(storage().allKeys(), before);
}

TEST_P(AnyStorage, IsReadInSilenceByAnyName)
{
    for (const QString &group : strangeNames) {
        for (const QString &key : strangeNames) {
            storage().contains(group, key);
            storage().value(group, key);
        }
    }
    storage().allKeys();

    EXPECT_THAT(handler.messages(), IsEmpty());
}

// Every storage that can be written keeps these promises, too.
class WritableStorage : public SettingsFixture, public ::testing::WithParamInterface<std::string>
{
protected:
    IStorableBackend &storage()
    {
        if (const auto location = locationOf(GetParam()))
            return *manager().dynamicStorage(*location);
        return *manager().independentStorage(GetParam().c_str());
    }
};

INSTANTIATE_TEST_SUITE_P(Of, WritableStorage, ::testing::ValuesIn(writableStorages), nameOf);

TEST_P(WritableStorage, IsEmptyFromTheStart) { EXPECT_THAT(storage().allKeys(), IsEmpty()); }

TEST_P(WritableStorage, AnAbsentSettingIsAnInvalidValue)
{
    EXPECT_THAT(storage().value("Video", "output"), IsInvalid());
}

TEST_P(WritableStorage, HoldsWhatWasStored)
{
    storage().setValue("Video", "output", "hdmi");

    EXPECT_TRUE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsText("hdmi"));
    EXPECT_THAT(storage().allKeys(), ElementsAre("Video/output"));
}

TEST_P(WritableStorage, ReplacesAValue)
{
    storage().setValue("Video", "output", 3);
    storage().setValue("Video", "output", "scart");

    EXPECT_THAT(storage().value("Video", "output"), IsText("scart"));
    EXPECT_THAT(storage().allKeys(), ElementsAre("Video/output"));
}

TEST_P(WritableStorage, RemovesASetting)
{
    storage().setValue("Video", "output", "hdmi");
    storage().setValue("Video", "rate", "50");
    storage().remove("Video", "output");

    EXPECT_FALSE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsInvalid());
    EXPECT_THAT(storage().allKeys(), ElementsAre("Video/rate"));
}

TEST_P(WritableStorage, RemovingAnAbsentSettingIsNoError)
{
    storage().setValue("Video", "rate", "50");
    storage().remove("Video", "output");
    storage().remove("Audio", "volume");
    storage().remove("video", "rate");

    EXPECT_THAT(storage().allKeys(), ElementsAre("Video/rate"));
    EXPECT_FALSE(storage().contains("Audio", "volume"));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_P(WritableStorage, SurvivesStrangeNames)
{
    for (const QString &group : strangeNames) {
        for (const QString &key : strangeNames) {
            storage().setValue(group, key, "value");
            storage().contains(group, key);
            storage().value(group, key);
            storage().remove(group, key);
        }
    }
    storage().allKeys();
    restart();

    EXPECT_THAT(handler.messages(), IsEmpty());
}
