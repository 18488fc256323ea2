// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Processes that are killed while they write, that leave a lock behind, or that write one file.

#include "support.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QSysInfo>

#include <array>
#include <csignal>
#include <ctime>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using ::testing::IsEmpty;

class QtKillFaults : public FaultsFixture
{
protected:
    static constexpr int entries = 2000;

    // All entries of one write are alike, and none is missing; before the first write there are
    // none.
    bool isWhole() const
    {
        if (!QFile::exists(customFile()))
            return true;
        const QByteArray content = contentOf(customFile());
        QSet<QByteArray> values;
        int count = 0;
        for (const QByteArray &line : content.split('\n')) {
            if (!line.startsWith('k'))
                continue;
            values.insert(line.mid(line.indexOf('=')));
            ++count;
        }
        return count == entries && values.size() == 1 && content.endsWith('\n');
    }
};

TEST_F(QtKillFaults, AKilledWriterLeavesTheOldFileOrTheNewOneAndHoldsUpNobody)
{
    const int rounds = isLongForm() ? 1000 : 50;
    const unsigned seed = qEnvironmentVariableIsSet("STBCONFIG_FAULTS_SEED")
        ? unsigned(qEnvironmentVariableIntValue("STBCONFIG_FAULTS_SEED"))
        : std::random_device()() % 1000000;
    std::cout << "seed " << seed << ", given again by STBCONFIG_FAULTS_SEED\n";
    std::minstd_rand random{seed};
    int locks = 0;
    int emptyLocks = 0;
    int copies = 0;
    for (int round = 0; round < rounds; ++round) {
        Application application;
        open(application);
        // The next process would wait 30 seconds for a lock that holds.
        const QDateTime start = QDateTime::currentDateTimeUtc();
        application.ask({"set many", "Torn", QString::number(entries), "successor"});
        application.turnEventLoop();
        ASSERT_LT(start.secsTo(QDateTime::currentDateTimeUtc()), 25);
        ASSERT_TRUE(application.isValid());
        application.tell({"write for ever", QString::number(entries)});
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 40000));
        application.kill();

        ASSERT_TRUE(isWhole()) << contentOf(customFile()).toStdString();
        for (const QString &name : leftOvers()) {
            const QString path = dataDirectory() + '/' + name;
            if (name != "custom.conf.lock") {
                ++copies;
                QFile::remove(path);
            } else if (QFileInfo(path).size() > 0) {
                ++locks;
            } else { // killed before it wrote its name into the lock, which holds like any empty one
                ++emptyLocks;
                QFile::remove(path);
            }
        }
    }
    std::cout << rounds << " writers killed, left over: " << locks << " locks, " << emptyLocks
              << " empty locks, " << copies << " copies of the file\n";
    if (isLongForm()) {
        EXPECT_GT(locks, 0) << "nobody was killed while writing";
    }
}

TEST_F(QtKillFaults, AWriterKilledBeforeItRenamesLeavesACopyThatNobodyRemoves)
{
    writeCustomFile("[Audio]\nvolume=7\n");
    qputenv("FAULTS_RUN", "kill -KILL $PPID");
    Application killed("rename:custom.conf:run:1");
    qunsetenv("FAULTS_RUN");
    open(killed);
    killed.set("Video", "output", "scart");
    killed.tell({"turn"});
    ASSERT_EQ(killed.endingSignal(), SIGKILL);
    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n");

    Application next;
    openAndChange(next);

    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n");
    ASSERT_EQ(leftOvers().size(), 1);
    EXPECT_TRUE(
        QRegularExpression("^custom\\.conf\\.[A-Za-z]{6}$").match(leftOvers()[0]).hasMatch())
        << leftOvers()[0].toStdString();
}

class QtLockFaults : public FaultsFixture
{
protected:
    QString lock() const { return customFile() + ".lock"; }

