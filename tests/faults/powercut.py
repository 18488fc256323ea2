#!/usr/bin/env python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Cuts the power after each system call of a write, as far as the calls say what that may leave.

strace records what the library and the command do; powercut_model.py tells what a cut after each call
may leave of it; each such state is made as a real directory, and a fresh process reads it. It must
find the old settings or the new ones, whole, and after a command that ended with 0 the new ones.
In the table, "mode" stands for new settings in a file that has another mode; the columns behind count
the states with a lock, with an empty or torn one, and with a copy beside the file; the last one says
what a cut may leave after the end.
Exits with 0 if that is so, with 1 if not, with 77 if nothing can be recorded here.
"""

import argparse
import collections
import concurrent.futures
import itertools
import os
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True  # the sources stay as they are
import powercut_model as model  # noqa: E402
import powercut_trace as trace  # noqa: E402
from powercut_box import (FIRST, LESS, NEW, OLD, SET, TURN, Programs, verdict,  # noqa: E402
                          write_old)

VERDICTS = ("old", "new", "mode", "empty", "torn")


class Write:
    """A way to change the settings, and what a cut may leave, meanwhile and afterwards.

    An application gets the words; without words, the command gets the arguments."""

    def __init__(self, title, *, words=None, arguments=None, old=OLD, new=(NEW,), strace=(),
                 meanwhile=("old", "new", "mode"), afterwards=("new",)):
        self.title, self.words, self.arguments, self.strace = title, words, arguments, strace
        self.old, self.new, self.meanwhile, self.afterwards = old, new, meanwhile, afterwards


WHOLE = ("old", "new", "mode")
SECOND = {**NEW, "Audio/volume": "8"}
WRITES = {
    "library": Write("library: a change", words=[SET, TURN], afterwards=WHOLE),
    "library-twice": Write("library: two changes",
                           words=[SET, TURN, ["set", "Audio", "volume", "8"], TURN],
                           new=(NEW, SECOND), afterwards=WHOLE),
    "library-first": Write("library: first change, no directory",
                           words=[SET, TURN], old=None, new=(FIRST,),
                           afterwards=("old", "new")),
    "durable": Write("library: a change made durable",
                     words=[SET, ["make durable"]]),
    "durable-first": Write("library: the same, no directory",
                           words=[SET, ["make durable"]], old=None, new=(FIRST,),
                           afterwards=("old", "new")),
    "failing-flush": Write("library: a flush that fails", words=[SET, TURN],
                           strace=["-e", "inject=fdatasync:error=EIO:when=2"],
                           meanwhile=VERDICTS, afterwards=VERDICTS),
    "set": Write("stbconfig set", arguments=SET),
    "set-first": Write("stbconfig set, no directory", arguments=SET,
                       old=None, new=(FIRST,)),
    "unset": Write("stbconfig unset", arguments=["unset", "Video", "output"], new=(LESS,)),
}


class Unexpected(Exception):
    """Something that is no finding, but must not happen."""


def record(write, programs, place):
    """Lets the programs write in the directory "box" of the place, and returns their calls."""
    box = os.path.join(place, "box")
    prefix = os.path.join(box, "data", "")
    os.mkdir(box)
    if write.old:
        write_old(prefix)
    disk = model.Disk(box)
    if write.words:
        words = [[*line, prefix + "custom.conf"] if line == ["make durable"] else line
                 for line in write.words]
        calls, ended = trace.record([programs.application], os.path.join(place, "calls"),
                                    *write.strace, input=programs.asked(prefix, *words))
        done = ended.stdout.count(b"true") == len(words) + 1
    else:
        calls, ended = trace.record([programs.command, *write.arguments],
                                    os.path.join(place, "calls"), stdin=subprocess.DEVNULL,
                                    env=programs.environment(prefix))
        done = True
    if ended.returncode != 0 or not done:
        raise Unexpected(f"{write.title}: status {ended.returncode}, {ended.stdout} {ended.stderr}")
    return disk, calls, model.read(box)


def mode_of(state):
    """Returns the mode of the settings' file in a state, if there is one."""
    for part in ("data", "custom.conf"):
        state = dict(state[1]).get(part)
        if state is None:
            return None
    return state[2]


