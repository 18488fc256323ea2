// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// System calls that fail once, as they do where a disk begins to die.

#include "support.h"

using ::testing::IsEmpty;

class QtCallFaults : public FaultsFixture
{
protected:
    // Returns what an application has left of the file after one change; nobody has reported a
    // fault to it.
    QByteArray afterAChange(const char *faults)
    {
        writeCustomFile(before);
        Application application(faults);
        openAndChange(application);

        EXPECT_THAT(application.reports(), IsEmpty());
        EXPECT_TRUE(application.isValid());
        application.exit();
        return contentOf(customFile());
    }

    const QByteArray before = "[Audio]\nvolume=7\n";
    const QByteArray changeAlone = "[Video]\noutput=scart\n";
    const QByteArray after = before + '\n' + changeAlone;
};

TEST_F(QtCallFaults, AReadThatFailsOnceLosesAllOtherEntriesAndTellsNobody)
{
    EXPECT_EQ(afterAChange("read:custom.conf:EIO:1"), changeAlone);
}

TEST_F(QtCallFaults, ALookForTheFileThatFailsOnceLosesAllOtherEntriesAndTellsNobody)
{
    EXPECT_EQ(afterAChange("access:custom.conf:EIO:1"), changeAlone);
}

TEST_F(QtCallFaults, AReadThatFailsInTheMiddleLosesTheEndAndTellsNobody)
{
    writeCustomFile("[Audio]\nvolume=7\n\n[Zone]\nname=x\n");
    // The first read gives the 16 bytes up to the first entry's end.
    Application application("read:custom.conf:short:1 read:custom.conf:EIO:2");
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), after);
}

TEST_F(QtCallFaults, AReadThatFailsInTheWriteBackLosesAllOtherEntriesAndTellsNobody)
{
    writeCustomFile(before);
    // The first two reads happen when the file is opened.
    Application application("read:custom.conf:EIO:3");
    open(application);
    EXPECT_EQ(application.value("Audio", "volume"), "7");
    Application other;
    open(other);
    other.set("Audio", "volume", "11"); // so that the file is read again
    other.exit();
    application.set("Video", "output", "scart");
    application.turnEventLoop();

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), changeAlone);
}

TEST_F(QtCallFaults, AFlushThatFailsIsToldToNobody)
{
    const QString log = scratch.path("calls");
    qputenv("FAULTS_LOG", log.toLocal8Bit());
    EXPECT_EQ(afterAChange("fdatasync:NEW:EIO:all fsync:NEW:EIO:all"), after);
    qunsetenv("FAULTS_LOG");

    EXPECT_THAT(contentOf(log).toStdString(), ::testing::ContainsRegex("sync .* EIO\n"));
}

TEST_F(QtCallFaults, ARenameThatFailsLosesTheChangeInSilence)
{
    writeCustomFile(before);
    Application application("rename:custom.conf:EIO:1");
    openAndChange(application);

    EXPECT_THAT(application.reports(), IsEmpty());
    EXPECT_FALSE(application.isValid());
    application.exit();
    EXPECT_EQ(contentOf(customFile()), before);
    EXPECT_THAT(leftOvers(), IsEmpty());
}
