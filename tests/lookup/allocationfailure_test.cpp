// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/qtdifferences.h"
#include "support/settingsfixture.h"

#include <stbconfig/logsconfigwrapper.h>

#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <set>

// Replaces the allocator of this whole executable, so that a test can fail the library's own
// allocations one by one. Those that Qt's library makes for itself always succeed: its
// constructors do not survive a failure. What the library's sources allocate through Qt's inline
// code counts as theirs.

namespace {

struct OwnAllocations
{
    bool isArmed = false;
    int untilFailure = 0; // the allocation that fails, counted from 0; negative: none
    int count = 0;
    std::set<void *> live;
};

OwnAllocations own;

bool isOwnCode(void *address)
{
    static const void *const executable = [] {
        Dl_info info;
        dladdr(reinterpret_cast<void *>(&isOwnCode), &info);
        return info.dli_fbase;
    }();
    Dl_info info;
    return dladdr(address, &info) && info.dli_fbase == executable;
}

void *allocate(std::size_t size, void *caller)
{
    void *memory = nullptr;
    if (own.isArmed) {
        own.isArmed = false;
        const bool isOwn = isOwnCode(caller);
        own.count += isOwn;
        if (!isOwn || own.untilFailure-- != 0)
            memory = std::malloc(size);
        if (isOwn && memory)
            own.live.insert(memory);
        own.isArmed = true;
    } else {
        memory = std::malloc(size);
    }
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void deallocate(void *memory) noexcept
{
    if (own.isArmed) {
        own.isArmed = false;
        own.live.erase(memory);
        own.isArmed = true;
    }
    std::free(memory);
}

} // namespace

void *operator new(std::size_t size) { return allocate(size, __builtin_return_address(0)); }
void operator delete(void *memory) noexcept { deallocate(memory); }
void operator delete(void *memory, std::size_t) noexcept { deallocate(memory); }

using namespace stbconfig;

class AllocationFailure : public SettingsFixture
{
protected:
    // Counts the library's own allocations during the work when none fails.
    template <typename Work>
    static int allocationsOf(Work work)
    {
        own.live.clear();
        own.count = 0;
        own.untilFailure = -1;
        own.isArmed = true;
        work();
        own.isArmed = false;
        return own.count;
    }

    static constexpr int storages = 5;

    // Runs the work with its first own allocation failing, then its second and so on, until it
    // succeeds. Whatever a failed run allocated must be gone, but for what may be kept. Returns how
    // many runs failed.
    template <typename Work>
    static int failuresUntilSuccess(Work work, std::size_t kept = 0)
    {
        int failures = 0;
        for (int failing = 0;; ++failing) {
            own.live.clear();
            own.untilFailure = failing;
            own.isArmed = true;
            bool hasFailed = false;
            try {
                work();
            } catch (const std::bad_alloc &) {
                hasFailed = true;
            }
            own.isArmed = false;
            if (!hasFailed)
                return failures;
            ++failures;
            EXPECT_LE(own.live.size(), kept)
                << "left behind when allocation " << failing << " failed";
        }
    }
};

TEST_F(AllocationFailure, LeavesNothingOfAManagerBehind)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    hold(CustomConfPersistent, "Video", "rate", "50");
    const QString persistent = persistentPrefix();
    const QString defaults = defaultPrefix();

    const auto make = [&] { ConfigurationManager manager(persistent, defaults, &handler); };

    const int allocations = allocationsOf(make);
    EXPECT_GT(allocations, storages) << "one for each storage at least, and one for the manager";
    EXPECT_EQ(failuresUntilSuccess(make), allocations) << "each has failed once";
    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(AllocationFailure, LeavesNothingOfAnIndependentStorageBehindAndCanBeRetried)
{
    const ConfigurationManager &manager = this->manager();
    // Each run needs a name of its own, because a failed run leaves an entry that the next call fills.
    int run = 0;
    const auto open = [&] { manager.independentStorage(QString::number(run++)); };

    const int allocations = allocationsOf(open);
    EXPECT_GT(allocations, 0);
    EXPECT_EQ(failuresUntilSuccess(open, qtdifferences::mapsAllocateInOurs ? 1 : 0), allocations)
        << "each has failed once";
    for (int name = 0; name < run; ++name) {
        IStorableBackend *storage = manager.independentStorage(QString::number(name));
        ASSERT_THAT(storage, ::testing::NotNull());
        EXPECT_EQ(manager.independentStorage(QString::number(name)), storage);
    }
}

TEST_F(AllocationFailure, LeavesNothingOfALoggingWrapperBehind)
{
    ConfigurationManager &manager = this->manager();

    const auto make = [&] { LogsConfigWrapper wrapper(manager); };
    const int allocations = allocationsOf(make);
    EXPECT_GT(allocations, 0);
    EXPECT_EQ(failuresUntilSuccess(make), allocations) << "each has failed once";
}
