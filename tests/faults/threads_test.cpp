// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Several threads on one manager: what holds under load, and which change can be forgotten.

#include "support.h"
#include "waysout.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

using namespace stbconfig;

class ThreadFaults : public FaultsFixture
{
protected:
    using Clock = std::chrono::steady_clock;

    // In memory there are many more writes in the time.
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

// The loss itself is rare, and counted only: the rule is in the two tests after it.
TEST_F(ThreadFaults, AChangeFromAnotherThreadCanBeForgottenWhereAnEventLoopRuns)
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
    std::cout << changes << " last changes: " << forgotten << " forgotten by the event loop, "
              << forgottenInTheEnd << " of these by the destruction of the manager too\n";
}

TEST_F(ThreadFaults, AChangeFromTheThreadOfTheManagerIsWrittenWhenItsEventLoopTurns)
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

TEST_F(ThreadFaults, AChangeHandedToTheThreadOfTheManagerIsWritten)
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

TEST_F(ThreadFaults, ChangesFromAnyThreadAreWrittenAtTheEndWhereNoEventLoopRuns)
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

TEST_F(ThreadFaults, ReadersSeeOneOfTheWrittenValuesWhileTheEventLoopWrites)
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

TEST_F(ThreadFaults, ThreadsThatWriteEntriesOfTheirOwnLoseNoneWhereNoEventLoopRuns)
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
