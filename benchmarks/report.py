# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Runs the measuring programs and writes what they say: a table, two plots, or a verdict on the
instruction counts. Called by scripts/benchmark."""

import json
import math
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time

import plots

HERE = pathlib.Path(__file__).resolve().parent
ACCEPTED = HERE / "instructions.txt"
TOLERANCE = 0.02
WINNERS = ["custom", "memory", "environment", "default", "all", "none"]
SYSTEMS = ["stbconfig", "floor", "QSettings", "KConfig", "Poco", "GKeyFile", "PropertyTree"]
SIZES = [10, 100, 1_000, 10_000, 100_000]

# The instruction counts to compare: question, argument, times it is done, the most that the ratio
# of the library to the floor may be.
COUNTED = [("lookup", winner, 1000, 1.07 if winner == "none" else 1.05) for winner in WINNERS] + [
    ("read", "default", 1000, 1.02),
    ("level", "any", 1000, 1.05),
    ("set", "memory", 1000, 1.03),
    ("start", None, 1, 1.05),
]
# These compare "stbconfig get" with a bare program that asks the same two files; both are whole processes.
# The instructions stand in for the time where nothing is timed. Their ratio is larger, because they leave out
# the kernel, which maps and unmaps the same libraries for both.
GET_TIME_TARGET = 1.50
GET_INSTRUCTION_TARGET = 1.80
GET_ROUNDS = 500
TIME_TARGETS = {winner: 1.20 if winner == "none" else 1.15 for winner in WINNERS}

# The environment is one of the storages, so the variables that a program inherits change the counts.
CLEAN = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "QT_HASH_SEED": "0"}


def output(*command):
    done = subprocess.run([str(word) for word in command], env=CLEAN, capture_output=True, text=True,
                          stdin=subprocess.DEVNULL)
    if done.returncode != 0:
        sys.exit(f"benchmark: {' '.join(map(str, command))}: exit status {done.returncode}; "
                 f"{done.stderr.strip() or 'a system gave a wrong answer'}")
    return done.stdout + done.stderr


class Programs:
    """The measuring programs of one build folder."""

    def __init__(self, build):
        self.measure = build / "benchmarks" / "stbconfig_measure"
        self.times = build / "benchmarks" / "stbconfig_times"
        self.bare = build / "benchmarks" / "stbconfig_bare_get"
        self.command = build / "prefix" / "bin" / "stbconfig"

    def instructions(self, question, argument, times, side):
        words = [question, side] if argument is None else [question, argument, side]
        with tempfile.TemporaryDirectory() as folder:
            said = output("valgrind", "--tool=callgrind", "--instr-atstart=no",
                          f"--callgrind-out-file={folder}/out", self.measure, *words)
        return int(re.search(r"Collected : (\d+)", said)[1]) / times

    def allocations(self, question, argument, side):
        """Returns the allocations, and the bytes still held, for each time the thing is done."""
        count, held = output(self.measure, question, argument, side).split()
        return float(count), float(held)

    def medians(self):
        """Returns the nanoseconds by "question/case/system", from runs that are interleaved."""
        said = output(self.times, "--benchmark_format=json", "--benchmark_repetitions=9",
                      "--benchmark_min_time=0.02", "--benchmark_enable_random_interleaving=true",
                      "--benchmark_report_aggregates_only=true")
        runs = json.loads(said[said.index("{"):said.rindex("}") + 1])["benchmarks"]
        if any(run.get("error_occurred") for run in runs):
            sys.exit("benchmark: a system gave a wrong answer; see benchmarks/systems/")
        unit = {"ns": 1, "us": 1e3, "ms": 1e6}
        return {run["run_name"]: run["real_time"] * unit[run["time_unit"]] for run in runs
                if run["aggregate_name"] == "median"}

    def system_calls(self, system):
        """Counts how often a system syncs and renames to persist one value."""
        with tempfile.NamedTemporaryFile() as trace:
            output("strace", "-f", "-o", trace.name, "-e",
                   "trace=fsync,fdatasync,rename,renameat,renameat2,openat", self.measure,
                   "persist", system)
            lines = pathlib.Path(trace.name).read_text().splitlines()
        return (sum("sync(" in line for line in lines), sum("rename" in line for line in lines))


    def gets(self, folder):
        """The command and the bare program, each told to ask two files in the folder, of the same
        400 settings and 30 overrides as the library's data set."""
        custom, defaults = folder / "custom.conf", folder / "stbapp.conf"
        for file, keys, groups in ((custom, (1,), 30), (defaults, range(10), 40)):
            file.write_text("".join(
                f"[Group{group:02}]\n" + "".join(f"key{key}=of {file.name}\n" for key in keys)
                for group in range(groups)))
        gets = {"stbconfig": [self.command, "--persistent", f"{folder}/", "--defaults", f"{folder}/",
                              "get", "Group03/key8"],
                "bare": [self.bare, custom, defaults, "Group03/key8"]}
        for words in gets.values():
            if output(*words) != "of stbapp.conf\n":
                sys.exit(f"benchmark: {words[0]}: gave a wrong answer")
        return gets

    def get_instructions(self):
        """Counts the instructions of the command and of the bare program, from the start to the answer."""
        counts = []
        with tempfile.TemporaryDirectory() as folder:
            for words in self.gets(pathlib.Path(folder)).values():
                said = output("valgrind", "--tool=callgrind", f"--callgrind-out-file={folder}/out.%p",
                              *words)
                # A child's count goes on from the count of its parent, which only waits for it.
                counts.append(max(map(int, re.findall(r"Collected : (\d+)", said))))
        return counts

    def get_times(self):
        """Returns the median microseconds of the command and of the bare program, which run by turns."""
        taken = []
        with tempfile.TemporaryDirectory() as folder:
            gets = [list(map(str, words)) for words in self.gets(pathlib.Path(folder)).values()]
            nowhere = [(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)]
            for _ in range(GET_ROUNDS):
                for words in gets:
                    begin = time.perf_counter()
                    process = os.posix_spawn(words[0], words, CLEAN, file_actions=nowhere)
                    _, status = os.waitpid(process, 0)
                    taken.append((time.perf_counter() - begin) * 1e6)
                    if status != 0:
                        sys.exit(f"benchmark: {words[0]}: gave no answer; see it run by itself")
        return statistics.median(taken[::2]), statistics.median(taken[1::2])


