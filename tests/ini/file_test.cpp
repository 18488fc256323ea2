// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class IniFile : public SettingsFixture
{
protected:
    IStorableBackend &file() { return *customStorage(); }
};

TEST_F(IniFile, HoldsASettingAsAnEntryOfItsSection)
{
    file().setValue("Logging", "level", "debug");
    restart();

    EXPECT_EQ(contentOf(customFile()), "[Logging]\nlevel=debug\n");
}

TEST_F(IniFile, ReadsAnEntryOfASection)
{
    writeCustomFile("[Logging]\nlevel=debug\nresponseLengthLimit=512\n");

    EXPECT_TRUE(file().contains("Logging", "level"));
    EXPECT_THAT(file().value("Logging", "level"), IsText("debug"));
    EXPECT_THAT(file().value("Logging", "responseLengthLimit"), IsText("512"));
    EXPECT_FALSE(file().contains("Logging", "limit"));
    EXPECT_FALSE(file().contains("level", "Logging"));
}

TEST_F(IniFile, DistinguishesCase)
{
    writeCustomFile("[Logging]\nlevel=debug\n");

    EXPECT_FALSE(file().contains("Logging", "Level"));
    EXPECT_FALSE(file().contains("logging", "level"));
}

TEST_F(IniFile, AnEmptyGroupIsTheGeneralSection)
{
    writeCustomFile("top=1\n[General]\nlevel=2\n");

    EXPECT_THAT(file().value("", "top"), IsText("1"));
    EXPECT_THAT(file().value("", "level"), IsText("2"));
    EXPECT_FALSE(file().contains("General", "level"));
}

TEST_F(IniFile, AKeyWithASlashIsAnEntryOfADeeperGroup)
{
    file().setValue("a", "b/c", "deep");

    EXPECT_THAT(file().value("a/b", "c"), IsText("deep"));
    EXPECT_THAT(file().allKeys(), ElementsAre("a/b/c"));
    restart();
    EXPECT_EQ(contentOf(customFile()), "[a]\nb\\c=deep\n");
}

TEST_F(IniFile, IgnoresSlashesAtTheEnds)
{
    writeCustomFile("[Logging]\nlevel=debug\n");

    EXPECT_THAT(file().value("/Logging/", "/level/"), IsText("debug"));
}

TEST_F(IniFile, ListsEntriesWithTheirGroupsAndThoseWithoutBare)
{
    writeCustomFile("top=1\n[Video]\noutput=hdmi\n[Audio]\nvolume=7\n");

    EXPECT_THAT(file().allKeys(),
                ::testing::UnorderedElementsAre("top", "Video/output", "Audio/volume"));
}

TEST_F(IniFile, RemovesOneEntry)
{
    writeCustomFile("[Video]\noutput=hdmi\nrate=50\n");
    file().remove("Video", "output");

    EXPECT_FALSE(file().contains("Video", "output"));
    EXPECT_THAT(file().value("Video", "output"), IsInvalid());
    restart();
    EXPECT_EQ(contentOf(customFile()), "[Video]\nrate=50\n");
}

TEST_F(IniFile, RemovingAnEmptyKeyRemovesTheWholeGroup)
{
    writeCustomFile("[Logging]\nlevel=debug\nlimit=512\ndeeper\\key=1\n[Video]\noutput=hdmi\n");
    file().remove("Logging", "");

    EXPECT_THAT(file().allKeys(), ElementsAre("Video/output"));
}

TEST_F(IniFile, RemovingTwoEmptyNamesRemovesEverything)
{
    writeCustomFile("top=1\n[Logging]\nlevel=debug\n[Video]\noutput=hdmi\n");
    file().remove("", "");

    EXPECT_THAT(file().allKeys(), IsEmpty());
    restart();
    EXPECT_EQ(contentOf(customFile()), "");
}

TEST_F(IniFile, TwoEmptyNamesAreAnEntryWithAnEmptyName)
{
    file().setValue("", "", "nameless");

    EXPECT_THAT(file().value("", ""), IsText("nameless"));
    EXPECT_THAT(file().allKeys(), ElementsAre(""));
    restart();
    EXPECT_EQ(contentOf(customFile()), "[General]\n=nameless\n");
    scratch.write("moved/custom.conf", contentOf(customFile()));
    ConfigurationManager second(scratch.path("moved/"), defaultPrefix(), nullptr);
    EXPECT_THAT(second.value("", "", "default"), IsText("nameless"));
}

TEST_F(IniFile, ShowsAChangeAtOnceButWritesItLater)
{
    file().setValue("Video", "output", "hdmi");

    EXPECT_THAT(file().value("Video", "output"), IsText("hdmi"));
    EXPECT_FALSE(QFile::exists(customFile()));
    restart();
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=hdmi\n");
}

TEST_F(IniFile, KeepsTheTypeOfAValueUntilItIsReadFromTheFile)
{
    file().setValue("Video", "rate", 50);

    EXPECT_THAT(file().value("Video", "rate"), IsVariant(50));
}

