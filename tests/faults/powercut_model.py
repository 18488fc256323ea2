# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""What a power cut may leave of the files that recorded system calls have changed.

The model is weaker than any file system that is in use, so that it finds what one of them may do:

- Nothing is sure to be on the disk that was not flushed, by fsync or fdatasync.
- A file that was flushed is on the disk, but the directory's entry that leads to it is not: for that
  the directory itself must be flushed. fdatasync leaves out the mode.
- Each piece that was written and not flushed may be there, be missing, be cut in the middle, or be
  zeros where the file has grown already.
- The entries of a directory reach the disk in any order: each name may lead to whatever it led to
  since the last flush. So a new name may be there before its data, and a rename may be half done.
"""

import itertools
import os
import re
import stat


class File:
    """A file, with each data and each mode that it has had since the last flush, the latest one last."""

    def __init__(self, data=b"", mode=0o644):
        self.data, self.mode = data, mode
        self.flushed, self.pieces, self.modes = data, [], [mode]

    def write(self, offset, piece):
        self.pieces.append((offset, piece))
        self.data = put(self.data, offset, piece)

    def resize(self, length):
        self.data = self.data[:length].ljust(length, b"\0")
        self.pieces.append((length, None))

    def change_mode(self, mode):
        self.mode = mode
        self.modes.append(mode)

    def flush(self, with_mode):
        self.flushed, self.pieces = self.data, []
        if with_mode:
            self.modes = [self.mode]

    def possible_data(self):
        result = {self.flushed: None}  # keeps the order
        for last, damaged in itertools.product(range(len(self.pieces)), repeat=2):
            for damage in (None, missing, cut, zeros):
                data = self.flushed
                for index, (offset, piece) in enumerate(self.pieces[:last + 1]):
                    if piece is None:
                        data = data[:offset].ljust(offset, b"\0")
                    elif damage and index == damaged:
                        data = put(data, offset, damage(piece))
                    else:
                        data = put(data, offset, piece)
                result[data] = None
        if self.pieces:
            result[bytes(len(self.data))] = None  # the file has grown, but no piece is there
        return list(result)

    def possible(self):
        return [("file", data, mode)
                for data in self.possible_data() for mode in dict.fromkeys(self.modes)]


def put(data, offset, piece):
    return data[:offset].ljust(offset, b"\0") + piece + data[offset + len(piece):]


def missing(_):
    return b""


def cut(piece):
    return piece[:len(piece) // 2]


def zeros(piece):
    return bytes(len(piece))


class Directory:
    """A directory, with all that each name has led to since the last flush, the latest one last."""

    def __init__(self):
        self.entries = {}

    def get(self, name):
        return self.entries.get(name, [None])[-1]

    def set(self, name, node):
        self.entries.setdefault(name, [None]).append(node)

    def flush(self):
        self.entries = {name: [past[-1]] for name, past in self.entries.items() if past[-1]}

    def possible(self):
        """Yields each state as ("directory", ((name, what it leads to), ...)), without names that lead
        nowhere."""
        names = sorted(self.entries)
        for nodes in itertools.product(*(dict.fromkeys(self.entries[name]) for name in names)):
            present = [(name, node) for name, node in zip(names, nodes) if node]
            distinct = list(dict.fromkeys(node for _, node in present))
            # Two names of one file show the same content.
            for contents in itertools.product(*(node.possible() for node in distinct)):
                content = dict(zip(distinct, contents))
                yield "directory", tuple((name, content[node]) for name, node in present)

    def now(self):
        return "directory", tuple(
            (name, node.now() if isinstance(node, Directory) else ("file", node.data, node.mode))
            for name, node in ((name, self.get(name)) for name in sorted(self.entries)) if node)


def read(path):
    """Returns what a directory holds, in the form of Directory.possible()."""
    if os.path.isdir(path):
        return "directory", tuple((name, read(os.path.join(path, name)))
                                  for name in sorted(os.listdir(path)))
    with open(path, "rb") as file:
        return "file", file.read(), stat.S_IMODE(os.stat(path).st_mode)


def make(path, content):
    """Makes a file or directory with this content."""
    if content[0] == "directory":
        os.mkdir(path)
        for name, inner in content[1]:
            make(os.path.join(path, name), inner)
        return
    with open(path, "wb") as file:
        file.write(content[1])
    os.chmod(path, content[2])


def node_of(content):
    if content[0] == "file":
        return File(*content[1:])
    result = Directory()
    for name, inner in content[1]:
        result.set(name, node_of(inner))
    result.flush()
    return result


class Unknown(Exception):
    """The model does not know a call that touches the files in question."""


class Opened:
    """What a descriptor leads to, with the place of the next byte."""

    def __init__(self, node, appends):
        self.node, self.appends, self.offset = node, appends, 0


class Disk:
    """A directory below which recorded calls change files."""

    def __init__(self, root, umask=0o022):
        self.root, self.umask = root, umask
        self.top = node_of(read(root))
        self.opened = {}  # by process and descriptor
        self.forgotten = ()  # "file" or "directory": the model ignores their flushes

    # Returns the directory that a path leads to, and the name in it; nothing for a path outside the root.
    def place(self, call, path):
        if not path.startswith("/"):
            raise Unknown(f"relative path: {call}")
        path = os.path.normpath(path)
        if path == self.root:
            return None, None
        if not path.startswith(self.root + "/"):
            return None
        *way, name = path[len(self.root) + 1:].split("/")
        directory = self.top
        for step in way:
            directory = directory.get(step)
        return directory, name

    def node(self, call, path):
        place = self.place(call, path)
        if not place:
            return None
        directory, name = place
        return self.top if directory is None else directory.get(name)

    def table(self, process):
        return self.opened.setdefault(process, {})

    def at(self, call, index=0):
        return self.table(call.process).get(call.number(index))

    def apply(self, call):
        """Makes the change of the call, and tells whether it was one."""
        name = call.name.removesuffix("64")
        handler = getattr(self, "do_" + name, None)
        if handler:
            return handler(call)
        known = any(text.startswith(os.fsencode(self.root)) for text in call.texts)
        known = known or any(re.fullmatch(r"\d+", argument) and self.at(call, index)
                             for index, argument in enumerate(call.arguments))
        if known:
            raise Unknown(f"not modelled: {call}")
        return False

    def do_begins(self, call):
        return False

    # A child goes on with the descriptors of its parent, and is seen before its parent's call
    # returns. So it is looked for when it makes its first call.
    def adopt(self, calls):
        parents = {str(call.result): call for call in calls
                   if call.name in ("fork", "vfork", "clone", "clone3")}
        for call in calls:
            birth = parents.get(call.process)
            if birth and call.process not in self.opened:
                table = self.table(birth.process)
                shares = "CLONE_FILES" in ", ".join(birth.arguments)
                self.opened[call.process] = table if shares else dict(table)
            yield call

    def do_fork(self, call):
        return False

    do_vfork = do_clone = do_clone3 = do_fork

    def open(self, call, path, flags, mode):
        place = self.place(call, path)
        self.table(call.process).pop(call.result, None)
        if not place:
            return False
        node, changed = self.node(call, path), False
        if "O_TMPFILE" in flags:
            node, changed = File(mode=mode & ~self.umask), True
        elif node is None:
            node, changed = File(mode=mode & ~self.umask), True
            place[0].set(place[1], node)
        elif "O_TRUNC" in flags and node.data:
            node.resize(0)
            changed = True
        self.table(call.process)[call.result] = Opened(node, "O_APPEND" in flags)
        return changed

    def do_openat(self, call):
        mode = int(call.arguments[3], 8) if len(call.arguments) > 3 else 0
        return self.open(call, call.path(), call.arguments[2].split("|"), mode)

    def do_open(self, call):
        mode = int(call.arguments[2], 8) if len(call.arguments) > 2 else 0
        return self.open(call, call.path(), call.arguments[1].split("|"), mode)

    def do_creat(self, call):
        return self.open(call, call.path(), ["O_TRUNC"], int(call.arguments[1], 8))

    def do_close(self, call):
        self.table(call.process).pop(call.number(0), None)
        return False

    def do_dup(self, call):
        opened = self.at(call)
        self.table(call.process).pop(call.result, None)
        if opened:
            self.table(call.process)[call.result] = opened
        return False

    do_dup2 = do_dup3 = do_dup

    def do_fcntl(self, call):
        return self.do_dup(call) if call.arguments[1].startswith("F_DUPFD") else False

    def do_read(self, call):
        opened = self.at(call)
        if opened:
            opened.offset += call.result
        return False

    def do_sendfile(self, call):
        if self.at(call, 0):
            raise Unknown(f"not modelled: {call}")
        return False

    def do_lseek(self, call):
        opened = self.at(call)
        if opened:
            opened.offset = call.result
        return False

    def do_write(self, call):
        opened = self.at(call)
        if not opened or not call.result:
            return False
        if opened.appends:
            opened.offset = len(opened.node.data)
        opened.node.write(opened.offset, b"".join(call.texts)[:call.result])
        opened.offset += call.result
        return True

    do_writev = do_write

    def do_pwrite(self, call):
        opened = self.at(call)
        if opened:
            opened.node.write(call.number(-1), call.texts[0][:call.result])
        return bool(opened)

    def do_ftruncate(self, call):
        opened = self.at(call)
        if opened:
            opened.node.resize(call.number(1))
        return bool(opened)

    def do_fchmod(self, call):
        opened = self.at(call)
        if opened and isinstance(opened.node, File):
            opened.node.change_mode(int(call.arguments[1], 8))
        return bool(opened)

    def do_chmod(self, call):
        node = self.node(call, call.path())
        if node:
            node.change_mode(int(call.arguments[-1], 8))
        return bool(node)

    def do_fsync(self, call):
        opened = self.at(call)
        if not opened:
            return False
        if isinstance(opened.node, Directory):
            if "directory" not in self.forgotten:
                opened.node.flush()
        elif "file" not in self.forgotten:
            opened.node.flush(with_mode=call.name != "fdatasync")
        return True

    do_fdatasync = do_fsync

    def name_to(self, call, path, node):
        directory, name = self.place(call, path)
        directory.set(name, node)
        return True

    def do_linkat(self, call):
        old, new = call.path(0), call.path(1)
        if not self.place(call, new):
            return False
        descriptor = re.fullmatch(r"/proc/self/fd/(\d+)", old)
        node = (self.table(call.process)[int(descriptor[1])].node if descriptor
                else self.node(call, old))
        return self.name_to(call, new, node)

    do_link = do_linkat

    def do_rename(self, call):
        old, new = call.path(0), call.path(1)
        if not self.place(call, new):
            return False
        if "RENAME_EXCHANGE" in call.arguments[-1]:
            raise Unknown(f"not modelled: {call}")
        self.name_to(call, new, self.node(call, old))
        return self.name_to(call, old, None)

    do_renameat = do_renameat2 = do_rename

    def do_unlink(self, call):
        return bool(self.place(call, call.path())) and self.name_to(call, call.path(), None)

    do_unlinkat = do_rmdir = do_unlink

    def do_mkdir(self, call):
        if not self.place(call, call.path()):
            return False
        return self.name_to(call, call.path(), Directory())

    do_mkdirat = do_mkdir

    def cuts(self, calls):
        """Yields all that a cut may leave after each call that changes something."""
        yield None, set(self.top.possible())
        for call in self.adopt(calls):
            if self.apply(call):
                yield call, set(self.top.possible())
