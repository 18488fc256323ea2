// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/environment.h"
#include "support/settingsfixture.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Manager : public SettingsFixture
{
};

TEST_F(Manager, NamesItsFilesByPrefixAndFixedName)
{
    writeDefaultFile("[Video]\noutput=hdmi\n");
    customStorage()->setValue("Video", "output", "scart");
    manager().independentStorage("ravel")->setValue("State", "page", "home");
    restart();

    EXPECT_EQ(contentOf(scratch.path("data/custom.conf")), "[Video]\noutput=scart\n");
    EXPECT_EQ(contentOf(scratch.path("data/ravel.db")), "[State]\npage=home\n");
    EXPECT_EQ(contentOf(scratch.path("etc/stbapp.conf")), "[Video]\noutput=hdmi\n");
    EXPECT_THAT(QDir(scratch.path("data")).entryList(QDir::Files),
                ElementsAre("custom.conf", "ravel.db"));
    EXPECT_THAT(QDir(scratch.path("etc")).entryList(QDir::Files), ElementsAre("stbapp.conf"));
}

TEST_F(Manager, GluesAPrefixWithoutASeparatorToTheName)
{
    scratch.write("etcstbapp.conf", "[Video]\noutput=hdmi\n");
    {
        ConfigurationManager glued(scratch.path("data"), scratch.path("etc"), nullptr);
        EXPECT_THAT(glued.value("Video", "output", {}), IsText("hdmi"));
        glued.dynamicStorage(CustomConfPersistent)->setValue("Video", "output", "scart");
        glued.independentStorage("ravel")->setValue("State", "page", "home");
    }

    EXPECT_EQ(contentOf(scratch.path("datacustom.conf")), "[Video]\noutput=scart\n");
    EXPECT_EQ(contentOf(scratch.path("dataravel.db")), "[State]\npage=home\n");
}

TEST_F(Manager, ResolvesAnEmptyPrefixInTheWorkingDirectory)
{
    scratch.write("stbapp.conf", "[Video]\noutput=hdmi\n");
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(scratch.path("")));
    {
        ConfigurationManager here("", "", nullptr);
        EXPECT_THAT(here.value("Video", "output", {}), IsText("hdmi"));
        here.dynamicStorage(CustomConfPersistent)->setValue("Video", "output", "scart");
    }
    QDir::setCurrent(before);

    EXPECT_EQ(contentOf(scratch.path("custom.conf")), "[Video]\noutput=scart\n");
}

TEST_F(Manager, ReturnsItsPersistentPrefixUnchanged)
{
    for (const char *prefix : {"/mnt/data/", "/mnt/data", "relative/../odd//", ""}) {
        EXPECT_EQ(ConfigurationManager(prefix, "/d/", nullptr).persistentStoragePrefix(), prefix);
    }
}

TEST_F(Manager, IsMadeOverMissingDirectoriesInSilence)
{
    ConfigurationManager manager(scratch.path("no/such/data/"), scratch.path("no/such/etc/"),
                                 &handler);

    EXPECT_THAT(manager.value("Video", "output", "default"), IsText("default"));
    EXPECT_THAT(handler.messages(), IsEmpty());
    EXPECT_FALSE(QFile::exists(scratch.path("no")));
}

