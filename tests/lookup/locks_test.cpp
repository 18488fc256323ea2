// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "mockstorage.h"
#include "support/settingsfixture.h"

#include <stbconfig/configurationmanager_p.h>

#include <QtCore/QFile>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include <unistd.h>

using namespace stbconfig;
using ::testing::_;
using ::testing::NiceMock;

namespace {

class MockHandler : public IErrorHandler
{
public:
    MOCK_METHOD(void, handleError, (const QString &), (override));
};

} // namespace

class Locks : public SettingsFixture
{
protected:
    ConfigurationManagerPrivate &d() { return *ConfigurationManagerPrivate::get(&manager()); }

    bool isLocked()
    {
        const bool isFree = d().mutex.tryLock();
        if (isFree)
            d().mutex.unlock();
        return !isFree;
    }

    // Tells whether a thread of this process sleeps.
    static bool isAsleep(pid_t thread)
    {
        QFile file(QString("/proc/self/task/%1/stat").arg(thread));
        const QByteArray status = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
        return status.mid(status.lastIndexOf(')') + 2, 1) == "S";
    }

    // Tells whether the call sleeps while another thread holds the manager's lock. It would not do
    // to ask whether the call has returned after some time: neither has that of a thread which has
    // not even started.
    bool waitsForTheLock(const std::function<void()> &call)
    {
        std::atomic<pid_t> thread{0};
        std::atomic_bool hasReturned{false};
        d().mutex.lock();
        std::thread caller([&] {
            thread = gettid();
            call();
            hasReturned = true;
        });
        bool waits = false;
        while (!waits && !hasReturned) {
            std::this_thread::yield();
            waits = thread != 0 && isAsleep(thread) && !hasReturned;
        }
        d().mutex.unlock();
        caller.join();
        return waits;
    }
};

TEST_F(Locks, AreFreeBetweenCalls)
{
    EXPECT_FALSE(isLocked());
    valueOf("Video", "output");
    manager().dynamicStorage(DhcpOptionsConf);
    manager().readOnlyStorages();
    manager().independentStorage("channels");

    EXPECT_FALSE(isLocked());
}

TEST_F(Locks, AreNotRecursive)
{
    const std::lock_guard lock(d().mutex);

    EXPECT_FALSE(d().mutex.tryLock());
}

TEST_F(Locks, AreHeldWhileAHandlerReceivesAReport)
{
    MockHandler observer;
    manager().setErrorHandler(&observer);
    EXPECT_CALL(observer, handleError(_)).Times(2).WillRepeatedly([this](const QString &) {
        EXPECT_TRUE(isLocked());
    });

    manager().dynamicStorage(DhcpOptionsConf);
    manager().readOnlyStorage(DhcpOptionsConf);
}

TEST_F(Locks, AreReleasedWhenAHandlerThrows)
{
    MockHandler thrower;
    manager().setErrorHandler(&thrower);
    EXPECT_CALL(thrower, handleError(_)).WillOnce([](const QString &) { throw 1; });

    EXPECT_ANY_THROW(manager().dynamicStorage(DhcpOptionsConf));
    EXPECT_FALSE(isLocked());
}

TEST_F(Locks, AreNotHeldWhileStoragesAreAsked)
{
    const auto readable = QSharedPointer<MockStorage>::create();
    const auto storable = QSharedPointer<MockStorage>::create();
    d().readableBackends = {{{0, EnvironmentVariables}, readable}};
    d().storableBackends = {{{0, CustomConfPersistent}, storable}};
    for (const auto &mock : {readable, storable}) {
        EXPECT_CALL(*mock, contains(_, _)).WillOnce([this](const QString &, const QString &) {
            EXPECT_FALSE(isLocked());
            return true;
        });
        EXPECT_CALL(*mock, value(_, _)).WillOnce([this](const QString &, const QString &) {
            EXPECT_FALSE(isLocked());
            return "value";
        });
    }

    valueOf("Video", "output");
}

TEST_F(Locks, AreTakenByLookupsAndStorageAccessors)
{
    EXPECT_TRUE(waitsForTheLock([this] { valueOf("Video", "output"); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().defaultLocale(); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().dynamicStorage(CustomConfPersistent); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().readOnlyStorage(CustomConfPersistent); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().independentStorage("ravel"); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().readOnlyStorages(); }));
    EXPECT_TRUE(waitsForTheLock([this] { manager().dynamicStorages(); }));
}

TEST_F(Locks, AreNotTakenByThePlainAccessors)
{
    d().mutex.lock();
    manager().persistentStoragePrefix();
    manager().setErrorHandler(&handler);
    manager().setCmdLineArgs(manager().cmdLineArgs());
    d().mutex.unlock();
}