def left_over(state):
    """Returns words for what lies beside the settings' file: a lock, and copies."""
    data = dict(state[1]).get("data", ("directory", ()))
    names = {name: content for name, content in data[1] if name != "custom.conf"}
    lock = names.pop("custom.conf.lock", None)
    words = {"lock"} if lock else set()
    if lock and lock[1].count(b"\n") < 5:
        words.add("torn lock")
    return words | ({"copy"} if names else set())


class Verdicts:
    """Reads each state once."""

    def __init__(self, write, programs, place):
        self.write, self.programs, self.place = write, programs, place
        self.known = {}
        self.number = itertools.count()

    def find(self, state):
        where = os.path.join(self.place, f"state{next(self.number)}")
        model.make(where, state)
        found = self.programs.entries(os.path.join(where, "data", ""))
        mode = mode_of(state) if self.write.old else None
        return verdict(found, mode, self.write.old or {}, self.write.new)

    def learn(self, states):
        new = [state for state in states if state not in self.known]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            self.known.update(zip(new, pool.map(self.find, new)))


def study(name, programs, forgotten):
    """Prints the write's row of the table, and returns its complaints."""
    write = WRITES[name]
    with tempfile.TemporaryDirectory(prefix="powercut-") as place:
        disk, calls, result = record(write, programs, place)
        disk.forgotten = forgotten
        cuts = list(disk.cuts(calls))
        if disk.top.now() != result:
            raise Unexpected(f"{write.title}: the recorded calls do not make what is on the disk")
        verdicts = Verdicts(write, programs, place)
        verdicts.learn(set().union(*(states for _, states in cuts)))
    count = collections.Counter(verdicts.known.values())
    beside = collections.Counter(word for state in verdicts.known for word in left_over(state))
    afterwards = {verdicts.known[state] for state in cuts[-1][1]}
    print(f"{write.title:35} {len(cuts):4} {len(verdicts.known):6}",
          *(f"{count[word] or '-':>5}" for word in VERDICTS),
          *(f"{beside[word] or '-':>5}" for word in ("lock", "torn lock", "copy")),
          " " + ", ".join(word for word in VERDICTS if word in afterwards), flush=True)

    for call, states in cuts:
        for word in sorted({verdicts.known[state] for state in states} - set(write.meanwhile)):
            yield f"{write.title}: {word}, if the power is cut after {call}"
    for word in sorted(afterwards - set(write.afterwards)):
        yield f"{write.title}: {word}, if the power is cut after the end"
    for word in sorted(set(write.afterwards) - afterwards):
        yield f"{write.title}: never {word} after the end any more; correct docs/reliability.md"
    if not count["old"] or not count["new"]:
        yield f"{write.title}: the old and the new settings must both be among the states"


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--application", required=True, help="the program faults_application")
    parser.add_argument("--command", required=True, help="the program stbconfig")
    parser.add_argument("--forget", action="append", default=[], choices=["file", "directory"],
                        help="take the flushes of files or of directories for not made: the states "
                             "that these prevent must then be found")
    parser.add_argument("writes", nargs="*", metavar="WRITE",
                        help=f"only these of {', '.join(WRITES)}")
    arguments = parser.parse_args()
    try:
        subprocess.run(["strace", "-o", "/dev/null", "true"], check=True, capture_output=True)
    except (OSError, subprocess.CalledProcessError) as error:
        print(f"powercut: nothing can be recorded: {error}")
        return 77

    os.umask(0o022)
    complaints = []
    with tempfile.TemporaryDirectory(prefix="powercut-") as defaults:
        programs = Programs(arguments.application, arguments.command, os.path.join(defaults, ""))
        print(f"{'What a power cut leaves':35} cuts states",
              *(f"{word:>5}" for word in VERDICTS), " lock  torn  copy  afterwards")
        for name in arguments.writes or WRITES:
            complaints += study(name, programs, arguments.forget)
    for complaint in complaints:
        print(f"powercut: {complaint}")
    return 1 if complaints else 0


try:
    sys.exit(main())
except Unexpected as unexpected:
    sys.exit(f"powercut: {unexpected}")
