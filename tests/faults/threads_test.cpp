// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Several threads use one manager: what holds under load, and which change can be forgotten.

#include "support.h"
#include "waysout.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <dlfcn.h>
#include <linux/futex.h>
#include <optional>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace stbconfig;

// Stretches the moment between the end of a write-back and the note that no change is pending: the
// thread of the event loop waits there until the other thread has made its change.
namespace stretched {

std::atomic_bool isWanted{false};
std::atomic_bool isWriting{false};
std::atomic_bool otherWaits{false};
std::atomic_bool otherIsDone{false};
thread_local bool isOther = false;

void waitFor(const std::atomic_bool &flag)
{
    for (int i = 0; i < 10000 && !flag; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(flag);
}

} // namespace stretched

// These stand in the places of the C library's functions. The event loop flushes while it holds the
// lock of the values.
extern "C" int fdatasync(int descriptor)
{
    if (stretched::isWanted && !stretched::isOther) {
        stretched::isWriting = true;
        stretched::waitFor(stretched::otherWaits);
    }
    return static_cast<int>(syscall(SYS_fdatasync, descriptor));
}

// Qt's mutexes wait and wake by this.
extern "C" long syscall(long number, ...) noexcept
{
    static const auto next = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    va_list list;
    va_start(list, number);
    std::array<long, 6> words{};
    for (long &word : words)
        word = va_arg(list, long);
    va_end(list);

    const bool isFutex = stretched::isWriting && number == SYS_futex;
    const long operation = isFutex ? words[1] & FUTEX_CMD_MASK : -1;
    if (operation == FUTEX_WAIT && stretched::isOther)
        stretched::otherWaits = true;
    const long result = next(number, words[0], words[1], words[2], words[3], words[4], words[5]);
    if (operation == FUTEX_WAKE && !stretched::isOther)
        stretched::waitFor(stretched::otherIsDone);
    return result;
}

class ThreadFaults : public FaultsFixture
{
protected:
    using Clock = std::chrono::steady_clock;

    // A file system in memory takes many more writes in the same time.
    void SetUp() override
    {
        FaultsFixture::SetUp();
        if (mayMount())
            memory.emplace(dataDirectory(), "size=64m");
    }

    void TearDown() override
    {
        restart();
        FaultsFixture::TearDown();
    }

    static Clock::time_point end()
    {
        return Clock::now() + std::chrono::seconds(isLongForm() ? 60 : 1);
    }

