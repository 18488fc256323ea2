#!/usr/bin/env python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Describes the binary interface of a library, as its debug information tells it.

usage: describe.py LIBRARY

What abidw writes holds the inside of Qt and of the library too: a megabyte that changes with every
update of Qt or the compiler. Here remains what the public headers define and, of all that they
mention, the names and sizes.
"""
import pathlib
import subprocess
import sys
import xml.etree.ElementTree as xml

ABIDW = ("abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-elf-needed",
         "--no-parameter-names", "--type-id-style", "hash")
LOCATION = ("filepath", "line", "column")
COMPOUND = ("class-decl", "union-decl", "enum-decl")


def is_public(element):
    file = pathlib.PurePath(element.get("filepath", ""))
    return (file.parent.name in ("stbconfig", "stbui") and file.suffix == ".h"
            and not file.stem.endswith("_p"))


def is_defined(element):
    return element.get("is-declaration-only") is None


def fullness(element):
    return is_defined(element), sum(1 for _ in element.iter())


class Types:
    """The fullest description of each type: many sources describe it, some only declare it."""

    def __init__(self, corpus):
        self.known = {}  # by identity: the type, and the names of the scopes that it stands in
        for unit in corpus.iter("abi-instr"):
            self.collect(unit, ())

    def collect(self, parent, scopes):
        for element in parent:
            if element.tag == "member-type":
                self.collect(element, scopes)
                continue
            identity = element.get("id")
            known = self.known.get(identity)
            if identity and (known is None or fullness(element) > fullness(known[0])):
                self.known[identity] = (element, scopes)
            if element.tag in ("namespace-decl", "class-decl", "union-decl"):
                self.collect(element, (*scopes, element.get("name")))


def reduced(element, scopes):
    """The type as an application depends on it."""
    attributes = {k: v for k, v in element.attrib.items() if k not in LOCATION}
    copy = xml.Element(element.tag, attributes)
    if element.tag in COMPOUND and not is_public(element):
        if scopes[:1] == ("stbconfig",):
            copy.attrib.pop("size-in-bits", None)
            copy.set("is-declaration-only", "yes")
        return copy

    functions = {}
    for child in element:
        if child.tag == "member-type":
            continue
        part = reduced(child, scopes)
        if child.tag == "member-function":
            # Constructors and destructors have a name for each use of the class, of which a
            # library exports some, and a common one ("4").
            name = child[0].get("mangled-name")
            if "elf-symbol-id" in child[0].attrib or ("vtable-offset" in child.attrib
                                                      and not name.endswith(("D0Ev", "D2Ev"))):
                functions[name] = part
        else:
            copy.append(part)
    copy.extend(functions[name] for name in sorted(functions))
    return copy


def describe(library):
    abidw = subprocess.run([*ABIDW, library], capture_output=True, text=True, check=True)
    corpus = xml.fromstring(abidw.stdout)
    known = Types(corpus).known

    # What the public headers define, and what that mentions.
    wanted = sorted(i for i, (e, _) in known.items() if is_public(e) and is_defined(e))
    chosen = {}
    while wanted:
        identity = wanted.pop()
        if identity not in chosen:
            element, scopes = known[identity]
            chosen[identity] = reduced(element, scopes)
            wanted += [e.get("type-id") for e in chosen[identity].iter() if e.get("type-id")]

    description = xml.Element("abi-corpus", corpus.attrib)
    description.extend(e for e in corpus if e.tag.startswith("elf-"))
    unit = xml.SubElement(description, "abi-instr", {
        "address-size": corpus.find("abi-instr").get("address-size"),
        "path": "public headers", "language": corpus.find("abi-instr").get("language")})
    places = {(): unit}
    for identity in sorted(chosen, key=lambda i: (known[i][1], known[i][0].get("name", ""), i)):
        scopes = known[identity][1]
        for depth in range(1, len(scopes) + 1):
            if scopes[:depth] not in places:
                places[scopes[:depth]] = xml.SubElement(
                    places[scopes[:depth - 1]], "namespace-decl", {"name": scopes[depth - 1]})
        place = places[scopes]
        if place.tag == "class-decl":
            place = xml.SubElement(place, "member-type", {"access": "public"})
        place.append(chosen[identity])
        places[(*scopes, chosen[identity].get("name"))] = chosen[identity]
    xml.indent(description)
    return xml.tostring(description, encoding="unicode")


print(describe(sys.argv[1]))
