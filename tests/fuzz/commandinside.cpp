// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// The command as a part of the fuzz target. It forks, and each of its processes ends by _Exit.
// Before that, each adds what it has covered to a memory that all share, from where the fuzzer
// takes it.

#include "process.h"

#include <sanitizer/common_interface_defs.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>

#include <vector>

int commandMain(int argc, char *argv[]);

extern "C" {
// The counters of this program, as the compiler places them.
extern char __start___sancov_cntrs[];
extern char __stop___sancov_cntrs[];
[[noreturn]] void __real__Exit(int status);
[[noreturn]] void __wrap__Exit(int status);
}

namespace {

std::size_t counters()
{
    return static_cast<std::size_t>(__stop___sancov_cntrs - __start___sancov_cntrs);
}

// This is made before anything forks.
unsigned char *const shared = static_cast<unsigned char *>(
    mmap(nullptr, counters(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

__attribute__((no_sanitize("coverage", "address"))) void merge(unsigned char *into,
                                                               const unsigned char *from)
{
    for (std::size_t i = 0; i < counters(); ++i)
        into[i] = std::max(into[i], from[i]);
}

unsigned char *own() { return reinterpret_cast<unsigned char *>(__start___sancov_cntrs); }

} // namespace

void __wrap__Exit(int status)
{
    merge(shared, own());
    __real__Exit(status);
}

void beCommand(QList<QByteArray> words)
{
    std::vector<char *> arguments{const_cast<char *>("stbconfig")};
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    forgetFuzzer();
    std::memset(own(), 0, counters());
    std::_Exit(commandMain(static_cast<int>(arguments.size()) - 1, arguments.data()));
}

void takeCoverage()
{
    merge(own(), shared);
    std::memset(shared, 0, counters());
}

void forgetFuzzer()
{
    __sanitizer_set_death_callback(nullptr);
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGILL, SIGFPE, SIGINT, SIGTERM, SIGXFSZ,
                             SIGUSR1, SIGUSR2, SIGALRM})
        std::signal(signal, SIG_DFL);
}

void leave(int status) { __real__Exit(status); }
