// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// These tests show what a power cut leaves of a write: powercut.py derives it from the recorded system
// calls, and powercut_disks.py cuts the power of real file systems.

#include "support.h"

#include <QtCore/QProcess>

#include <iostream>

using ::testing::HasSubstr;

namespace {

struct Verdicts
{
    int status;
    std::string table;
};

Verdicts verdictsOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(POWERCUT_PYTHON,
                  QStringList{POWERCUT_SOURCES + program, "--application", FAULTS_APPLICATION,
                              "--command", POWERCUT_COMMAND}
                      + arguments);
    EXPECT_TRUE(process.waitForFinished(-1));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return {process.exitCode(), process.readAll().toStdString()};
}

void expectNoComplaint(const QString &program, const QStringList &arguments)
{
    constexpr int nothingTried = 77;
    const Verdicts verdicts = verdictsOf(program, arguments);
    std::cout << verdicts.table;
    if (verdicts.status == nothingTried)
        GTEST_SKIP() << verdicts.table;
    EXPECT_EQ(verdicts.status, 0) << verdicts.table;
}

} // namespace

TEST(PowerCut, LeavesTheOldSettingsOrTheNewOnesWholeWhileTheLibraryWrites)
{
    expectNoComplaint("powercut.py", {"library", "library-twice", "library-first"});
}

TEST(PowerCut, LeavesTheNewSettingsOnceTheyWereMadeDurable)
{
    expectNoComplaint("powercut.py", {"durable"});
}

TEST(PowerCut, MayTakeBackWhatWasMadeDurableInADirectoryThatTheLibraryHasMade)
{
    expectNoComplaint("powercut.py", {"durable-first"});
}

TEST(PowerCut, LeavesTheNewSettingsAfterACommandThatEndedWith0)
{
    expectNoComplaint("powercut.py", {"set", "set-first", "unset"});
}

TEST(PowerCut, LeavesAnEmptyOrATornFileWhereAFlushHasFailed)
{
    expectNoComplaint("powercut.py", {"failing-flush"});
}

class PowerCutModel : public ::testing::Test
{
protected:
    static void expectComplaint(const QStringList &arguments, const char *complaint)
    {
        constexpr int complained = 1;
        constexpr int nothingTried = 77;
        const Verdicts verdicts = verdictsOf("powercut.py", arguments);
        if (verdicts.status == nothingTried)
            GTEST_SKIP() << verdicts.table;
        EXPECT_EQ(verdicts.status, complained);
        EXPECT_THAT(verdicts.table, HasSubstr(complaint));
    }
};

TEST_F(PowerCutModel, FindsTheEmptyFileThatTheFlushOfTheFilePrevents)
{
    expectComplaint({"--forget", "file", "library"},
                    "library: a change: empty, if the power is cut after the end");
}

TEST_F(PowerCutModel, FindsTheOldSettingsThatTheFlushOfTheDirectoryPrevents)
{
    expectComplaint({"--forget", "directory", "set"},
                    "stbconfig set: old, if the power is cut after the end");
    expectComplaint({"--forget", "directory", "durable"},
                    "library: a change made durable: old, if the power is cut after the end");
}

class RealPowerCut : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!mayMount())
            GTEST_SKIP() << "no mount namespaces here; run as root";
    }

    static void expectNothingLost(const QString &fileSystem)
    {
        const QStringList length = isLongForm()
            ? QStringList{"--rounds", "50", "--waits", "0,10,45"}
            : QStringList{"--rounds", "2"};
        expectNoComplaint("powercut_disks.py", length + QStringList{fileSystem});
    }
};

TEST_F(RealPowerCut, OnExt4LeavesWholeSettingsAndWhatIsPromised) { expectNothingLost("ext4"); }

TEST_F(RealPowerCut, OnXfsLeavesWholeSettingsAndWhatIsPromised) { expectNothingLost("xfs"); }

TEST_F(RealPowerCut, OnBtrfsLeavesWholeSettingsAndWhatIsPromised) { expectNothingLost("btrfs"); }