    // Leaves a lock behind whose last change is so many seconds old.
    void leaveLock(const QByteArray &content, int age) const
    {
        QFile file(scratch.write("data/custom.conf.lock", content));
        ASSERT_TRUE(file.open(QFile::ReadWrite));
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-age),
                                     QFileDevice::FileModificationTime));
    }

    static QByteArray lockOf(qint64 process, const QByteArray &name, const QByteArray &boot)
    {
        return QByteArray::number(process) + '\n' + name + '\n'
            + QSysInfo::machineHostName().toLocal8Bit() + '\n' + QSysInfo::machineUniqueId() + '\n'
            + boot + '\n';
    }

    // Tells whether a write is done in that time. Removes the lock if a write waits longer.
    bool writesWithin(int seconds)
    {
        Application application;
        open(application);
        application.set("Video", "output", "scart");
        application.tell({"turn"});
        for (int tenth = 0; tenth < 10 * seconds && !QFile::exists(customFile()); ++tenth)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const bool done = QFile::exists(customFile());
        if (!done)
            QFile::remove(lock());
        application.answer();
        EXPECT_TRUE(application.isValid());
        application.exit();
        EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
        EXPECT_THAT(leftOvers(), IsEmpty());
        return done;
    }

    // At this age, every lock that can be taken over has been, long ago.
    void makeOld() const
    {
        const timespec anHourAgo{std::time(nullptr) - 3600, 0};
        const std::array<timespec, 2> times{anHourAgo, anHourAgo};
        ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(lock()).constData(), times.data(),
                            AT_SYMLINK_NOFOLLOW),
                  0);
    }

    // Tells whether the application waits for an old lock. It never gets it and has to be killed.
    bool holdsAWriteWithoutEnd(const QStringList &before = {"keys"})
    {
        Application application;
        open(application);
        application.ask(before);
        application.set("Video", "output", "scart");
        application.tell({"turn"});
        const bool waits = !application.answersWithin(aMoment * 1000);
        application.kill();
        return waits && !QFile::exists(customFile());
    }

    // This is long enough to see that a write waits, and too short for its wait to end.
    static constexpr int aMoment = 1;
    static constexpr int ratherLong = 20;
};

TEST_F(QtLockFaults, AnEmptyLockHoldsAWrite)
{
    leaveLock("", 0);

    EXPECT_FALSE(writesWithin(aMoment));
}

TEST_F(QtLockFaults, ALockOfZerosHoldsAWrite)
{
    leaveLock(QByteArray(100, '\0'), 0);

    EXPECT_FALSE(writesWithin(aMoment));
}

TEST_F(QtLockFaults, AnEmptyLockHoldsNoWriteOnceItIs30SecondsOld)
{
    leaveLock("", 31);

    EXPECT_TRUE(writesWithin(ratherLong));
}

TEST_F(QtLockFaults, AnEmptyLockFromTheFutureHoldsNoWrite)
{
    leaveLock("", -3600);

    EXPECT_TRUE(writesWithin(ratherLong));
}

TEST_F(QtLockFaults, AnEmptyLockHoldsAWriteForHalfAMinute)
{
    if (!isLongForm())
        GTEST_SKIP() << "takes half a minute; run with STBCONFIG_FAULTS_LONG=1";
    leaveLock("", 0);
    Application application;
    const QDateTime start = QDateTime::currentDateTimeUtc();
    openAndChange(application);
    const qint64 waited = start.secsTo(QDateTime::currentDateTimeUtc());

    EXPECT_GE(waited, 29);
    std::cout << "waited " << waited << " seconds\n";
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}

TEST_F(QtLockFaults, TheLockOfADeadProcessHoldsNoWrite)
{
    leaveLock(lockOf(4194305, "faults_application", QSysInfo::bootUniqueId()), 0);

    EXPECT_TRUE(writesWithin(ratherLong));
}

TEST_F(QtLockFaults, TheLockOfAnEarlierBootHoldsNoWrite)
{
    leaveLock(lockOf(getpid(), "stbconfig_faults_test", "another boot"), 0);

    EXPECT_TRUE(writesWithin(ratherLong));
}

TEST_F(QtLockFaults, TheLockOfALivingProcessHoldsAWrite)
{
    leaveLock(lockOf(getpid(), "stbconfig_faults_test", QSysInfo::bootUniqueId()), 0);

    EXPECT_FALSE(writesWithin(aMoment));
}

TEST_F(QtLockFaults, TheLockOfALivingProcessHoldsNoWriteOnceItIs30SecondsOld)
{
    leaveLock(lockOf(getpid(), "stbconfig_faults_test", QSysInfo::bootUniqueId()), 31);

    EXPECT_TRUE(writesWithin(ratherLong));
}

TEST_F(QtLockFaults, AFifoInItsPlaceHoldsAWriteWithoutEnd)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(lock()).constData(), 0666), 0);
    makeOld();

    EXPECT_TRUE(holdsAWriteWithoutEnd());
}

TEST_F(QtLockFaults, ADirectoryInItsPlaceHoldsAWriteWithoutEnd)
{
    ASSERT_TRUE(QDir().mkdir(lock()));
    makeOld();

    EXPECT_TRUE(holdsAWriteWithoutEnd());
}

TEST_F(QtLockFaults, ALinkThatLeadsNowhereHoldsAWriteWithoutEnd)
{
    ASSERT_TRUE(QFile::link("missing", lock()));
    makeOld();

    EXPECT_TRUE(holdsAWriteWithoutEnd());
}

