#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

import json
import subprocess


def settings():
    """Returns each setting that a file or variable holds. Raises if a file cannot be read."""
    listed = subprocess.run(["stbconfig", "--json", "list"], check=True, stdout=subprocess.PIPE)
    return {entry["setting"]: entry["value"] for entry in json.loads(listed.stdout)}


for name, value in settings().items():
    print(name, repr(value))
