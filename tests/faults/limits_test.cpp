// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// A process that lacks permissions, file descriptors, or the right to large files.

#include "support.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <csignal>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PermissionFaults : public FaultsFixture
{
protected:
    void SetUp() override
    {
        FaultsFixture::SetUp();
        if (geteuid() != 0)
            GTEST_SKIP() << "cannot become another user; run as root";
    }

    const QByteArray before = "[Audio]\nvolume=7\n";
};

using QtPermissionFaults = PermissionFaults;

TEST_F(QtPermissionFaults, ADirectoryThatIsNotWritableLosesTheChangeInSilence)
{
    writeCustomFile(before);
    changeMode("data/custom.conf", 0666);
    Application application;
    application.ask({"become ordinary user"});
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    EXPECT_EQ(application.value("Video", "output"), "scart");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
}

TEST_F(PermissionFaults, ANewFileInADirectoryThatIsNotWritableIsReported)
{
    Application application;
    application.ask({"become ordinary user"});
    openAndChange(application);

    EXPECT_THAT(application.reports(), ElementsAre(refusal()));
    EXPECT_THAT(application.value("Video", "output"), IsNothing());
    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_FALSE(QFile::exists(customFile()));
}

TEST_F(PermissionFaults, AMissingDirectoryThatCannotBeMadeIsReported)
{
    ASSERT_TRUE(QDir().rmdir(dataDirectory()));
    Application application;
    application.ask({"become ordinary user"});
    openAndChange(application);

    EXPECT_THAT(application.reports(), ElementsAre(refusal()));
    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_FALSE(QFile::exists(dataDirectory()));
}

class DirectoryFaults : public FaultsFixture
{
};

using QtDirectoryFaults = DirectoryFaults;

TEST_F(QtDirectoryFaults, ADirectoryThatVanishesBeforeTheWriteBackIsMadeAgain)
{
    Application application;
    open(application);
    application.set("Video", "output", "scart");
    ASSERT_TRUE(QDir(dataDirectory()).removeRecursively());
    application.turnEventLoop();

    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}

TEST_F(DirectoryFaults, ADirectoryInTheFilesPlaceIsInvalidAndReported)
{
    ASSERT_TRUE(QDir().mkpath(customFile()));
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), ElementsAre(refusal()));
    EXPECT_FALSE(application.isValid());
    EXPECT_THAT(application.value("Video", "output"), IsNothing());
    EXPECT_EQ(application.ask({"merged", "Video", "output"}), "hdmi");
    application.exit();
    EXPECT_TRUE(QDir(customFile()).isEmpty());
}

class LimitFaults : public FaultsFixture
{
protected:
    const QByteArray before = "[Audio]\nvolume=7\n";
};

using QtLimitFaults = LimitFaults;

TEST_F(QtLimitFaults, AFileSizeLimitCutsTheEndOfTheFileAndTellsNobody)
{
    const QByteArray content = "[Audio]\nname=" + QByteArray(1000, 'x') + '\n';
    writeCustomFile(content);
    Application application;
    application.ask({"limit file size", "200"}); // enough for the lock
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), content.left(200));
}

TEST_F(QtLimitFaults, AFileSizeLimitThatHoldsNoLockLosesTheChangeInSilence)
{
    writeCustomFile(before);
    Application application;
    application.ask({"limit file size", "10"});
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
}

TEST_F(QtLimitFaults, AFileSizeLimitEndsAProcessThatDoesNotIgnoreItsSignal)
{
    const QByteArray content = "[Audio]\nname=" + QByteArray(1000, 'x') + '\n';
    writeCustomFile(content);
    Application application;
    application.ask({"limit file size by signal", "200"}); // enough for the lock
    open(application);
    application.set("Video", "output", "scart");
    application.tell({"turn"});

    EXPECT_EQ(application.endingSignal(), SIGXFSZ);
    EXPECT_EQ(contentOf(customFile()), content);
    EXPECT_THAT(leftOvers(), ElementsAre("custom.conf.lock")) << "it names a dead process";
}

TEST_F(LimitFaults, WithoutFreeDescriptorsAChangeIsReported)
{
    writeCustomFile(before);
    Application application;
    open(application);
    ASSERT_TRUE(application.ask({"use up descriptors"}).toBool());
    application.set("Video", "output", "scart");

    EXPECT_THAT(application.reports(), ElementsAre(refusal()));
    EXPECT_EQ(application.value("Audio", "volume"), "7");
    EXPECT_TRUE(application.isValid());
    application.ask({"free descriptors"});
    application.set("Video", "rate", "50");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before + "\n[Video]\nrate=50\n");
}

TEST_F(QtLimitFaults, DescriptorsThatRunOutBeforeTheWriteBackLoseTheChangeInSilence)
{
    writeCustomFile(before);
    Application application;
    open(application);
    application.set("Video", "output", "scart");
    ASSERT_TRUE(application.ask({"use up descriptors"}).toBool());
    application.turnEventLoop();

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), before);
    application.ask({"free descriptors"});
    application.set("Video", "rate", "50");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before + "\n[Video]\noutput=scart\nrate=50\n");
}

TEST_F(QtLimitFaults, AManagerMadeWithoutFreeDescriptorsReadsNothingUntilItWrites)
{
    writeCustomFile(before);
    Application application;
    ASSERT_TRUE(application.ask({"use up descriptors"}).toBool());
    open(application);
    EXPECT_THAT(application.value("Audio", "volume"), IsNothing());
    EXPECT_EQ(application.ask({"merged", "Video", "output"}), "default");
    EXPECT_FALSE(application.isValid());
    application.ask({"free descriptors"});
    EXPECT_THAT(application.value("Audio", "volume"), IsNothing());

    application.set("Video", "output", "scart");
    application.turnEventLoop();

    EXPECT_EQ(application.value("Audio", "volume"), "7");
    EXPECT_EQ(contentOf(customFile()), before + "\n[Video]\noutput=scart\n");
}