def versions():
    """Returns what the counts depend on."""
    def first_line(*command):
        return output(*command).splitlines()[0]
    return [first_line("c++", "--version"),
            "Qt " + first_line("dpkg-query", "--show", "--showformat=${Version}", "libqt5core5a"),
            first_line("ldd", "--version"), first_line("uname", "-m")]


def surroundings():
    """Returns what else the times depend on: the processor and the versions of the other systems."""
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    packages = ("libkf5configcore5", "libpocoutil80", "libglib2.0-0", "libboost-dev")
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Package} ${Version}\n", *packages],
                           capture_output=True, text=True)
    return [model[1] if model else "an unknown processor"] + found.stdout.splitlines()


def counted_name(question, argument):
    return f"{question}/{argument}" if argument in WINNERS else question


def count_all(programs):
    return {counted_name(question, argument): tuple(programs.instructions(question, argument, times, side)
                                            for side in ("stbconfig", "floor"))
            for question, argument, times, _ in COUNTED}


def accept(programs):
    lines = ["# Instructions of the library, as scripts/benchmark --accept wrote them."]
    lines += [f"# {version}" for version in versions()]
    lines += [f"{name} {library:.0f}" for name, (library, _) in count_all(programs).items()]
    ACCEPTED.write_text("\n".join(lines) + "\n")
    return 0