TEST_F(Manager, IsMadeOverFilesThatCannotBeUsedInSilence)
{
    writeCustomFile("no equals sign here\n");
    writeDefaultFile("[unclosed\n");
    manager();
    ConfigurationManager unwritable(scratch.unwritablePrefix(), defaultPrefix(), &handler);

    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(Manager, WritesNothingWhenNothingWasChanged)
{
    writeCustomFile("; a comment that a rewrite would drop\n[Video]\noutput=hdmi\n");
    valueOf("Video", "output");
    customStorage()->allKeys();
    restart();

    EXPECT_EQ(contentOf(customFile()),
              "; a comment that a rewrite would drop\n[Video]\noutput=hdmi\n");
    EXPECT_THAT(QDir(scratch.path("data")).entryList(QDir::Files), ElementsAre("custom.conf"));
}

TEST_F(Manager, NeverWritesTheDefaultFile)
{
    const char *before = "; kept as it is\n[Video]\noutput=hdmi\n";
    writeDefaultFile(before);
    customStorage()->setValue("Video", "output", "scart");
    temporaryStorage()->setValue("Video", "output", "component");
    customStorage()->remove("Video", "output");
    restart();

    EXPECT_EQ(contentOf(defaultFile()), before);
}

TEST_F(Manager, TakesTheEnvironmentAsItIsWhenTheManagerIsMade)
{
    hold(EnvironmentVariables, "Video", "changed", "before");
    hold(EnvironmentVariables, "Video", "removed", "before");
    manager();

    setVariable("STBAPP_VIDEO_ADDED", "after");
    setVariable("STBAPP_VIDEO_CHANGED", "after");
    qunsetenv("STBAPP_VIDEO_REMOVED");

    EXPECT_THAT(valueOf("Video", "added"), IsText("default"));
    EXPECT_THAT(valueOf("Video", "changed"), IsText("before"));
    EXPECT_THAT(valueOf("Video", "removed"), IsText("before"));
}

TEST_F(Manager, TakesTheEnvironmentAnewForEachManager)
{
    manager();
    setVariable("STBAPP_VIDEO_ADDED", "after");
    restart();

    EXPECT_THAT(valueOf("Video", "added"), IsText("after"));
}

TEST_F(Manager, ForgetsTheTemporaryStorageWhenItIsDestroyed)
{
    temporaryStorage()->setValue("Video", "output", "scart");
    restart();

    EXPECT_THAT(valueOf("Video", "output"), IsText("default"));
    EXPECT_THAT(temporaryStorage()->allKeys(), IsEmpty());
}

TEST_F(Manager, HasItsOwnTemporaryStorage)
{
    ConfigurationManager other(persistentPrefix(), defaultPrefix(), nullptr);
    temporaryStorage()->setValue("Video", "output", "scart");

    EXPECT_THAT(other.value("Video", "output", "default"), IsText("default"));
}

TEST_F(Manager, ItsStoragesKeepTheHandlerItWasMadeWith)
{
    const QString prefix = scratch.unwritablePrefix();
    RecordingHandler other;
    ConfigurationManager manager(prefix, defaultPrefix(), &handler);
    manager.setErrorHandler(&other);

    manager.dynamicStorage(CustomConfPersistent)->setValue("Video", "output", "scart");
    manager.independentStorage("ravel")->remove("State", "page");
    manager.dynamicStorage(DhcpOptionsConf);

    EXPECT_THAT(handler.messages(),
                ElementsAre("unable to write " + prefix + "custom.conf",
                            "unable to write " + prefix + "ravel.db"));
    EXPECT_THAT(other.messages(),
                ElementsAre("invalid dynamic storage internal error: invalid enumerator"));
}

TEST_F(Manager, StartsWithADefaultCommandLineRecord)
{
    const auto [level, firstText, flag, secondText] = manager().cmdLineArgs();

    EXPECT_EQ(level, -1);
    EXPECT_TRUE(firstText.isNull());
    EXPECT_FALSE(flag);
    EXPECT_TRUE(secondText.isNull());
}

TEST_F(Manager, KeepsACopyOfTheCommandLineRecord)
{
    stbui::CmdLineArgs args{42, "first", true, "second"};
    manager().setCmdLineArgs(args);
    args = {}; // cppcheck-suppress unreadVariable ; the manager must not read it either

    const auto [level, firstText, flag, secondText] = manager().cmdLineArgs();
    EXPECT_EQ(level, 42);
    EXPECT_EQ(firstText, "first");
    EXPECT_TRUE(flag);
    EXPECT_EQ(secondText, "second");
}

TEST_F(Manager, StoresNothingOfTheCommandLineRecord)
{
    manager().setCmdLineArgs({3, "first", true, "second"});
    restart();

    EXPECT_FALSE(QFile::exists(customFile()));
    EXPECT_EQ(manager().cmdLineArgs().logLevel, -1);
}
