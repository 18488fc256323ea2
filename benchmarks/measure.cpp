// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "allocations.h"
#include "systems/floor.h"
#include "systems/library.h"
#include "systems/peers.h"

#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

// Does one thing many times, and measures nothing else. It counts with callgrind, which needs
// --instr-atstart=no, and with our own counter of allocations. Prints
// "<allocations per time> <bytes still held per time>".

namespace {

template <typename Operation>
int measure(int times, Operation operation)
{
    const Allocations before = Allocations::now();
    CALLGRIND_START_INSTRUMENTATION;
    for (int i = 0; i < times; ++i)
        operation();
    CALLGRIND_STOP_INSTRUMENTATION;
    const Allocations after = Allocations::now();
    std::printf("%g %g\n", double(after.count - before.count) / times,
                double(after.liveBytes - before.liveBytes) / times);
    return 0;
}

// Does the same after a few first times, which fill caches that are not ours.
template <typename Operation>
int measureWarm(int times, Operation operation)
{
    for (int i = 0; i < 100; ++i)
        operation();
    return measure(times, operation);
}

const Probe *findProbe(const char *winner)
{
    for (const Probe &probe : probes) {
        if (std::strcmp(probe.winner, winner) == 0)
            return &probe;
    }
    return nullptr;
}

// Does the first lookup in a fresh process, construction included.
template <typename System>
int measureStart(const DataSet &data)
{
    const auto address = System::address(probes[3]);
    std::unique_ptr<System> system;
    return measure(1, [&] {
        system = std::make_unique<System>(data);
        system->read(address);
    });
}

template <typename System>
int measureOf(const QByteArray &question, const char *argument)
{
    constexpr int times = 1000;
    const bool isGrowing = question == "growth" || question == "growing-start";
    const DataSet data(isGrowing ? std::atoi(argument) / 10 : 40);
    if (question == "growing-start")
        return measureStart<System>(data);
    if (question == "heap") {
        std::unique_ptr<System> system;
        return measure(1, [&] { system = std::make_unique<System>(data); });
    }

    System system(data);
    if (question == "unknown") {
        const auto known = System::address(probes[0]);
        system.read(known);
        int number = 0;
        return measure(times, [&] { system.read({"Unknown", QString::number(++number)}); });
    }
    if (question == "growth") {
        const typename System::Address address{"Group00", "key8"};
        return measureWarm(times, [&] { system.read(address); });
    }
    if (question == "level") {
        if (system.level() != 4)
            return 3;
        return measureWarm(times, [&] { system.level(); });
    }
    const Probe *probe = findProbe(argument);
    if (!probe)
        return 2;
    const auto address = System::address(*probe);
    if (question == "lookup") {
        if (System::text(system.read(address)) != probe->answer)
            return 3;
        return measureWarm(times, [&] { system.read(address); });
    }
    if (question == "read") {
        if (System::text(system.readDefaultFile(address)) != "from the default file")
            return 3;
        return measureWarm(times, [&] { system.readDefaultFile(address); });
    }
    if (question == "set") {
        const QVariant value("another text");
        return measureWarm(times, [&] { system.setInMemory(address, value); });
    }
    return 2;
}

// Every system can do these: start in a fresh process, and write one value to its file.
int measureAny(const char *question, const char *system)
{
    const DataSet data;
    int status = 2;
    const auto measureIfNamed = [&](auto *type) {
        using System = std::remove_pointer_t<decltype(type)>;
        if (std::strcmp(system, System::name) != 0)
            return;
        if (std::strcmp(question, "start") == 0) {
            status = measureStart<System>(data);
        } else if constexpr (!std::is_same_v<System, Floor>) {
            System::persist(data, "a new text");
            status = 0;
        }
    };
    measureIfNamed(static_cast<Library *>(nullptr));
    measureIfNamed(static_cast<Floor *>(nullptr));
    forEachPeer(measureIfNamed);
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3)
        return measureAny(argv[1], argv[2]);
    if (argc == 4 && std::strcmp(argv[3], Library::name) == 0)
        return measureOf<Library>(argv[1], argv[2]);
    if (argc == 4 && std::strcmp(argv[3], Floor::name) == 0)
        return measureOf<Floor>(argv[1], argv[2]);
    std::fprintf(stderr,
                 "usage: stbconfig_measure QUESTION ARGUMENT stbconfig|floor\n"
                 "       stbconfig_measure start|persist SYSTEM\n");
    return 2;
}
