// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <QtCore/QFile>

#include <limits>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;

class StorageAccess : public SettingsFixture
{
protected:
    using Locations = QSet<Location>;
};

TEST_F(StorageAccess, FindsTheWritableLocations)
{
    EXPECT_THAT(manager().dynamicStorage(CustomConfPersistent), NotNull());
    EXPECT_THAT(manager().dynamicStorage(TemporaryApplicationStorage), NotNull());
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(StorageAccess, ReadsTheReadOnlyLocations)
{
    hold(EnvironmentVariables, "Video", "output", "component");
    hold(StbappConfDefault, "Video", "output", "hdmi");

    EXPECT_THAT(manager().readOnlyStorage(EnvironmentVariables)->value("Video", "output"),
                IsText("component"));
    EXPECT_THAT(manager().readOnlyStorage(StbappConfDefault)->value("Video", "output"),
                IsText("hdmi"));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(StorageAccess, ReadsTheWritableLocationsToo)
{
    EXPECT_EQ(manager().readOnlyStorage(CustomConfPersistent),
              manager().dynamicStorage(CustomConfPersistent));
    EXPECT_EQ(manager().readOnlyStorage(TemporaryApplicationStorage),
              manager().dynamicStorage(TemporaryApplicationStorage));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(StorageAccess, FindsTheSameStorageEachTime)
{
    EXPECT_EQ(manager().dynamicStorage(CustomConfPersistent), customStorage());
    EXPECT_EQ(manager().readOnlyStorage(StbappConfDefault), defaults());
    EXPECT_NE(static_cast<IReadableBackend *>(customStorage()), temporaryStorage());
}

TEST_F(StorageAccess, ReportsTheDefaultFileAsNotWritable)
{
    EXPECT_THAT(manager().dynamicStorage(StbappConfDefault), IsNull());
    EXPECT_THAT(handler.messages(), ElementsAre("invalid dynamic storage StbappConfDefault"));
}

TEST_F(StorageAccess, ReportsTheEnvironmentAsNotWritable)
{
    EXPECT_THAT(manager().dynamicStorage(EnvironmentVariables), IsNull());
    EXPECT_THAT(handler.messages(), ElementsAre("invalid dynamic storage EnvironmentVariables"));
}

TEST_F(StorageAccess, ReportsTheLocationWithoutAStorageWithoutNamingIt)
{
    EXPECT_THAT(manager().dynamicStorage(DhcpOptionsConf), IsNull());
    EXPECT_THAT(manager().readOnlyStorage(DhcpOptionsConf), IsNull());
    EXPECT_THAT(handler.messages(),
                ElementsAre("invalid dynamic storage internal error: invalid enumerator",
                            "invalid read-only storage internal error: invalid enumerator"));
}

TEST_F(StorageAccess, ReportsNumbersOutsideTheEnumeration)
{
    for (const int number : {-1, 5, std::numeric_limits<int>::max()}) {
        RecordingHandler recording;
        manager().setErrorHandler(&recording);

        EXPECT_THAT(manager().dynamicStorage(static_cast<Location>(number)), IsNull()) << number;
        EXPECT_THAT(manager().readOnlyStorage(static_cast<Location>(number)), IsNull()) << number;
        EXPECT_THAT(recording.messages(),
                    ElementsAre("invalid dynamic storage internal error: invalid enumerator",
                                "invalid read-only storage internal error: invalid enumerator"))
            << number;
        manager().setErrorHandler(nullptr);
    }
}

TEST_F(StorageAccess, FailsInSilenceWithoutAHandler)
{
    ConfigurationManager silent(persistentPrefix(), defaultPrefix(), nullptr);

    EXPECT_THAT(silent.dynamicStorage(DhcpOptionsConf), IsNull());
    EXPECT_THAT(silent.readOnlyStorage(DhcpOptionsConf), IsNull());
}

TEST_F(StorageAccess, ReportsToTheHandlerOfTheMoment)
{
    RecordingHandler other;
    manager().setErrorHandler(&other);
    manager().dynamicStorage(DhcpOptionsConf);
    manager().setErrorHandler(nullptr);
    manager().dynamicStorage(DhcpOptionsConf);
    manager().setErrorHandler(&handler);
    manager().readOnlyStorage(DhcpOptionsConf);

    EXPECT_THAT(other.messages(),
                ElementsAre("invalid dynamic storage internal error: invalid enumerator"));
    EXPECT_THAT(handler.messages(),
                ElementsAre("invalid read-only storage internal error: invalid enumerator"));
}

TEST_F(StorageAccess, ListsTheReadOnlyLocations)
{
    EXPECT_EQ(manager().readOnlyStorages(), Locations({EnvironmentVariables, StbappConfDefault}));
}

TEST_F(StorageAccess, ListsTheWritableLocations)
{
    EXPECT_EQ(manager().dynamicStorages(),
              Locations({CustomConfPersistent, TemporaryApplicationStorage}));
}

TEST_F(StorageAccess, ListsNoLocationTwice)
{
    EXPECT_FALSE(manager().readOnlyStorages().intersects(manager().dynamicStorages()));
}

TEST_F(StorageAccess, OpensAnIndependentStorageOnceForEachName)
{
    IStorableBackend *channels = manager().independentStorage("channels");

    ASSERT_THAT(channels, NotNull());
    EXPECT_EQ(manager().independentStorage("channels"), channels);
    EXPECT_NE(manager().independentStorage("Channels"), channels);
    EXPECT_NE(manager().independentStorage("ravel"), channels);
    EXPECT_EQ(manager().independentStorage("channels"), channels);
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(StorageAccess, KeepsAnIndependentStorageInAFileOfItsName)
{
    manager().independentStorage("channels")->setValue("Favourites", "first", "news");
    restart();

    EXPECT_EQ(contentOf(persistentPrefix() + "channels.db"), "[Favourites]\nfirst=news\n");
}

TEST_F(StorageAccess, ReadsAnIndependentStorageThatExists)
{
    scratch.write("data/channels.db", "[Favourites]\nfirst=news\n");

    EXPECT_THAT(manager().independentStorage("channels")->value("Favourites", "first"),
                IsText("news"));
}

TEST_F(StorageAccess, AnEmptyNameOpensTheBareSuffix)
{
    manager().independentStorage("")->setValue("Group", "key", "value");
    restart();

    EXPECT_EQ(contentOf(persistentPrefix() + ".db"), "[Group]\nkey=value\n");
}

TEST_F(StorageAccess, AStorageNameGoesIntoThePathAsItIs)
{
    manager().independentStorage("../elsewhere/a b")->setValue("Group", "key", "value");
    restart();

    EXPECT_EQ(contentOf(scratch.path("elsewhere/a b.db")), "[Group]\nkey=value\n");
}

TEST_F(StorageAccess, TwoNamesOfOneFileAreTwoStorages)
{
    IStorableBackend *one = manager().independentStorage("a");
    IStorableBackend *other = manager().independentStorage("./a");

    EXPECT_NE(one, other);
    one->setValue("Group", "key", "value");
    EXPECT_THAT(other->value("Group", "key"), IsText("value"));
}

TEST_F(StorageAccess, OpeningAnIndependentStorageCreatesNoFile)
{
    manager().independentStorage("channels");
    restart();

    EXPECT_FALSE(QFile::exists(persistentPrefix() + "channels.db"));
}

TEST_F(StorageAccess, AnIndependentStorageKeepsTheHandlerOfItsCreation)
{
    const QString prefix = scratch.unwritablePrefix();
    RecordingHandler second;
    RecordingHandler third;
    ConfigurationManager manager(prefix, defaultPrefix(), &handler);
    manager.setErrorHandler(&second);
    IStorableBackend *channels = manager.independentStorage("channels");
    manager.setErrorHandler(&third);

    channels->setValue("Group", "key", 1);
    manager.independentStorage("channels")->setValue("Group", "key", 1);
    manager.independentStorage("ravel")->setValue("Group", "key", 1);

    const QString refused = "unable to write " + prefix + "channels.db";
    EXPECT_THAT(second.messages(), ElementsAre(refused, refused));
    EXPECT_THAT(handler.messages(), ElementsAre("unable to write " + prefix + "ravel.db"));
    EXPECT_THAT(third.messages(), IsEmpty());
}

TEST_F(StorageAccess, AnIndependentStorageMadeWithoutAHandlerStaysSilent)
{
    ConfigurationManager manager(scratch.unwritablePrefix(), defaultPrefix(), nullptr);
    IStorableBackend *channels = manager.independentStorage("channels");
    manager.setErrorHandler(&handler);

    channels->setValue("Group", "key", 1);

    EXPECT_THAT(handler.messages(), IsEmpty());
}