    // Runs an event loop in this thread until the other one has done its work.
    template <typename Work>
    static void withEventLoop(Work work)
    {
        std::atomic_bool done{false};
        std::thread other([&] {
            work();
            done = true;
        });
        while (!done)
            QCoreApplication::processEvents();
        other.join();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    // Another thread makes the change while the event loop writes "first".
    void changeAtTheEndOfAWriteBack(const char *text)
    {
        using namespace stretched;
        IStorableBackend *storage = customStorage();
        storage->setValue("Video", "output", "first");
        for (std::atomic_bool *flag : {&isWriting, &otherWaits, &otherIsDone})
            *flag = false;
        isWanted = true;
        withEventLoop([&] {
            isOther = true;
            waitFor(isWriting);
            storage->setValue("Video", "output", text);
            otherIsDone = true;
        });
        isWanted = false;
        isWriting = false;
    }

    bool isWritten(const QString &text) const
    {
        const QString line = "output=" + text + '\n';
        return QFile::exists(customFile()) && contentOf(customFile()).contains(line.toLatin1());
    }

    // Does the work in seven threads until the time is over, and the other work in this one.
    template <typename Work, typename OtherWork>
    static void underLoad(Work work, OtherWork otherWork)
    {
        std::atomic_bool stop{false};
        std::vector<std::thread> threads;
        for (int number = 0; number < 7; ++number) {
            threads.emplace_back([&, number] {
                for (int round = 0; !stop; ++round)
                    work(number, round);
            });
        }
        const auto stopAt = end();
        for (int round = 0; Clock::now() < stopAt; ++round)
            otherWork(round);
        stop = true;
        for (std::thread &thread : threads)
            thread.join();
    }

    std::optional<SmallDisk> memory;
    int argc = 0;
    QCoreApplication eventLoop{argc, nullptr};
};

using QtThreadFaults = ThreadFaults;

TEST_F(QtThreadFaults, AChangeFromAnotherThreadIsForgottenAtTheEndOfAWriteBack)
{
    changeAtTheEndOfAWriteBack("second");

    EXPECT_EQ(customStorage()->value("Video", "output"), "second");
    EXPECT_TRUE(customStorage()->isValid());
    restart();
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=first\n");
}

TEST_F(QtThreadFaults, AForgottenChangeIsWrittenWithTheNextOne)
{
    changeAtTheEndOfAWriteBack("second");
    QCoreApplication::processEvents();
    ASSERT_EQ(contentOf(customFile()), "[Video]\noutput=first\n");
    customStorage()->setValue("Video", "rate", "50");
    QCoreApplication::processEvents();

    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=second\nrate=50\n");
}

// This only counts how often the event loop forgets a change, but each that it forgets must stay forgotten.
TEST_F(QtThreadFaults, AChangeThatTheEventLoopForgetsIsForgottenForEver)
{
    int changes = 0;
    int forgotten = 0;
    int forgottenInTheEnd = 0;
    for (const auto stopAt = end(); Clock::now() < stopAt; ++changes) {
        IStorableBackend *storage = customStorage();
        const QString last = QString::number(changes);
        withEventLoop([&] {
            // The first one makes the event loop write, which the second one may run into.
            storage->setValue("Video", "output", "first");
            storage->setValue("Video", "output", last);
        });
        EXPECT_EQ(storage->value("Video", "output").toString(), last) << "the process sees it";
        if (isWritten(last))
            continue;
        ++forgotten;
        restart();
        if (!isWritten(last))
            ++forgottenInTheEnd;
    }
    EXPECT_GT(changes, 0);
    EXPECT_EQ(forgottenInTheEnd, forgotten);
    std::cout << changes << " last changes: " << forgotten << " forgotten by the event loop, "
              << forgottenInTheEnd << " of these by the destruction of the manager too\n";
}

TEST_F(QtThreadFaults, AChangeFromTheThreadOfTheManagerIsWrittenWhenItsEventLoopTurns)
{
    int forgotten = 0;
    int round = 0;
    for (const auto stopAt = end(); Clock::now() < stopAt; ++round) {
        customStorage()->setValue("Video", "output", "first");
        customStorage()->setValue("Video", "output", round);
        QCoreApplication::processEvents();
        forgotten += !isWritten(QString::number(round));
    }

    EXPECT_EQ(forgotten, 0);
    EXPECT_GT(round, 0);
}

TEST_F(QtThreadFaults, AChangeHandedToTheThreadOfTheManagerIsWritten)
{
    int forgotten = 0;
    int round = 0;
    for (const auto stopAt = end(); Clock::now() < stopAt; ++round) {
        IStorableBackend *storage = customStorage();
        withEventLoop([&] {
            for (const QString &text : {QString("first"), QString::number(round)})
                waysout::setFromAnyThread(&eventLoop, storage, "Video", "output", text);
        });
        forgotten += !isWritten(QString::number(round));
    }

    EXPECT_EQ(forgotten, 0);
    EXPECT_GT(round, 0);
}

TEST_F(QtThreadFaults, ChangesFromAnyThreadAreWrittenAtTheEndWhereNoEventLoopRuns)
{
    int forgotten = 0;
    int round = 0;
    for (const auto stopAt = end(); Clock::now() < stopAt; ++round) {
        IStorableBackend *storage = customStorage();
        std::thread([&] {
            storage->setValue("Video", "output", "first");
            storage->setValue("Video", "output", round);
        }).join();
        restart();
        forgotten += !isWritten(QString::number(round));
    }

    EXPECT_EQ(forgotten, 0);
    EXPECT_GT(round, 0);
}

TEST_F(QtThreadFaults, ReadersSeeOneOfTheWrittenValuesWhileTheEventLoopWrites)
{
    customStorage()->setValue("Video", "output", "0");
    const ConfigurationManager &shared = manager();
    std::atomic_int wrong{0};

    underLoad(
        [&](int, int) {
            wrong += shared.value("Video", "output", -1).toInt() < 0;
            wrong += shared.value("Video", "missing", 7).toInt() != 7;
            wrong += shared.defaultLocale().language() != QLocale::Russian;
        },
        [&](int round) {
            customStorage()->setValue("Video", "output", round);
            QCoreApplication::processEvents();
        });

    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(customStorage()->isValid());
}

TEST_F(ThreadFaults, AStorageOpenedByNameIsTheSameForAllThreads)
{
    const ConfigurationManager &shared = manager();
    std::array<std::atomic<IStorableBackend *>, 1000> opened{};
    std::atomic_int wrong{0};

    underLoad(
        [&](int, int round) {
            const std::size_t name = std::size_t(round) % opened.size();
            IStorableBackend *storage = shared.independentStorage(QString::number(name));
            const IStorableBackend *before = opened[name].exchange(storage);
            wrong += before && before != storage;
            wrong += storage->value("Group", "key").isValid();
        },
        [&](int) {
            wrong += shared.dynamicStorages().size() != 2;
            wrong += shared.readOnlyStorages().size() != 2;
        });

    EXPECT_EQ(wrong, 0);
}

TEST_F(QtThreadFaults, ThreadsThatWriteEntriesOfTheirOwnLoseNoneWhereNoEventLoopRuns)
{
    IStorableBackend *storage = customStorage();
    std::array<std::atomic_int, 7> last{};

    underLoad(
        [&](int number, int round) {
            storage->setValue("Video", QString::number(number), round);
            last[std::size_t(number)] = round;
        },
        [&](int round) { storage->setValue("Audio", "volume", round); });
    restart();

    for (int number = 0; number < 7; ++number) {
        EXPECT_EQ(onDisk("Video", QString::number(number)),
                  QString::number(last[std::size_t(number)]));
    }
}
