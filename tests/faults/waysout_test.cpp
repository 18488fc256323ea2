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
