# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""A box whose power is cut: its settings, and the programs that change and read them."""

import json
import os
import subprocess

MODE = 0o640  # neither that of a new file nor that of a copy
LONG = "x" * 40000  # more than Qt writes at once
OLD = {"Audio/volume": "7", "Video/output": "hdmi", "Zone/name": LONG}
NEW = {**OLD, "Video/output": "scart"}
LESS = {key: text for key, text in OLD.items() if key != "Video/output"}
FIRST = {"Video/output": "scart"}

# The commands that the application gets.
SET = ["set", "Video", "output", "scart"]
TURN = ["turn"]


class Programs:
    """The application, see application.cpp, and the command."""

    def __init__(self, application, command, defaults):
        self.application, self.command, self.defaults = application, command, defaults

    def asked(self, prefix, *questions):
        """Returns the input of an application that opens the box and then gets these words."""
        words = [["open", prefix, self.defaults], *questions]
        return "".join(json.dumps(line) + "\n" for line in words).encode()

    def ask(self, prefix, *questions):
        """Returns the answers of a fresh process."""
        ended = subprocess.run([self.application], input=self.asked(prefix, *questions),
                               stdout=subprocess.PIPE, check=True)
        return [json.loads(line)[0] for line in ended.stdout.splitlines()[1:]]

    def entries(self, prefix):
        return self.ask(prefix, ["entries"])[0]

    def environment(self, prefix):
        return {**os.environ, "LC_ALL": "C.UTF-8", "STBCONFIG_PERSISTENT_PREFIX": prefix,
                "STBCONFIG_DEFAULTS_PREFIX": self.defaults}


def write_old(directory):
    """Makes the directory with the old settings in it, all of it flushed."""
    os.mkdir(directory)
    path = os.path.join(directory, "custom.conf")
    with open(path, "w", encoding="ascii") as file:
        file.write(f"[Audio]\nvolume=7\n\n[Video]\noutput=hdmi\n\n[Zone]\nname={LONG}\n")
    os.chmod(path, MODE)
    flush(directory)


def flush(directory):
    """Writes all that the file system of the directory still has in memory."""
    subprocess.run(["sync", "--file-system", directory], check=True)


def verdict(found, mode, old, news):
    """Says what has become of the settings: the old or the new ones, whole, or less than that."""
    if found in news:
        return "new" if mode is None or mode == MODE else "mode"
    if found == old:
        return "old"
    return "torn" if found else "empty"
