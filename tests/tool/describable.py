#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: describable.py COMMAND
Fails unless the JSON Schema of a description accepts, of the fuzzer's inputs, those that the command
accepts."""
import json
import pathlib
import subprocess
import sys

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = json.loads((ROOT / "tools/stbconfig/description/description.schema.json").read_text())
CORPUS = ROOT / "tests/fuzz/corpus/description"

# A schema cannot express these rules, which compare one value with others; the command says so in these words.
RULES = {
    "is above the maximum": "a default, or what an older value became, lies within the limits",
    "is below the minimum": "the same",
    "is none of": "a default, or what an older value became, is one of the values",
    "has an item that is none of": "the same, of a list's items",
    "the minimum is above the maximum": "some number is allowed",
    "this name belongs to": "no name belongs to two settings",
    "this is the setting's name of today": "no setting has an older name that is its own",
}


class Repeated(Exception):
    """A member is there twice, which most readers of JSON overlook."""


def members(pairs):
    if len({name for name, _ in pairs}) != len(pairs):
        raise Repeated
    return dict(pairs)


def complaint(command, path):
    words = [command, "get", "group", "key", "--default", "", "--schema", str(path)]
    found = subprocess.run(words, capture_output=True, text=True, check=False, timeout=60)
    if found.returncode != 0:
        sys.exit(f"{path.name}: get ends with {found.returncode}: {found.stderr}")
    return found.stderr


jsonschema.Draft202012Validator.check_schema(SCHEMA)
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)
wrong, seen, count = [], set(), 0
for path in sorted(CORPUS.iterdir()):
    try:
        fits = VALIDATOR.is_valid(json.loads(path.read_bytes().decode("utf-8-sig"),
                                             object_pairs_hook=members))
    except Repeated:
        fits = False
    except (ValueError, RecursionError):
        continue  # Qt accepts a few texts that are not JSON
    count += 1
    said = complaint(sys.argv[1], path)
    rules = {rule for rule in RULES if rule in said}
    seen |= rules
    if fits != (not said or bool(rules)):
        wrong.append(f"{path.name}: the schema {'accepts' if fits else 'refuses'} it; {said}")
for rule in RULES.keys() - seen:
    wrong.append(f"no input shows: {rule}")
if count < 80:
    wrong.append(f"{count} inputs are too few")
sys.exit("\n".join(wrong) or None)
