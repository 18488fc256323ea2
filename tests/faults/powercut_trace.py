# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""The system calls by which a program changes files, as strace records them."""

import re
import subprocess

# strace skips a call with "?" on a processor that does not have it. Calls that change files, but are not
# understood below, must be here, too, so that the recording fails instead of missing something.
TRACED = (
    "?open,openat,?openat2,?creat,close,?close_range,?dup,?dup2,dup3,fcntl,"
    "read,lseek,write,pwrite64,writev,pwritev,pwritev2,truncate,ftruncate,fallocate,"
    "copy_file_range,sendfile,splice,fsync,fdatasync,sync,syncfs,?chmod,fchmod,fchmodat,"
    "?link,linkat,?symlink,symlinkat,?rename,?renameat,renameat2,?unlink,unlinkat,?mkdir,mkdirat,"
    "?rmdir,?mknod,mknodat,?fork,?vfork,clone,?clone3,chdir,fchdir")

TEXT = re.compile(r'"((?:\\x[0-9a-f]{2})*)"(\.\.\.)?')


class Misread(Exception):
    """A line that is not understood."""


class Call:
    """A call that succeeded: its name, its arguments as strace shows them, its result."""

    def __init__(self, process, name, arguments, result):
        self.process, self.name, self.result = process, name, result
        self.arguments = arguments.split(", ") if arguments else []
        self.texts = []
        for text, more in TEXT.findall(arguments):
            if more:
                raise Misread(f"not recorded whole: {name}({arguments[:200]})")
            self.texts.append(bytes.fromhex(text.replace("\\x", "")))

    def number(self, index):
        return int(self.arguments[index], 0)

    def path(self, index=0):
        return self.texts[index].decode()

    def __str__(self):
        shown = TEXT.sub(lambda match: ascii(bytes.fromhex(match[1].replace("\\x", ""))[:60])[1:],
                         ", ".join(self.arguments))
        return f"{self.name}({shown}) = {self.result}"


def calls(lines):
    """Yields the calls that succeeded, in the order in which they returned."""
    begun = {}
    for line in lines:
        process, text = line.rstrip("\n").split(None, 1)
        if text.startswith(("+++", "---")):
            continue
        if text.endswith("<unfinished ...>"):
            begun[process] = text.removesuffix("<unfinished ...>")
            yield Call(process, "begins", "", 0)  # this may be the first sign of a child
            continue
        resumed = re.match(r"<\.\.\. \w+ resumed>", text)
        if resumed:
            text = begun.pop(process) + text[resumed.end():]
        call = re.fullmatch(r"(\w+)\((.*?),? *\) += (\S+)(?: .*)?", text)
        if not call:
            raise Misread(line)
        name, arguments, result = call.groups()
        if result not in ("-1", "?"):
            yield Call(process, name, arguments, int(result, 0))


def record(command, file, *options, **settings):
    """Runs the command and returns its calls that succeeded, and how it ended."""
    ended = subprocess.run(
        ["strace", "-f", "-xx", "-s", "10000000", "-e", f"trace={TRACED}", "-e", "signal=none",
         "-o", file, *options, *command], capture_output=True, **settings)
    with open(file, encoding="ascii") as lines:
        return list(calls(lines)), ended
