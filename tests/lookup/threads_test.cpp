// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <stbconfig/logsconfigwrapper.h>

#include <QtCore/QSet>

#include <atomic>
#include <thread>

using namespace stbconfig;

class Threads : public SettingsFixture
{
protected:
    static constexpr int rounds = 200;

    // Runs the work in eight threads that start together, and waits for all of them.
    template <typename Work>
    static void inEightThreads(Work work)
    {
        std::atomic_bool start{false};
        std::vector<std::thread> threads;
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([&start, &work, number] {
                while (!start)
                    std::this_thread::yield();
                work(number);
            });
        }
        start = true;
        for (std::thread &thread : threads)
            thread.join();
    }
};

TEST_F(Threads, ReadOneManagerAtOnce)
{
    hold(CustomConfPersistent, "Video", "output", "hdmi");
    hold(TemporaryApplicationStorage, "Video", "rate", "50");
    hold(EnvironmentVariables, "Audio", "output", "spdif");
    hold(StbappConfDefault, "Profile", "locale", "de_AT");
    hold(StbappConfDefault, "Logging", "level", "debug");
    const ConfigurationManager &shared = manager();
    const LogsConfigWrapper logging(manager());
    std::atomic_int wrong{0};

    inEightThreads([&](int) {
        for (int i = 0; i < rounds; ++i) {
            wrong += shared.value("Video", "output", {}).toString() != "hdmi";
            wrong += shared.value("Video", "rate", {}).toString() != "50";
            wrong += shared.value("Audio", "output", {}).toString() != "spdif";
            wrong += shared.value("Audio", "volume", 7).toInt() != 7;
            wrong += shared.defaultLocale().language() != QLocale::German;
            wrong += logging.level() != 4;
            wrong += shared.dynamicStorages().size() != 2;
            wrong += shared.readOnlyStorages().size() != 2;
        }
    });

    EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, OpenTheSameStoragesAtOnce)
{
    const ConfigurationManager &shared = manager();
    std::vector<std::vector<IStorableBackend *>> opened(8);

    inEightThreads([&](int number) {
        for (int i = 0; i < rounds; ++i)
            opened[size_t(number)].push_back(shared.independentStorage(QString::number(i)));
    });

    for (const auto &storages : opened)
        EXPECT_EQ(storages, opened.front());
    QSet<IStorableBackend *> distinct;
    for (IStorableBackend *storage : opened.front())
        distinct.insert(storage);
    EXPECT_EQ(distinct.size(), rounds);
}

TEST_F(Threads, ReadWhileOneWritesAFile)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    const ConfigurationManager &shared = manager();
    IStorableBackend *file = customStorage();
    std::atomic_int wrong{0};

    inEightThreads([&](int number) {
        for (int i = 0; i < rounds; ++i) {
            if (number == 0) {
                file->setValue("Video", "rate", i);
                continue;
            }
            const QVariant rate = shared.value("Video", "rate", -1);
            wrong += rate.toInt() < -1 || rate.toInt() >= rounds;
            wrong += shared.value("Video", "output", {}).toString() != "hdmi";
        }
    });

    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(valueOf("Video", "rate"), IsVariant(rounds - 1));
}

TEST_F(Threads, ReportAtOnceWithoutLosingAReport)
{
    const ConfigurationManager &shared = manager();

    inEightThreads([&](int) {
        for (int i = 0; i < rounds; ++i)
            shared.dynamicStorage(DhcpOptionsConf);
    });

    EXPECT_EQ(handler.messages().size(), 8 * rounds);
}