def check_get(programs):
    """Tells whether the command costs little more than a bare program, as it should."""
    ours, bare = programs.get_instructions()
    is_met = ours <= GET_INSTRUCTION_TARGET * bare
    print(f"{'same' if is_met else 'SLOW':6} {'stbconfig get':20} {ours:12.0f} instructions, "
          f"{ours / bare:.2f} times those of a bare program, at most {GET_INSTRUCTION_TARGET:.2f}")
    return is_met


def check(programs):
    is_slow = not check_get(programs)
    lines = ACCEPTED.read_text().splitlines()
    if lines[1:5] != [f"# {version}" for version in versions()]:
        print("benchmark: SKIPPED: the accepted counts are of another compiler, Qt, C library or "
              "processor; scripts/benchmark --accept writes new ones")
        return 1 if is_slow else 0
    accepted = {name: float(count) for name, count in (line.split() for line in lines[5:])}
    counts = count_all(programs)
    if counts.keys() != accepted.keys():
        sys.exit(f"benchmark: {ACCEPTED.name}: does not list what is counted; "
                 "scripts/benchmark --accept writes it anew")
    moved = 0
    for name, (library, _) in counts.items():
        change = library / accepted[name] - 1
        has_moved = abs(change) > TOLERANCE
        moved += has_moved
        print(f"{'MOVED' if has_moved else 'same':6} {name:20} {library:12.0f} instructions, "
              f"{change:+.2%} of {accepted[name]:.0f}")
    return 1 if moved or is_slow else 0


