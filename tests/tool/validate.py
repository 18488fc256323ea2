#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: validate.py OUTPUT...
Fails unless each output, a file NUMBER.SCHEMA, is JSON that a terminal can be shown and that the schema in
the command's folder describes, and unless the schema refuses every output that differs in a field."""
import copy
import json
import pathlib
import sys
import unicodedata

import jsonschema

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "tools/stbconfig/schemas"
SCHEMAS = {path.name: json.loads(path.read_text(encoding="utf-8")) for path in FOLDER.glob("*.json")}
WRONG = ["neither a text", 7]  # a list, but not one of texts
OPTIONAL = {"explain.json": {"described"}}  # without a description, this field is left out


def objects_in(schema):
    """Yields every part of the schema that says which fields an object has."""
    if isinstance(schema, dict):
        if "properties" in schema and "type" in schema:
            yield schema
        schema = list(schema.values())
    if isinstance(schema, list):
        for part in schema:
            yield from objects_in(part)


def require_closed(name):
    jsonschema.Draft202012Validator.check_schema(SCHEMAS[name])
    for part in objects_in(SCHEMAS[name]):
        if part.get("additionalProperties") is not False:
            sys.exit(f"{name}: accepts further fields beside {list(part['properties'])}")
        if set(part.get("required", [])) ^ set(part["properties"]) - OPTIONAL.get(name, set()):
            sys.exit(f"{name}: {set(part['properties'])} are not all required")


def fields(pairs):
    names = [name for name, _ in pairs]
    if len(names) != len(set(names)):
        sys.exit(f"a field comes twice: {names}")
    return dict(pairs)


def parsed(text):
    for character in text:
        if unicodedata.category(character) in ("Cc", "Cf", "Cs", "Zl", "Zp") and character != "\n":
            sys.exit(f"U+{ord(character):04X} stands in the output as it is")
    return json.loads(text, object_pairs_hook=fields,
                      parse_constant=lambda word: sys.exit(f"{word} is no JSON"))


def places_in(output, place=()):
    """Yields the way to each object in the output."""
    if isinstance(output, dict):
        yield place
    items = output.items() if isinstance(output, dict) else \
        enumerate(output) if isinstance(output, list) else []
    for name, part in items:
        yield from places_in(part, (*place, name))


def altered(name, output):
    """Yields each alteration, in words, and the altered output."""
    yield "a text in place of all", "text"
    yield "a list in place of all", WRONG
    for place in places_in(output):
        found = copy.deepcopy(output)
        part = found
        for step in place:
            part = part[step]
        where = "/".join(map(str, place))
        for field, value in list(part.items()):
            del part[field]
            if field not in OPTIONAL.get(name, set()):
                yield f"{where} without {field}", found
            part[field] = WRONG
            yield f"{where} with another {field}", found
            part[field] = value
        part["another"] = 1
        yield f"{where} with one field more", found


def validate(path):
    name = path.name.partition(".")[2] + ".json"
    require_closed(name)
    output = parsed(path.read_text(encoding="utf-8"))
    validator = jsonschema.Draft202012Validator(
        SCHEMAS[name], resolver=jsonschema.RefResolver("", SCHEMAS[name], store=SCHEMAS))
    errors = list(validator.iter_errors(output))
    if errors:
        sys.exit("\n".join(f"{name}: {list(error.absolute_path)}: {error.message}" for error in errors)
                 + "\nin " + path.read_text(encoding="utf-8"))
    for what, wrong in altered(name, output):
        if validator.is_valid(wrong):
            sys.exit(f"{name}: accepts an output that differs: {what}")


require_closed("definitions.json")
for argument in sys.argv[1:]:
    validate(pathlib.Path(argument))
