#!/usr/bin/env python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Lets the N-th call of a program fail, for each N, and judges by the file, the status and the clock.

The programs are the commands that write, and an application that makes a change through the library.
A call fails alone, or with all that follow, and in five ways; an allocation in one. Each run has a
directory of its own. The table that is printed is the test: it ends with 1 if a row is a fault.

--again "SUBJECT;FAULT" makes one run anew, as the table names it, and shows what came of it.
STBCONFIG_FAULTS_LONG takes each N; otherwise there are the calls that write, and a choice of all
others that the commit decides, or STBCONFIG_FAULTS_SEED.
"""
import argparse
import concurrent.futures
import ctypes
import dataclasses
import errno
import io
import json
import os
import pathlib
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

LONG = "STBCONFIG_FAULTS_LONG" in os.environ
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PAGE = ROOT / "docs" / "reliability.md"
ERRORS = ("EIO", "ENOSPC", "EDQUOT", "EACCES", "EINTR")
SPANS = ("once", "on")
LIMIT = 35  # seconds: what a command may take at most
SKIPPED = 77

# The same layout as in nthfault.cpp.
HEAD, TEXT, MOST = 8, 120, 8192

OLD = b"[Audio]\nvolume=7\n\n[Video]\noutput=hdmi\nrate=50\n"
OWNER = 12345
MODE = 0o640


@dataclasses.dataclass(frozen=True)
class Subject:
    """A program and the file it changes; the words of a command, or the lines of an application."""
    name: str
    words: tuple
    old: bytes = OLD
    file: str = "var/custom.conf"
    input: str = ""
    description: str = ""
    is_command: bool = True


def application(name, **more):
    lines = (["open", "PERSISTENT", "DEFAULTS"], ["set", "Video", "output", "scart"], ["turn"],
             ["reports"], ["valid"], ["value", "Audio", "volume"])
    return Subject(name, lines, is_command=False, **more)


RENAMED = json.dumps({"settings": {
    "Screen/output": {"was": [{"name": "Video/output", "values": {"hdmi": "1"}}]}}})

SUBJECTS = (
    Subject("set", ("set", "Video/output", "scart")),
    Subject("set, no file", ("set", "Video/output", "scart"), old=None),
    Subject("set, a storage", ("set", "--storage", "player", "Video/output", "scart"),
            file="var/player.db"),
    Subject("unset", ("unset", "Video/output")),
    Subject("unset, a group", ("unset", "--group", "Video")),
    Subject("import", ("import", "-"), input="[Video]\noutput=scart\n[Net]\nhost=a\n"),
    Subject("reset", ("reset", "Video", "--keep", "Video/rate")),
    Subject("migrate", ("migrate",), description=RENAMED),
    Subject("migrate, a prune", ("migrate", "--prune"), old=OLD + b"\n[Screen]\noutput=1\n",
            description=RENAMED),
    application("application"),
    application("application, no file", old=None),
)


@dataclasses.dataclass(frozen=True)
class Fault:
    kind: str  # "call" or "allocation"
    number: int
    error: str
    span: str

    def __str__(self):
        return f"{self.kind}:{self.number}:{self.error}:{self.span}"

    def given(self):
        return f"{self.kind}:{self.number}:{getattr(errno, self.error)}:{self.span}"


NOTHING = Fault("call", 0, "EIO", "once")


@dataclasses.dataclass
class Run:
    """The result of one run."""
    status: int
    output: str
    complaint: str
    seconds: float
    is_hung: bool
    left_processes: bool
    content: bytes  # None if there is no file
    owner: tuple
    left_files: list
    counted: int
    failed: int
    calls: list  # "fsync /data/custom.conf"; empty for allocations


def box_of(directory, subject):
    """Makes the directories and the files, and returns the file that is to be changed."""
    for name in "var", "etc", "tmp":
        (directory / name).mkdir()
    (directory / "etc/stbapp.conf").write_text("[Video]\noutput=hdmi\n")
    if subject.description:
        (directory / "etc/stbapp.schema.json").write_text(subject.description)
    file = directory / subject.file
    if subject.old is not None:
        file.write_bytes(subject.old)
        file.chmod(MODE)
        if os.geteuid() == 0:
            os.chown(file, OWNER, OWNER)
    return file


def state_of(file):
    """Returns the content, and the mode and owner; None for each if there is no file."""
    try:
        status = file.stat()
        return file.read_bytes(), (status.st_mode & 0o7777, status.st_uid, status.st_gid)
    except FileNotFoundError:
        return None, None


def processes_left(group):
    """Waits for a command's processes to end. Tells whether one had to be killed."""
    end = time.monotonic() + 3
    while True:
        try:
            if os.waitpid(-group, os.WNOHANG)[0] == 0:
                if time.monotonic() > end:
                    os.killpg(group, signal.SIGKILL)
                    return True
                time.sleep(0.005)
        except ChildProcessError:
            return False


