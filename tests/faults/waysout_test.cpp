// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// The functions that docs/reliability.md offers, in an application to which the faults happen.

#include "support.h"

#include <QtCore/QFile>

using ::testing::IsEmpty;

class WaysOut : public FaultsFixture
{
protected:
    bool findsAllOnDisk(Application &application) const
    {
        return application.ask({"is on disk", customFile()}).toBool();
    }

    static bool toldThatItIsWritten(Application &application)
    {
        application.set("Video", "output", "scart");
        const QJsonValue told = application.ask({"when written"});
        EXPECT_TRUE(told.isBool()) << "not called back";
        return told.toBool();
    }
};

TEST_F(WaysOut, AChangeThatIsWrittenIsConfirmedAndFoundOnTheDisk)
{
    Application application;
    open(application);

    EXPECT_TRUE(toldThatItIsWritten(application));
    EXPECT_TRUE(findsAllOnDisk(application));
    application.set("Video", "rate", "50");
    EXPECT_FALSE(findsAllOnDisk(application));
}

TEST_F(WaysOut, AChangeThatAFullDiskRefusesIsNotConfirmed)
{
    if (!mayMount())
        GTEST_SKIP() << "no mount namespaces here; run as root";
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile("[Audio]\nvolume=7\n");
    disk.fill(0);
    Application application;
    open(application);

    EXPECT_FALSE(toldThatItIsWritten(application));
}

TEST_F(WaysOut, AnAlmostFullDiskIsSeenBeforeAndTheLossAfterwards)
{
    if (!mayMount())
        GTEST_SKIP() << "no mount namespaces here; run as root";
    const SmallDisk disk(dataDirectory(), "size=256k");
    writeCustomFile("[Audio]\nvolume=7\n");
    Application application;
    EXPECT_TRUE(application.ask({"has room", customFile()}).toBool());
    disk.fill(4096);
    EXPECT_FALSE(application.ask({"has room", customFile()}).toBool());
    open(application);
    EXPECT_TRUE(toldThatItIsWritten(application));
    EXPECT_FALSE(findsAllOnDisk(application));

    disk.clear();
    EXPECT_TRUE(toldThatItIsWritten(application));
    EXPECT_TRUE(findsAllOnDisk(application));
    EXPECT_EQ(onDisk("Audio", "volume"), "7");
}

TEST_F(WaysOut, TheEndThatASizeLimitCutsIsMissedOnTheDisk)
{
    writeCustomFile("[Video]\noutput=hdmi\n\n[Zone]\nname=" + QByteArray(1000, 'x') + '\n');
    Application application;
    application.ask({"limit file size", "200"});
    open(application);

    EXPECT_TRUE(toldThatItIsWritten(application));
    EXPECT_EQ(onDisk("Video", "output"), "scart");
    EXPECT_FALSE(findsAllOnDisk(application));
}

TEST_F(WaysOut, AFileThatWasReadMayBeWritten)
{
    const auto wasRead = [this] {
        Application application;
        open(application);
        return application.ask({"was read", customFile()}).toBool();
    };
    EXPECT_TRUE(wasRead()) << "there is none yet";
    writeCustomFile("");
    EXPECT_TRUE(wasRead());
    writeCustomFile("[Audio]\nvolume=7\nlist=a, b\n");
    EXPECT_TRUE(wasRead());
}

TEST_F(WaysOut, AFileThatWasNotReadWholeIsSeenBeforeItIsWritten)
{
    writeCustomFile("[Audio]\nvolume=7\n\n[Zone]\nname=x\n");
    for (const char *faults :
         {"read:custom.conf:EIO:1", "access:custom.conf:EIO:1", "read:custom.conf:EIO:all",
          "access:custom.conf:EIO:all", "read:custom.conf:short:1 read:custom.conf:EIO:2"}) {
        Application application(faults);
        open(application);
        EXPECT_FALSE(application.ask({"was read", customFile()}).toBool()) << faults;
    }
    writeCustomFile("[Audio]\nbroken\nvolume=7\n");
    Application application;
    open(application);
    EXPECT_FALSE(application.ask({"was read", customFile()}).toBool()) << "a line would be lost";
}

TEST_F(WaysOut, OnlyAFreshProcessReadsAFileAgainThatWasNotRead)
{
    writeCustomFile("[Audio]\nvolume=7\n");
    Application application("read:custom.conf:EIO:1");
    open(application);
    ASSERT_FALSE(application.ask({"was read", customFile()}).toBool());
    application.ask({"close"});
    open(application);
    EXPECT_FALSE(application.ask({"was read", customFile()}).toBool()) << "a second manager";
    application.exit();

    EXPECT_EQ(onDisk("Audio", "volume"), "7");
}

TEST_F(WaysOut, AnEmptyLockIsDroppedAndAnotherIsKept)
{
    const QString lock = scratch.write("data/custom.conf.lock", "");
    Application application;
    application.ask({"drop empty lock", customFile()});
    EXPECT_FALSE(QFile::exists(lock));

    scratch.write("data/custom.conf.lock", "1\n");
    application.ask({"drop empty lock", customFile()});
    EXPECT_TRUE(QFile::exists(lock));
}

TEST_F(WaysOut, AChangeThatIsMadeDurableIsOnTheDiskAtOnce)
{
    Application application;
    open(application);
    application.set("Video", "output", "scart");
    EXPECT_FALSE(findsAllOnDisk(application));

    EXPECT_TRUE(application.ask({"make durable", customFile()}).toBool());
    EXPECT_TRUE(findsAllOnDisk(application));
}

TEST_F(WaysOut, AChangeThatIsNotWrittenWholeIsNotCalledDurable)
{
    writeCustomFile("[Video]\noutput=hdmi\n\n[Zone]\nname=" + QByteArray(1000, 'x') + '\n');
    Application application;
    application.ask({"limit file size", "200"});
    open(application);
    application.set("Video", "output", "scart");

    EXPECT_FALSE(application.ask({"make durable", customFile()}).toBool());
    EXPECT_EQ(onDisk("Video", "output"), "scart");
}

TEST_F(WaysOut, AChangeIsNotCalledDurableIfTheFileOrItsDirectoryCannotBeFlushed)
{
    for (const char *fault : {"fsync:custom.conf:EIO:1", "fsync:data:EIO:1"}) {
        Application application(fault);
        open(application);
        application.set("Video", "output", fault);

        EXPECT_FALSE(application.ask({"make durable", customFile()}).toBool()) << fault;
        EXPECT_EQ(onDisk("Video", "output"), fault);
    }
}
