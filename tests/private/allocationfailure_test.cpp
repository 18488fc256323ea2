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
    // Runs the work with its first own allocation failing, then its second and so on, until it
    // succeeds. Whatever a failed run allocated must be gone, but for what may be kept. Returns how
    // many runs failed.
    template <typename Work>
    static int failuresUntilSuccess(Work work, std::size_t kept = 0)
    {
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
                return failing;
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

    const int failures =
        failuresUntilSuccess([&] { ConfigurationManager manager(persistent, defaults, &handler); });

    // The private part; a storage, its reference counter and what it owns, five times: memory
    // owns nothing. A map in our own code adds itself, three times, and an entry for each storage.
    EXPECT_EQ(failures, 1 + 5 * 3 - 1 + (qtdifferences::mapsAllocateInOurs ? 3 + 5 : 0));
    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(AllocationFailure, LeavesNothingOfAnIndependentStorageBehindAndCanBeRetried)
{
    const ConfigurationManager &manager = this->manager();
    const QString name = "channels";
    IStorableBackend *storage = nullptr;

    // The entry stays, and the next call fills it.
    const int failures = failuresUntilSuccess([&] { storage = manager.independentStorage(name); },
                                              qtdifferences::mapsAllocateInOurs ? 1 : 0);

    EXPECT_EQ(failures, 3);
    ASSERT_THAT(storage, ::testing::NotNull());
    EXPECT_EQ(manager.independentStorage(name), storage);
}

TEST_F(AllocationFailure, LeavesNothingOfALoggingWrapperBehind)
{
    ConfigurationManager &manager = this->manager();

    EXPECT_EQ(failuresUntilSuccess([&] { LogsConfigWrapper wrapper(manager); }), 1);
}