class Box:
    """The place of the runs."""

    def __init__(self, options):
        self.options = options
        memory = pathlib.Path("/dev/shm")
        self.place = tempfile.mkdtemp(
            prefix="nthfault.", dir=memory if os.access(memory, os.W_OK) else None)
        # A process that loses its parent becomes a child of this one, which can then wait for it.
        ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER

    def close(self):
        shutil.rmtree(self.place)

    def run(self, subject, fault):
        directory = pathlib.Path(tempfile.mkdtemp(dir=self.place))
        try:
            return self.run_in(directory, subject, fault)
        finally:
            shutil.rmtree(directory)

    def run_in(self, directory, subject, fault):
        file = box_of(directory, subject)
        report = directory / "report"
        with report.open("wb") as made:
            made.truncate(HEAD + TEXT * MOST)
        persistent, defaults = f"{directory}/var/", f"{directory}/etc/"
        environment = {
            "LC_ALL": "C.UTF-8", "PATH": os.environ["PATH"],
            "STBCONFIG_PERSISTENT_PREFIX": persistent, "STBCONFIG_DEFAULTS_PREFIX": defaults,
            "TMPDIR": f"{directory}/tmp", "LD_PRELOAD": self.options.library, "NTH_FAULT": fault.given(),
            "NTH_FAULT_REPORT": str(report)}
        if subject.is_command:
            words, lines = [self.options.command, *subject.words], subject.input
        else:
            environment["NTH_FAULT_FROM"] = "custom.conf"
            places = {"PERSISTENT": persistent, "DEFAULTS": defaults}
            words = [self.options.application]
            lines = "".join(json.dumps([places.get(word, word) for word in line]) + "\n"
                            for line in subject.words)
        start = time.monotonic()
        process = subprocess.Popen(
            words, env=environment, cwd="/", text=True, errors="replace", start_new_session=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        is_hung = False
        try:
            output, complaint = process.communicate(lines, timeout=LIMIT)
        except subprocess.TimeoutExpired:
            is_hung = True
            os.killpg(process.pid, signal.SIGKILL)
            output, complaint = process.communicate()
        seconds = time.monotonic() - start
        left = processes_left(process.pid)
        content, owner = state_of(file)
        expected = {"var", "etc", "tmp", "etc/stbapp.conf", "etc/stbapp.schema.json", "report",
                    subject.file}
        others = sorted(re.sub(r"\.\w{6}$", ".XXXXXX", str(path.relative_to(directory)))
                        for path in directory.rglob("*")
                        if str(path.relative_to(directory)) not in expected)
        with report.open("rb") as told:
            counted, failed = struct.unpack("II", told.read(HEAD))
            texts = min(counted, MOST) if fault.kind == "call" else 0
            calls = [told.read(TEXT).split(b"\0")[0].decode(errors="replace")
                     .replace(str(directory) + "/", "").rstrip() for _ in range(texts)]
        return Run(process.returncode, output, complaint, seconds, is_hung, left, content, owner,
                   others, counted, failed, calls)


def file_after(subject, run, wanted):
    """Says which file there is now: the old one, the new one, or one that nobody wanted."""
    if run.content == wanted.content:
        is_kept = run.owner == wanted.owner
        return "new" if is_kept else "new, its owner or mode lost"
    if run.content != subject.old:
        return "torn"
    return "old"


def told_by_command(run):
    """Says what the person at the terminal knows."""
    if run.status < 0:
        return f"died: {signal.Signals(-run.status).name}"
    for said in ("not saved", "owner could not be kept", "written, but", "holds this already, but",
                 "not known whether", "is saved, but"):
        if re.search(said + r"\b", run.complaint):
            return f"{run.status}, {said}"
    return str(run.status)


def told_by_application(run):
    """Says what the application knows, in the words of docs/reliability.md."""
    if run.status != 0:
        return f"died: {run.status}"
    answers = [json.loads(line)[0] for line in run.output.splitlines()]
    reports, is_valid = answers[3:5]
    return "report" if reports else "invalid" if not is_valid else "nothing"


def is_fault_of_command(kind, file, told):
    """Tells whether the command says something untrue, or leaves a file that nobody wanted."""
    # Qt crashes if it lacks memory for its first object.
    if kind == "allocation" and told == "died: SIGSEGV":
        return file != "old"
    if told == "4, not known whether":
        return file == "torn"
    return told not in {
        "new": ("0", "3, is saved, but", "4, written, but", "4, owner could not be kept",
                "4, holds this already, but"),
        "new, its owner or mode lost": ("4, owner could not be kept",),
        "old": ("3", "4", "4, not saved"),
    }.get(file, ())



# What an application may lose, and the test of the row of docs/reliability.md that says so. Each line has the
# file, who tells the application, the call that fails, and the test.
LOSSES = (
    ("old", "report", ".*", "PermissionFaults.ANewFileInADirectoryThatIsNotWritableIsReported"),
    ("old", "invalid", ".*", "QtDiskFaults.AFullDiskLosesTheChangeInSilence"),
    ("torn", "nothing", "write .*",
     "QtDiskFaults.AnAlmostFullDiskLeavesAnEmptyFileAndTellsNobody"),
    ("torn", "nothing", "read .*", "QtCallFaults.AReadThatFailsOnceLosesAllOtherEntriesAndTellsNobody"),
    ("torn", "nothing", "(access|openat|stat|lstat|newfstatat|statx) .*",
     "QtCallFaults.ALookForTheFileThatFailsOnceLosesAllOtherEntriesAndTellsNobody"),
    ("new, its owner or mode lost", "nothing", "(stat|lstat|newfstatat|statx|fchmod) .*",
     "NthFault.AModeThatCannotBeKeptIsLostAndNobodyIsTold"),
)


def row_of_loss(file, told, call):
    """Returns the test of the row; None for a loss that has none."""
    if file == "new":
        return "-"
    for known_file, known_told, known_call, test in LOSSES:
        if (file, told) == (known_file, known_told) and re.fullmatch(known_call, call):
            return test if test.split(".")[1] in PAGE.read_text() else None
    return None


class Verdicts:
    """The table of all verdicts."""

    HEADS = ("", "subject", "fails", "file", "told by", "left", "clock", "runs", "first")

    def __init__(self):
        self.rows = {}
        self.slowest = 0

    def add(self, subject, fault, run, wanted):
        call = run.calls[fault.number - 1] if fault.number <= len(run.calls) else ""
        file = file_after(subject, run, wanted)
        row = ""
        if subject.is_command:
            told = told_by_command(run)
            is_fault = is_fault_of_command(fault.kind, file, told)
        else:
            told = told_by_application(run)
            row = row_of_loss(file, told, call)
            is_fault = row is None
            told += f" ({row})" if row and row != "-" else ""
        left = ", ".join(run.left_files) + (" processes" if run.left_processes else "")
        # A process that cannot remove a file leaves it; one that cannot hear its child must end it.
        if left and subject.is_command and fault.kind == "call":
            is_fault |= fault.span == "once" and not call.startswith(("unlink", "poll"))
        is_fault |= run.is_hung or run.left_processes
        # The library's own flushes end as fdatasync().
        is_fault |= told == "0" and fault.span == "once" and call.startswith("fsync ")
        self.slowest = max(self.slowest, run.seconds)
        key = (subject.name, fault.kind, file, told, left, "hung" if run.is_hung else "ended")
        kept = self.rows.setdefault(key, [is_fault, 0, f"{fault} {call}"])
        kept[1] += 1
        if is_fault and not kept[0]:
            kept[0], kept[2] = True, f"{fault} {call}"

    def faults(self):
        return sum(is_fault for is_fault, *_ in self.rows.values())

    def print(self, out):
        lines = [self.HEADS] + [
            ("FAULT" if is_fault else "", *key, str(count), first)
            for key, (is_fault, count, first) in self.rows.items()]
        widths = [max(len(line[i]) for line in lines) for i in range(len(self.HEADS))]
        for line in lines:
            print("  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip(),
                  file=out)
        print(f"the slowest run took {self.slowest:.0f} s", file=out)


def seed():
    """Returns a seed that is another one for each commit."""
    given = os.environ.get("STBCONFIG_FAULTS_SEED")
    if given:
        return given
    head = subprocess.run(["git", "-C", ROOT, "rev-parse", "HEAD"], text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return head.stdout.strip()[:12] or "0"


# These calls decide which file there is.
WRITING = re.compile(r"(write|fsync|fdatasync|linkat|rename|unlink|fchmod|fchown|flock)\b|fork|wait4")


def faults_of(subject, wanted, allocations, chance):
    """Returns the calls and allocations that are to fail: all, or those of the short form."""
    calls = [Fault("call", number, error, span) for number in range(1, wanted.counted + 2)
             for error in ERRORS for span in SPANS]
    memory = [Fault("allocation", number, "ENOMEM", span)
              for number in range(1, allocations + 2) for span in SPANS]
    if not subject.is_command:
        some = ("EIO", chance.choice(ERRORS[1:]))
        return [fault for fault in calls if LONG or fault.error in some]
    if LONG:
        return calls + memory
    writing = [number for number, call in enumerate(wanted.calls, 1) if WRITING.match(call)]
    chosen = [Fault("call", number, chance.choice(ERRORS), span)
              for number in writing for span in SPANS]
    return sorted(set(chosen + chance.sample(calls, 400) + chance.sample(memory, 100)), key=str)


def judge(box, out):
    table = Verdicts()
    chance = random.Random(seed())
    total = 0
    # There are more runs than processors, because many runs wait most of the time.
    with concurrent.futures.ThreadPoolExecutor(8 * (os.cpu_count() or 1)) as pool:
        for subject in SUBJECTS:
            if box.options.only not in (None, subject.name):
                continue
            wanted = box.run(subject, NOTHING)
            if wanted.status == SKIPPED:
                print(wanted.complaint, file=out)
                return SKIPPED
            if wanted.status != 0 or wanted.content in (None, subject.old):
                print(f"{subject.name}: does not write: {wanted}", file=out)
                return 1
            allocations = box.run(subject, dataclasses.replace(NOTHING, kind="allocation")).counted
            faults = faults_of(subject, wanted, allocations, chance)
            total += len(faults)
            for fault, run in zip(faults, pool.map(lambda f, s=subject: box.run(s, f), faults)):
                table.add(subject, fault, run, wanted)
    table.print(out)
    print(f"{total} runs, seed {seed()}: {table.faults()} rows are faults", file=out)
    return 1 if table.faults() else 0


def again(box, name, fault):
    kind, number, error, span = fault.split()[0].split(":")
    subject = next(one for one in SUBJECTS if one.name == name)
    run = box.run(subject, Fault(kind, int(number), error, span))
    for field, value in vars(run).items():
        if field != "calls":
            print(f"{field}: {value}")
    for at, call in enumerate(run.calls, 1):
        print(f"{'*' if at == int(number) else ' '}{at:5} {call}")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", required=True, help="made of nthfault.cpp")
    parser.add_argument("--command", required=True)
    parser.add_argument("--application", required=True)
    parser.add_argument("--table", help="a file for the table, which is also printed")
    parser.add_argument("--only", metavar="SUBJECT")
    parser.add_argument("--again", metavar="SUBJECT;FAULT")
    options = parser.parse_args()
    box = Box(options)
    try:
        if options.again:
            return again(box, *options.again.split(";"))
        table = io.StringIO()
        status = judge(box, table)
        print(table.getvalue(), end="")
        if options.table:
            pathlib.Path(options.table).write_text(table.getvalue())
        return status
    finally:
        box.close()


sys.exit(main())
