// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// A disk that cannot take the file, because it is too full, too small or read-only.

#include "support.h"

#include <sys/mount.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DiskFaults : public FaultsFixture
{
protected:
    void SetUp() override
    {
        FaultsFixture::SetUp();
        if (!mayMount())
            GTEST_SKIP() << "no mount namespaces here; run as root";
    }

    // This is more than Qt collects before it writes, so the first piece may find room and the last
    // one not.
    static QByteArray largeContent()
    {
        QByteArray content = "[Large]\n";
        for (int i = 0; i < 450; ++i)
            content +=
                QString("k%1=%2\n").arg(i, 6, 10, QChar('0')).arg(QString(90, 'v')).toLatin1();
        return content;
    }

    static constexpr qint64 page = 4096; // tmpfs gives space by the page
    const QByteArray before = "[Audio]\nvolume=7\n";
    const QByteArray after = "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n";
};

using QtDiskFaults = DiskFaults;

TEST_F(QtDiskFaults, AFullDiskLosesTheChangeInSilence)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.fill(0);
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    EXPECT_EQ(application.value("Video", "output"), "scart");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
    EXPECT_THAT(leftOvers(), ElementsAre("filler"));
}

TEST_F(QtDiskFaults, WhatAFullDiskRefusedIsWrittenWithTheNextChange)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.fill(0);
    Application application;
    openAndChange(application);
    disk.clear();
    application.turnEventLoop();
    EXPECT_EQ(contentOf(customFile()), before);

    application.set("Video", "rate", "50");
    application.turnEventLoop();

    EXPECT_EQ(contentOf(customFile()), after + "rate=50\n");
    EXPECT_FALSE(application.isValid()) << "it stays false as long as the manager lives";
}

TEST_F(QtDiskFaults, WhatAFullDiskRefusedIsWrittenByTheNextManagerOfTheProcess)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.fill(0);
    Application application;
    openAndChange(application);
    application.ask({"close"});
    disk.clear();
    EXPECT_EQ(contentOf(customFile()), before);

    open(application);

    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), after);
}

TEST_F(QtDiskFaults, AnAlmostFullDiskLeavesAnEmptyFileAndTellsNobody)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.fill(page); // the lock takes it, so the new file has no room
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(application.value("Audio", "volume"), "7");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), "");
}

TEST_F(QtDiskFaults, AnAlmostFullDiskCutsTheEndOfALargeFileAndTellsNobody)
{
    const SmallDisk disk(dataDirectory(), "size=128k");
    writeCustomFile(largeContent());
    disk.fill(11 * page);
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), largeContent().left(10 * page));
}

TEST_F(QtDiskFaults, WhatAnAlmostFullDiskCutIsMadeGoodByTheNextChange)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.fill(page);
    Application application;
    openAndChange(application);
    ASSERT_EQ(contentOf(customFile()), "");
    disk.clear();

    application.set("Video", "rate", "50");
    application.turnEventLoop();

    EXPECT_EQ(contentOf(customFile()), after + "rate=50\n");
}

TEST_F(QtDiskFaults, AFullInodeTableLosesTheChangeInSilence)
{
    const SmallDisk disk(dataDirectory(), "nr_inodes=2"); // one for the directory, one for the file
    writeCustomFile(before);
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
}

TEST_F(DiskFaults, AReadOnlyMountIsReported)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    disk.makeReadOnly();
    Application application;
    openAndChange(application);

    EXPECT_THAT(application.reports(), ElementsAre(refusal()));
    EXPECT_THAT(application.value("Video", "output"), IsNothing());
    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
}

TEST_F(QtDiskFaults, AMountThatTurnsReadOnlyBeforeTheWriteBackLosesTheChangeInSilence)
{
    const SmallDisk disk(dataDirectory(), "size=64k");
    writeCustomFile(before);
    Application application;
    open(application);
    application.set("Video", "output", "scart");
    disk.makeReadOnly();
    application.turnEventLoop();

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
}

TEST_F(QtDiskFaults, AFileMountedAloneLosesTheChangeInSilence)
{
    const QByteArray other = scratch.write("other", before).toLocal8Bit();
    writeCustomFile(before);
    const QByteArray file = customFile().toLocal8Bit();
    ASSERT_EQ(mount(other.constData(), file.constData(), nullptr, MS_BIND, nullptr), 0);
    {
        Application application;
        openAndChange(application);

        EXPECT_THAT(application.reports(), IsEmpty());
        EXPECT_FALSE(application.isValid());
    }
    EXPECT_EQ(umount2(file.constData(), MNT_DETACH), 0);
    EXPECT_EQ(contentOf(customFile()), before);
    EXPECT_EQ(contentOf(scratch.path("other")), before);
    EXPECT_THAT(leftOvers(), IsEmpty());
}