TEST_F(IniFile, CreatesMissingDirectoriesWithTheFirstChange)
{
    {
        ConfigurationManager manager(scratch.path("a/b/"), defaultPrefix(), &handler);
        EXPECT_FALSE(QFile::exists(scratch.path("a")));

        manager.dynamicStorage(CustomConfPersistent)->setValue("Video", "output", "hdmi");

        EXPECT_TRUE(QDir(scratch.path("a/b")).exists());
    }
    EXPECT_EQ(contentOf(scratch.path("a/b/custom.conf")), "[Video]\noutput=hdmi\n");
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(IniFile, ThatIsMalformedStillTakesChanges)
{
    writeCustomFile("[Video]\noutput=hdmi\nno equals sign here\n");
    file().allKeys();
    ASSERT_FALSE(file().isValid());

    file().setValue("Audio", "volume", 7);

    EXPECT_THAT(file().value("Audio", "volume"), IsVariant(7));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

// Root may do everything, so the script runs in a process of an ordinary user.
template <typename Script>
void asOrdinaryUser(Script script)
{
    const auto runScript = [&script] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0)
            ADD_FAILURE() << "cannot become an ordinary user";
        script();
        std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(runScript(), ::testing::ExitedWithCode(0), "");
}

class ProtectedIniFile : public SettingsFixture
{
protected:
    void protectCustomFile(mode_t mode)
    {
        writeCustomFile("[Video]\noutput=scart\n");
        for (const char *directory : {"", "data"})
            ASSERT_EQ(chmod(scratch.path(directory).toLocal8Bit().constData(), 0777), 0);
        changeMode(mode);
    }

    void changeMode(mode_t mode)
    {
        ASSERT_EQ(chmod(customFile().toLocal8Bit().constData(), mode), 0);
    }
};

// Its directory would let a new file take its place.
TEST_F(ProtectedIniFile, ThatIsReadOnlyStaysAsItIs)
{
    protectCustomFile(0444);

    asOrdinaryUser([this] {
        customStorage()->setValue("Video", "output", "vga");
        customStorage()->setValue("Audio", "volume", 7);
        customStorage()->remove("Video", "output");

        const QString refusal = "unable to write " + customFile();
        EXPECT_THAT(handler.messages(), ElementsAre(refusal, refusal, refusal));
        EXPECT_THAT(customStorage()->value("Video", "output"), IsText("scart"));
        EXPECT_FALSE(customStorage()->contains("Audio", "volume"));
        EXPECT_TRUE(customStorage()->isValid());
        restart();
    });

    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}

TEST_F(ProtectedIniFile, ThatIsUnreadableIsInvalidAnswersInSilenceAndRefusesChanges)
{
    writeDefaultFile("[Video]\noutput=hdmi\n");
    for (const QString &path : {scratch.path("etc"), defaultFile()})
        ASSERT_EQ(chmod(path.toLocal8Bit().constData(), 0755), 0);
    protectCustomFile(0222);

    asOrdinaryUser([this] {
        EXPECT_FALSE(customStorage()->contains("Video", "output"));
        EXPECT_THAT(customStorage()->value("Video", "output"), IsInvalid());
        EXPECT_THAT(customStorage()->allKeys(), IsEmpty());
        EXPECT_FALSE(customStorage()->isValid());
        EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
        EXPECT_THAT(handler.messages(), IsEmpty());

        customStorage()->setValue("Audio", "volume", 7);

        EXPECT_THAT(handler.messages(), ElementsAre("unable to write " + customFile()));
        restart();
    });

    changeMode(0644);
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}

class UnwritableIniFile : public SettingsFixture
{
protected:
    ConfigurationManager unwritableManager{scratch.unwritablePrefix(), defaultPrefix(), &handler};
    IStorableBackend &file = *unwritableManager.dynamicStorage(CustomConfPersistent);
    QString refusal = "unable to write " + scratch.unwritablePrefix() + "custom.conf";
};

TEST_F(UnwritableIniFile, ReportsEveryRefusedChange)
{
    file.setValue("Video", "output", "hdmi");
    EXPECT_THAT(handler.messages(), ElementsAre(refusal));

    file.setValue("Video", "output", "hdmi");
    file.remove("Video", "output");
    EXPECT_THAT(handler.messages(), ElementsAre(refusal, refusal, refusal));
}

TEST_F(UnwritableIniFile, HoldsNothingOfARefusedChange)
{
    file.setValue("Video", "output", "hdmi");

    EXPECT_FALSE(file.contains("Video", "output"));
    EXPECT_THAT(file.value("Video", "output"), IsInvalid());
    EXPECT_THAT(file.allKeys(), IsEmpty());
}

TEST_F(UnwritableIniFile, RefusesInSilenceIfItsManagerWasMadeWithoutAHandler)
{
    ConfigurationManager silent(scratch.unwritablePrefix(), defaultPrefix(), nullptr);
    silent.setErrorHandler(&handler);
    IStorableBackend *storage = silent.dynamicStorage(CustomConfPersistent);
    storage->setValue("Video", "output", "hdmi");
    storage->remove("Video", "output");

    EXPECT_FALSE(storage->contains("Video", "output"));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(UnwritableIniFile, IsReadWithoutAReport)
{
    file.isValid();
    file.contains("Video", "output");
    file.value("Video", "output");
    file.allKeys();

    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(UnwritableIniFile, IsAskedAnewForEachChange)
{
    file.setValue("Video", "output", "refused");
    ASSERT_TRUE(QFile::remove(scratch.path("not-a-directory")));
    file.setValue("Video", "output", "taken");

    EXPECT_THAT(file.value("Video", "output"), IsText("taken"));
    EXPECT_THAT(handler.messages(), ElementsAre(refusal));
}

TEST_F(UnwritableIniFile, IsReportedByItsAbsoluteCleanPath)
{
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(scratch.path("")));
    ConfigurationManager relative("x/..//not-a-directory/./", "", &handler);
    relative.dynamicStorage(CustomConfPersistent)->setValue("Video", "output", "hdmi");
    const QString absolute = QDir::currentPath() + "/not-a-directory/custom.conf";
    QDir::setCurrent(before);

    EXPECT_THAT(handler.messages(), ElementsAre("unable to write " + absolute));
}
