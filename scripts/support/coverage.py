# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Runs the tests that .ci/run coverage has built, and sees which lines and branches they take.

Fails unless they take every line and both ways of every branch of stbconfig/ and tools/, or the
line stands with its reason in tests/mutation/uncovered.txt. Counts what is written in the sources, by Clang:
GCC also counts the branches that a compiler adds for exceptions. build/coverage/report/index.html
shows all of it; build/coverage/cases/ keeps what each test of the command runs.
"""
import collections
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "coverage"
TOOL = BUILD / "tools" / "stbconfig" / "stbconfig"
# Nothing in interfacetables.cpp ever runs; the file exists for the tables of its classes.
OBJECTS = [BUILD / "tests" / "stbconfig_private_test", "-object", TOOL,
           "-instr-profile", BUILD / "profile",
           "-ignore-filename-regex", "interfacetables|_autogen|^/usr/|/tests/"]


def call(*command, **options):
    return subprocess.run(command, cwd=ROOT, check=True, **options)


def measure():
    """Leaves the sum of all runs, and the part of each of the command's tests."""
    cases = BUILD / "cases"
    shutil.rmtree(cases, ignore_errors=True)
    cases.mkdir()
    # A place that each user can reach whom a test of the command becomes.
    with tempfile.TemporaryDirectory() as directory:
        os.chmod(directory, 0o711)
        environment = {**os.environ, "LC_ALL": "C.UTF-8", "PROFILES": directory,
                       "LLVM_PROFILE_FILE": f"{directory}/others.%m%c"}
        for test in ("public", "private"):
            call(BUILD / "tests" / f"stbconfig_{test}_test", "--gtest_brief=1", env=environment)
        call("ctest", "--test-dir", BUILD, "-L", "tool", "-j", "2", "--output-on-failure",
             "--no-tests=error", env=environment)
        parts = collections.defaultdict(list)
        for profile in pathlib.Path(directory).iterdir():
            parts[profile.name.rpartition(".")[0]].append(profile)
        for name, profiles in parts.items():
            call("llvm-profdata", "merge", "-sparse", *profiles, "-o", cases / name)
    call("llvm-profdata", "merge", "-sparse", *cases.iterdir(), "-o", BUILD / "profile")
    (cases / "others").unlink()


def export(*options):
    # The log takes llvm-cov's remark that two programs have functions of one name that differ.
    with open(BUILD / "log", "a", encoding="utf-8") as log:
        return call("llvm-cov", *options, *OBJECTS, stdout=subprocess.PIPE, stderr=log, text=True).stdout


def counts():
    """(folder, "lines" or "branches", place, taken) of each line, and of each way of a branch."""
    for line in export("export", "-format=lcov", "-skip-functions").splitlines():
        kind, _, rest = line.partition(":")
        if kind == "SF":
            file = pathlib.Path(rest).relative_to(ROOT)
            source = (ROOT / file).read_text().splitlines()
        elif kind in ("DA", "BRDA"):
            number, *_, taken = rest.split(",")
            place = f"{file}: {source[int(number) - 1].strip()}"
            yield file.parts[0], "branches" if kind == "BRDA" else "lines", place, taken not in ("0", "-")


def judge():
    blocks = (ROOT / "tests" / "mutation" / "uncovered.txt").read_text().strip().split("\n\n")
    excused = {place for block in blocks if not block.startswith("##") for place in block.splitlines()[:-1]}
    total, covered, missing, places = collections.Counter(), collections.Counter(), {}, set()
    for folder, kind, place, taken in counts():
        total[folder, kind] += 1
        covered[folder, kind] += taken
        places.add(place)
        if not taken and place not in excused and not place.endswith(": }"):  # which runs nothing
            missing[place] = kind
    for folder, kind in sorted(total):
        print(f"coverage: {folder}/: {kind}: {covered[folder, kind]} of {total[folder, kind]}")
    for place, kind in missing.items():
        print(f"coverage: {kind}: {place}")
    for place in sorted(excused - places):
        print(f"coverage: tests/mutation/uncovered.txt: no such line: {place}")
    if missing or excused - places or len({folder for folder, kind in total}) != 2:
        sys.exit("coverage: not whole; build/coverage/report/index.html shows where, add the test")


measure()
export("show", "-format", "html", "-show-branches", "count", "-output-dir", BUILD / "report")
judge()