TEST_F(QtLockFaults, AnOldOneThatMayNotBeRemovedHoldsAWriteWithoutEnd)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "cannot become another user; run as root";
    leaveLock("", 3600);
    changeMode("data", 01777); // like /tmp: users remove only their own files

    EXPECT_TRUE(holdsAWriteWithoutEnd({"become ordinary user"}));
}

class QtProcessFaults : public FaultsFixture
{
};

TEST_F(QtProcessFaults, TwoThatWriteDifferentEntriesLoseNone)
{
    const int changes = isLongForm() ? 200 : 20;
    Application first;
    Application second;
    open(first);
    open(second);
    first.tell({"write many", "First", QString::number(changes)});
    second.tell({"write many", "Second", QString::number(changes)});
    EXPECT_TRUE(first.answer().toBool());
    EXPECT_TRUE(second.answer().toBool());

    Application fresh;
    open(fresh);
    EXPECT_EQ(fresh.ask({"keys"}), 2 * changes);
    EXPECT_TRUE(first.isValid());
    EXPECT_TRUE(second.isValid());
    EXPECT_THAT(leftOvers(), IsEmpty());
}

TEST_F(QtProcessFaults, TwoThatWriteOneEntryLeaveTheLaterOne)
{
    Application first;
    Application second;
    open(first);
    open(second);
    first.set("Video", "output", "scart");
    second.set("Video", "output", "vga");
    second.turnEventLoop();
    first.turnEventLoop();

    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
    EXPECT_EQ(second.value("Video", "output"), "vga");
}

// A file whose size and time stamp are as this process left them is not read again. The stamp is set
// back here; a kernel gives the same one to all that happens within a few milliseconds, and some file
// systems to all within a second or two.
TEST_F(QtProcessFaults, AChangeOfEqualLengthWithinOneTimeStampIsOverwritten)
{
    writeCustomFile("[Audio]\nvolume=7\n");
    struct stat stamp = {};
    ASSERT_EQ(stat(QFile::encodeName(customFile()).constData(), &stamp), 0);
    Application first;
    open(first);
    Application second;
    open(second);
    second.set("Audio", "volume", "9");
    second.exit();
    ASSERT_EQ(contentOf(customFile()), "[Audio]\nvolume=9\n");
    const std::array<timespec, 2> times{stamp.st_atim, stamp.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(customFile()).constData(), times.data(), 0), 0);

    first.set("Video", "output", "scart");
    first.turnEventLoop();

    EXPECT_TRUE(first.isValid());
    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n");
}

TEST_F(QtProcessFaults, AForkedChildThatDestroysItsManagerWritesAnOlderValueBack)
{
    Application application;
    open(application);
    application.set("Video", "output", "older");
    ASSERT_TRUE(application.ask({"fork", "exit"}).toBool());
    application.set("Video", "output", "newer");
    application.turnEventLoop();
    ASSERT_EQ(contentOf(customFile()), "[Video]\noutput=newer\n");
    ASSERT_TRUE(application.ask({"let child end"}).toBool());

    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=older\n");
    EXPECT_EQ(application.value("Video", "output"), "newer");
    EXPECT_TRUE(application.isValid());
}

TEST_F(QtProcessFaults, AForkedChildThatLeavesByUnderscoreExitWritesNothing)
{
    Application application;
    open(application);
    application.set("Video", "output", "older");
    ASSERT_TRUE(application.ask({"fork", "_exit"}).toBool());
    application.set("Video", "output", "newer");
    application.turnEventLoop();
    ASSERT_TRUE(application.ask({"let child end"}).toBool());

    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=newer\n");
}

TEST_F(QtProcessFaults, TwoManagersOfOneProcessLoseNoChange)
{
    Application application;
    open(application);
    application.set("Video", "output", "scart");
    application.ask({"set beside", persistentPrefix(), defaultPrefix(), "Audio", "volume", "7"});

    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n")
        << "the second manager is gone, so everything is written";
    EXPECT_EQ(application.value("Audio", "volume"), "7");
    application.exit();
    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n");
}

TEST_F(QtProcessFaults, AFileThatVanishesIsMadeAgainWithTheChangesAlone)
{
    writeCustomFile("[Audio]\nvolume=7\n");
    Application application;
    open(application);
    EXPECT_EQ(application.value("Audio", "volume"), "7");
    ASSERT_TRUE(QFile::remove(customFile()));
    application.set("Video", "output", "scart");
    application.turnEventLoop();

    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}
