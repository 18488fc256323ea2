// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

using namespace stbconfig;
using ::testing::Contains;

struct Storage
{
    const char *name;
    IStorableBackend *(*find)(ConfigurationManager &);
};

void PrintTo(const Storage &storage, std::ostream *out) { *out << storage.name; }

static const Storage writableStorages[] = {
    {"CustomFile",
     [](ConfigurationManager &manager) {
         return manager.dynamicStorage(ConfigurationManager::CustomConfPersistent);
     }},
    {"TemporaryStorage",
     [](ConfigurationManager &manager) {
         return manager.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage);
     }},
    {"RavelStorage",
     [](ConfigurationManager &manager) { return manager.independentStorage("ravel"); }},
    {"NamedStorage",
     [](ConfigurationManager &manager) { return manager.independentStorage("channels"); }},
};

// Every writable storage keeps these promises, wherever it keeps its settings.
class WritableStorage : public SettingsFixture, public ::testing::WithParamInterface<Storage>
{
protected:
    IStorableBackend &storage() { return *GetParam().find(manager()); }
};

INSTANTIATE_TEST_SUITE_P(Of, WritableStorage, ::testing::ValuesIn(writableStorages),
                         [](const auto &test) { return test.param.name; });

TEST_P(WritableStorage, IsUsableFromTheStart)
{
    EXPECT_TRUE(storage().isValid());
    EXPECT_THAT(storage().allKeys(), ::testing::IsEmpty());
}

TEST_P(WritableStorage, AnAbsentSettingIsAnInvalidValue)
{
    EXPECT_FALSE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsInvalid());
}

TEST_P(WritableStorage, HoldsWhatWasStored)
{
    storage().setValue("Video", "output", "hdmi");

    EXPECT_TRUE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsText("hdmi"));
    EXPECT_THAT(storage().allKeys(), Contains(QString("Video/output")));
}

TEST_P(WritableStorage, ReplacesAValue)
{
    storage().setValue("Video", "output", "hdmi");
    storage().setValue("Video", "output", "scart");

    EXPECT_THAT(storage().value("Video", "output"), IsText("scart"));
    EXPECT_EQ(storage().allKeys().size(), 1);
}

TEST_P(WritableStorage, KeepsSettingsApart)
{
    storage().setValue("Video", "output", "hdmi");
    storage().setValue("Audio", "output", "spdif");
    storage().setValue("Video", "rate", "50");

    EXPECT_THAT(storage().value("Video", "output"), IsText("hdmi"));
    EXPECT_THAT(storage().value("Audio", "output"), IsText("spdif"));
    EXPECT_THAT(storage().value("Video", "rate"), IsText("50"));
    EXPECT_FALSE(storage().contains("output", "Video"));
}

TEST_P(WritableStorage, RemovesASetting)
{
    storage().setValue("Video", "output", "hdmi");
    storage().setValue("Video", "rate", "50");
    storage().remove("Video", "output");

    EXPECT_FALSE(storage().contains("Video", "output"));
    EXPECT_THAT(storage().value("Video", "output"), IsInvalid());
    EXPECT_TRUE(storage().contains("Video", "rate"));
}

TEST_P(WritableStorage, RemovingAnAbsentSettingIsNoError)
{
    storage().setValue("Video", "rate", "50");
    storage().remove("Video", "output");
    storage().remove("Audio", "volume");

    EXPECT_EQ(storage().allKeys().size(), 1);
    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
}

TEST_P(WritableStorage, SurvivesStrangeNames)
{
    const QString highSurrogate(QChar(0xd83d));
    const QString names[] = {QString(),
                             "",
                             " ",
                             "/",
                             "//",
                             "%1",
                             "%n%s%99%",
                             "[]",
                             "=;#",
                             "\n\r\t\0",
                             highSurrogate,
                             QString(65536, 'x'),
                             QString(3, QChar::Null)};
    for (const QString &group : names) {
        for (const QString &key : names) {
            storage().setValue(group, key, "value");
            storage().contains(group, key);
            storage().value(group, key);
            storage().remove(group, key);
        }
    }
    storage().allKeys();
    restart();

    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
}

TEST_P(WritableStorage, CanBeReadThroughTheReadableInterface)
{
    storage().setValue("Video", "output", "hdmi");
    const IReadableBackend &readable = storage();

    EXPECT_THAT(readable.value("Video", "output"), IsText("hdmi"));
}

// The same pair is the same setting in every storage; only the place where it is kept differs.
TEST_F(SettingsFixture, ASettingIsAddressedAlikeInEveryLocation)
{
    for (const Location location : {CustomConfPersistent, TemporaryApplicationStorage,
                                    EnvironmentVariables, StbappConfDefault})
        hold(location, "Video", "output", "hdmi");

    for (const Location location : {CustomConfPersistent, TemporaryApplicationStorage,
                                    EnvironmentVariables, StbappConfDefault}) {
        const IReadableBackend *storage = manager().readOnlyStorage(location);
        EXPECT_TRUE(storage->contains("Video", "output")) << location;
        EXPECT_THAT(storage->value("Video", "output"), IsText("hdmi")) << location;
    }
}