def table(header, rows):
    return "\n".join(["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
                     + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def against_target(name, value, floor, target):
    ratio = value / floor
    return [name, f"{value:,.0f}", f"{floor:,.0f}", f"{ratio:.3f}", f"{target:.2f}",
            "yes" if ratio <= target else "**no**"]


def stripped_size(program):
    with tempfile.NamedTemporaryFile() as stripped:
        output("strip", "-o", stripped.name, program)
        return pathlib.Path(stripped.name).stat().st_size


def sizes(build, small):
    """Returns the rows of the stripped size and the relocations of both builds."""
    rows = []
    for name, folder, limit in (("-O2", build, 75_000), ("-Os", small, 52_000)):
        library = folder / "stbconfig" / "libstbconfig.so"
        size = stripped_size(library)
        relocations = re.search(r"'\.rela?\.dyn' .* contains (\d+)", output("readelf", "-rW", library))
        rows.append([f"stripped size, {name}, bytes", f"{size:,}", f"{limit:,}",
                     "yes" if size <= limit else "**no**"])
        rows.append([f"relocations at load, {name}", relocations[1], "130",
                     "yes" if int(relocations[1]) <= 130 else "**no**"])
    return rows


def report(programs, build, small):
    folder = build / "report"
    folder.mkdir(exist_ok=True)

    print("counting instructions", flush=True)
    counts = count_all(programs)
    lookups = [programs.instructions("growth", str(size), 1000, "stbconfig") for size in SIZES]
    starts = [programs.instructions("growing-start", str(size), 1, "stbconfig") for size in SIZES]
    exponent = math.log(lookups[-1] / lookups[2]) / math.log(SIZES[-1] / SIZES[2])

    print("counting allocations", flush=True)
    allocations = {winner: [programs.allocations("lookup", winner, side)[0]
                            for side in ("stbconfig", "floor")] for winner in WINNERS}
    heap = [programs.allocations("heap", "any", side)[1] for side in ("stbconfig", "floor")]
    unknown = [programs.allocations("unknown", "any", side)[1] for side in ("stbconfig", "floor")]

    print("taking times", flush=True)
    medians = programs.medians()
    systems = [system for system in SYSTEMS if f"lookup/custom/{system}" in medians]
    peers = [system for system in systems if system != "floor"]

    cold = {system: programs.instructions("start", None, 1, system) for system in systems}

    print("running the command", flush=True)
    get_rows = [against_target("get, instructions", *programs.get_instructions(),
                               GET_INSTRUCTION_TARGET),
                against_target("get, microseconds", *programs.get_times(), GET_TIME_TARGET)]
    command_sizes = [stripped_size(program) for program in (programs.command, programs.bare)]

    print("tracing system calls", flush=True)
    calls = {system: programs.system_calls(system) for system in peers}

    header = ["measure", "stbconfig", "floor", "ratio", "at most", "met"]
    instruction_rows = [against_target(counted_name(question, argument).replace("/", ", "),
                                       *counts[counted_name(question, argument)], target)
                        for question, argument, _, target in COUNTED]
    time_rows = [against_target(f"lookup, {winner}", medians[f"lookup/{winner}/stbconfig"],
                                medians[f"lookup/{winner}/floor"], TIME_TARGETS[winner])
                 for winner in WINNERS]
    allocation_rows = [[f"lookup, {winner}", f"{ours:g}", f"{floor:g}",
                        "yes" if ours <= floor else "**no**"]
                       for winner, (ours, floor) in allocations.items()]

    text = (HERE / "performance.md.in").read_text()
    for name, value in {
        "VERSIONS": "\n".join(f"- {line}" for line in versions() + surroundings()),
        "INSTRUCTIONS": table(header, instruction_rows),
        "TIMES": table(header, time_rows),
        "ALLOCATIONS": table(["allocations", "stbconfig", "floor", "met"], allocation_rows),
        "HEAP": table(header, [against_target("a fresh manager, bytes", *heap, 1.04)]),
        "UNKNOWN": f"{unknown[0]:.0f}",
        "UNKNOWN_FLOOR": f"{unknown[1]:.0f}",
        "COMMAND": table(["measure", "stbconfig", "bare program", "ratio", "at most", "met"],
                         get_rows + [["stripped size, bytes", *(f"{size:,}" for size in command_sizes),
                                      "", "", ""]]),
        "SIZE": table(["", "is", "at most", "met"], sizes(build, small)),
        "PEERS": table(["nanoseconds"] + systems,
                       [[f"lookup, {winner}"]
                        + [f"{medians[f'lookup/{winner}/{system}']:,.0f}" for system in systems]
                        for winner in WINNERS]
                       + [["warm start and first lookup"]
                          + [f"{medians[f'start/warm/{system}']:,.0f}" for system in systems]]),
        "COLD": table(["instructions"] + systems,
                      [["cold start and first lookup"]
                       + [f"{cold[system]:,.0f}" for system in systems]]),
        "PERSIST": table(["one value to disk", "microseconds", "syncs", "renames"],
                         [[system, f"{medians[f'persist/one/{system}'] / 1000:,.0f}",
                           *map(str, calls[system])] for system in peers]),
        "GROWTH": table(["keys"] + [f"{size:,}" for size in SIZES],
                        [["instructions of a lookup"] + [f"{count:,.0f}" for count in lookups],
                         ["instructions of a start"] + [f"{count:,.0f}" for count in starts]]),
        "EXPONENT": f"{exponent:.3f}",
        "THREADS": "{:.2f}".format(medians["threads/one/real_time/threads:1"]
                                   / medians["threads/two/real_time/threads:2"]),
    }.items():
        text = text.replace(f"@{name}@", value.rstrip("\n"))
    (folder / "performance.md").write_text(text)
    plots.bars(folder / "performance-lookup.svg", "storage that wins", "nanoseconds per lookup", WINNERS,
               {system: [medians[f"lookup/{winner}/{system}"] for winner in WINNERS]
                for system in systems})
    plots.curves(folder / "performance-growth.svg", "keys in the default file", "instructions", SIZES,
                 {"lookup": lookups, "start and first lookup": starts})
    print(text)
    print(f"written to {folder}")
    return 0


def main(build, small, mode=None):
    build = pathlib.Path(build)
    programs = Programs(build)
    if mode == "--check":
        return check(programs)
    if mode == "--accept":
        return accept(programs)
    if mode is None:
        return report(programs, build, pathlib.Path(small))
    print("usage: scripts/benchmark [--check | --accept]", file=sys.stderr)
    return 2


sys.exit(main(*sys.argv[1:]))
