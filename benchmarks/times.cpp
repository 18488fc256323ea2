// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "systems/floor.h"
#include "systems/library.h"
#include "systems/peers.h"

#include <benchmark/benchmark.h>

// Measures how long things take, each under a name "<question>/<case>/<system>". Run them
// interleaved and compare medians within one run, as scripts/benchmark does.

namespace {

template <typename System>
void lookUp(benchmark::State &state, const Probe &probe)
{
    const DataSet data;
    const System system(data);
    const auto address = System::address(probe);
    if (System::text(system.read(address)) != probe.answer)
        return state.SkipWithError("wrong answer");
    for (auto _ : state)
        benchmark::DoNotOptimize(system.read(address));
}

template <typename System>
void start(benchmark::State &state)
{
    const DataSet data;
    const auto address = System::address(probes[3]);
    for (auto _ : state)
        benchmark::DoNotOptimize(System(data).read(address));
}

template <typename System>
void persist(benchmark::State &state)
{
    const DataSet data;
    int round = 0;
    for (auto _ : state)
        System::persist(data, QString::number(++round));
}

// Two threads ask one manager. They share nothing that a lookup writes but reference counts, the
// lock of the registries, and the locks of Qt's files and environment.
void lookUpInThreads(benchmark::State &state)
{
    static const DataSet data;
    static const Library library(data);
    const Library::Address address = Library::address(probes[3]);
    for (auto _ : state)
        benchmark::DoNotOptimize(library.read(address));
}

template <typename System>
void registerLookups()
{
    for (const Probe &probe : probes) {
        const std::string name = std::string("lookup/") + probe.winner + '/' + System::name;
        benchmark::RegisterBenchmark(name.c_str(), lookUp<System>, probe);
    }
}

template <typename System>
void registerStart()
{
    benchmark::RegisterBenchmark((std::string("start/warm/") + System::name).c_str(),
                                 start<System>);
}

template <typename System>
void registerPersist()
{
    benchmark::RegisterBenchmark((std::string("persist/one/") + System::name).c_str(),
                                 persist<System>);
}

} // namespace

int main(int argc, char *argv[])
{
    registerLookups<Floor>();
    registerLookups<Library>();
    registerStart<Floor>();
    registerStart<Library>();
    registerPersist<Library>();
    forEachPeer([](auto *peer) {
        using Peer = std::remove_pointer_t<decltype(peer)>;
        registerLookups<Peer>();
        registerStart<Peer>();
        registerPersist<Peer>();
    });
    benchmark::RegisterBenchmark("threads/one", lookUpInThreads)->Threads(1)->UseRealTime();
    benchmark::RegisterBenchmark("threads/two", lookUpInThreads)->Threads(2)->UseRealTime();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
