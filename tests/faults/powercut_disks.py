#!/usr/bin/env python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Cuts the power of real file systems while settings are written, and checks what is left.

Each file system lies in a file, behind a loop device. ext4 and XFS can be told to stop as they are,
without writing what they still have in memory; of Btrfs, the device is copied while all who write are
stopped, and the copy is what a cut leaves. Then the file system is mounted anew and a fresh process
reads the settings. Needs root; "unshare --mount" keeps the mounts from the rest of the system.
Exits with 0 if nothing is lost but what may be, with 1 if more is, with 77 if no file system can be
mounted here.
"""

import argparse
import contextlib
import fcntl
import json
import os
import random
import signal
import stat
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True  # the sources stay as they are
from powercut_box import (FIRST, MODE, NEW, OLD, SET, TURN, Programs, flush,  # noqa: E402
                          verdict, write_old)

MEBIBYTE = 1 << 20
KINDS = {"ext4": (64, ["mkfs.ext4", "-q", "-F"]),
         "xfs": (320, ["mkfs.xfs", "-q", "-f"]),
         "btrfs": (128, ["mkfs.btrfs", "-q", "-f"])}

# EXT4_IOC_SHUTDOWN and XFS_IOC_GOINGDOWN, with the word for "write no journal".
SHUT_DOWN = 0x8004587D
WITHOUT_JOURNAL = (2).to_bytes(4, sys.byteorder)
# BTRFS_IOC_START_SYNC and BTRFS_IOC_WAIT_SYNC: unlike sync(), they leave the data of files alone.
START_SYNC = 0x80089418
WAIT_SYNC = 0x40089416
# The most seconds that each of the three waits before it writes its journal by itself.
LONGEST_INTERVAL = 30


class Missing(Exception):
    """Says what cannot be tried here, and why."""


def run(*command):
    try:
        subprocess.run(command, check=True, capture_output=True, text=True)
    except FileNotFoundError as error:
        raise Missing(f"no {command[0]}") from error
    except subprocess.CalledProcessError as error:
        raise Missing(f"{' '.join(command)}: {error.stderr.strip()}") from error


class Disk:
    """A file system whose power can be cut."""

    def __init__(self, kind, place):
        self.kind = kind
        self.image = os.path.join(place, f"{kind}.image")
        self.top = os.path.join(place, kind)
        size, make = KINDS[kind]
        with open(self.image, "wb") as image:
            image.truncate(size * MEBIBYTE)
        run(*make, self.image)
        os.mkdir(self.top)
        self.mount()
        self.boxes = 0

    def mount(self):
        run("mount", "-o", "loop", "-t", self.kind, self.image, self.top)

    def unmount(self):
        # A killed process may still be about to close a file.
        for attempt in range(50):
            if subprocess.run(["umount", self.top], stderr=subprocess.DEVNULL,
                              check=False).returncode == 0:
                return
            time.sleep(0.02 * attempt)
        run("umount", "-l", self.top)

    def new_box(self):
        """Makes a box with the old settings, all of it on the disk, and returns its prefix."""
        self.boxes += 1
        directory = os.path.join(self.top, f"box{self.boxes}")
        write_old(directory)
        return os.path.join(directory, "")

    def commit(self):
        """Lets the file system write its journal, as it does by itself within its interval."""
        descriptor = os.open(os.path.join(self.top, "other"), os.O_CREAT | os.O_WRONLY)
        try:
            os.write(descriptor, b"x")
            if self.kind == "btrfs":
                transaction = fcntl.ioctl(descriptor, START_SYNC, bytes(8))
                fcntl.ioctl(descriptor, WAIT_SYNC, transaction)
            else:
                os.fsync(descriptor)
        finally:
            os.close(descriptor)

    def stop(self):
        """Lets nothing reach the disk from now on."""
        if self.kind == "btrfs":
            run("cp", "--sparse=always", self.image, self.image + ".cut")
            return
        descriptor = os.open(self.top, os.O_RDONLY)
        try:
            fcntl.ioctl(descriptor, SHUT_DOWN, WITHOUT_JOURNAL)
        except OSError as error:
            raise Missing(f"cannot be stopped: {error}") from error
        finally:
            os.close(descriptor)

    def start(self):
        self.unmount()
        if self.kind == "btrfs":
            os.replace(self.image + ".cut", self.image)
        try:
            self.mount()
        except Missing as error:
            raise RuntimeError("cannot be mounted after the cut") from error

    def cut(self):
        self.stop()
        self.start()


class Counting(threading.Thread):
    """Writes ever larger numbers. Knows the last one that was tried, and the last one that must remain."""

    def __init__(self, programs, prefix):
        super().__init__()
        self.programs, self.prefix = programs, prefix
        self.tried = self.promised = 0
        self.process, self.ends = None, False
        self.may_write = threading.Lock()

    def run(self):
        while not self.ends:
            with self.may_write:
                self.tried += 1
                if self.write(self.tried):
                    self.promised = self.tried

    def end(self):
        self.ends = True
        self.process.kill()
        self.join()


class CountingLibrary(Counting):
    """An application that lets its event loop write, and promises nothing."""

    question = ["turn"]

    def __init__(self, programs, prefix):
        super().__init__(programs, prefix)
        self.process = subprocess.Popen([programs.application], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.process.stdin.write(programs.asked(prefix))
        self.process.stdin.flush()
        self.process.stdout.readline()

    def write(self, number):
        words = [["set", "Count", "n", str(number)], ["set", "Count", "m", str(number)],
                 self.question]
        try:
            self.process.stdin.write("".join(json.dumps(line) + "\n" for line in words).encode())
            self.process.stdin.flush()
            return self.answers([self.process.stdout.readline() for _ in words])
        except OSError:
            return False

    def answers(self, _):
        return False

    def end(self):
        super().end()
        self.process.stdout.close()
        with contextlib.suppress(OSError):
            self.process.stdin.close()
        self.process.wait()


class CountingDurably(CountingLibrary):
    """An application that makes each change durable."""

    def __init__(self, programs, prefix):
        self.question = ["make durable", prefix + "custom.conf"]
        super().__init__(programs, prefix)

    def answers(self, lines):
        return lines[-1].strip() == b"[true]"


class CountingCommand(Counting):
    """Runs one command after the other."""

    def write(self, number):
        with subprocess.Popen([self.programs.command, "set", "Count", "n", str(number)],
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True,
                              env=self.programs.environment(self.prefix)) as self.process:
            return self.process.wait() == 0

    def end(self):
        self.ends = True
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.process.pid, signal.SIGKILL)
        self.join()


def cut_while(counting, disk, programs, between):
    """Cuts the power while a process counts, between two writes or during one. Returns how many of the
    numbers are missing, and a complaint."""
    prefix = disk.new_box()
    counter = counting(programs, prefix)
    counter.start()
    while not counter.tried > 2:
        time.sleep(0.001)
    time.sleep(random.uniform(0, 0.2))
    between = between or disk.kind == "btrfs"  # to copy the image takes time
    if between:
        counter.may_write.acquire()
    promised, before = counter.promised, counter.tried
    disk.stop()
    tried = counter.tried
    if between:
        counter.ends = True
        counter.may_write.release()
    counter.end()
    disk.start()

    found = programs.entries(prefix)
    mode = stat.S_IMODE(os.stat(prefix + "custom.conf").st_mode)
    number = int(found.pop("Count/n", 0))
    other = int(found.pop("Count/m", number))
    whole = found == OLD and number == other and mode == MODE
    if not whole:
        return 0, f"torn: {number} {other} {mode:o} {str(found)[:100]}"
    if not promised <= number <= tried:
        return 0, f"{promised} was promised, {number} is there, {tried} was tried"
    return max(0, before - number), None


def settings_after_cut(disk, programs, *, waits=0, flush_fails=False, first=False):
    """Returns what a cut leaves of a change that the library has written."""
    prefix = disk.new_box()
    old, new = (OLD, NEW) if not first else ({}, FIRST)
    if first:
        os.unlink(prefix + "custom.conf")
        flush(prefix)
    fault = ["strace", "-f", "-o", "/dev/null", "-e", "trace=fdatasync",
             "-e", "inject=fdatasync:error=EIO"] if flush_fails else []
    subprocess.run([*fault, programs.application], check=True, stdout=subprocess.DEVNULL,
                   input=programs.asked(prefix, SET, TURN))
    if flush_fails:
        disk.commit()
    time.sleep(waits)
    disk.cut()
    return left_of(prefix, programs, old, new)


def left_of(prefix, programs, old, new):
    """Says what is left of the settings."""
    file = prefix + "custom.conf"
    if not os.path.exists(file):
        return "old" if not old else "empty"
    found = programs.entries(prefix)
    if not found and os.stat(file).st_size == 0:
        return "0 bytes"
    return verdict(found, stat.S_IMODE(os.stat(file).st_mode) if old else None, old, (new,))


def refused_by_device(place, programs):
    """Returns what is left on XFS if the device itself refuses the data of the new file, as a full thin
    device does, and what the application is told of a change that shall be durable."""
    store = os.path.join(place, "store")
    os.mkdir(store)
    run("mount", "-t", "tmpfs", "-o", "size=192m", "none", store)
    try:
        disk = Disk("xfs", store)
        try:
            prefix = disk.new_box()
            disk.commit()
            with open(os.path.join(store, "filler"), "wb", buffering=0) as filler:
                with contextlib.suppress(OSError):
                    while filler.write(bytes(4096)):
                        pass
            written, durable = programs.ask(prefix, SET, TURN, ["when written"],
                                            ["make durable", prefix + "custom.conf"])[2:]
            os.unlink(os.path.join(store, "filler"))
            disk.commit()
            disk.cut()
            return written, durable, left_of(prefix, programs, OLD, NEW)
        finally:
            disk.unmount()
    finally:
        run("umount", store)


COUNTING = {"library: whole": CountingLibrary, "made durable: kept": CountingDurably,
            "stbconfig set: kept": CountingCommand}


def study(kind, place, programs, rounds, waits):
    """Prints what the cuts of a file system leave, and returns the complaints."""
    complaints = []
    disk = Disk(kind, place)
    try:
        for title, counting in COUNTING.items():
            results = [cut_while(counting, disk, programs, number % 2 == 0)
                       for number in range(rounds)]
            wrong = [complaint for _, complaint in results if complaint]
            complaints += [f"{kind}: {title}: {complaint}" for complaint in wrong]
            print(f"{kind:6} {title:22} {rounds - len(wrong)} of {rounds} cuts;"
                  f" tried and missing: {max(missing for missing, _ in results)} at most", flush=True)
        for seconds in waits:
            left = settings_after_cut(disk, programs, waits=seconds)
            print(f"{kind:6} library, cut {seconds:g} s after its write: {left}", flush=True)
            if left != "new" and (left != "old" or seconds > LONGEST_INTERVAL + 10):
                complaints.append(f"{kind}: library, cut after {seconds} s: {left}")
        for first in (False, True):
            left = settings_after_cut(disk, programs, flush_fails=True, first=first)
            print(f"{kind:6} a flush that fails, {'the first change' if first else 'a change'}: {left}",
                  flush=True)
    finally:
        disk.unmount()
    if kind == "xfs":
        written, durable, left = refused_by_device(place, programs)
        print(f"{kind:6} a device that refuses the data: {left}; the library says"
              f" {'written' if written else 'not written'}, makeDurable() says"
              f" {'durable' if durable else 'not durable'}", flush=True)
        if durable and left != "new":
            complaints.append(f"{kind}: taken for durable, although the device has refused it")
    return complaints


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--application", required=True, help="the program faults_application")
    parser.add_argument("--command", required=True, help="the program stbconfig")
    parser.add_argument("--rounds", type=int, default=4, metavar="N",
                        help="cuts while somebody writes, for each that writes")
    parser.add_argument("--waits", default="0", metavar="SECONDS,...",
                        help="how long after a change that is written the power is cut")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32))
    parser.add_argument("kinds", nargs="*", metavar="KIND", help="only these of ext4, xfs, btrfs")
    arguments = parser.parse_args()

    print(f"seed {arguments.seed}")
    random.seed(arguments.seed)
    os.umask(0o022)
    complaints, missing = [], []
    kinds = arguments.kinds or list(KINDS)
    with tempfile.TemporaryDirectory(prefix="powercut-") as place:
        programs = Programs(arguments.application, arguments.command, os.path.join(place, ""))
        for kind in kinds:
            try:
                complaints += study(kind, place, programs, arguments.rounds,
                                    [float(wait) for wait in arguments.waits.split(",")])
            except Missing as reason:
                missing.append(kind)
                print(f"{kind:6} not tried: {reason}")
    for complaint in complaints:
        print(f"powercut: {complaint}")
    return 1 if complaints else 77 if missing == kinds else 0


sys.exit(main())
