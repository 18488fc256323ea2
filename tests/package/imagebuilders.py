#!/usr/bin/env python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Builds and installs the tree as a description in packaging/ says, without the image builder.

usage: imagebuilders.py buildroot|yocto SOURCE_DIR WORK_DIR VERSION CMAKE CMAKE_ARGUMENT...
"""
import fnmatch
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys

builder, source, work, version, cmake, *arguments = sys.argv[1:]
source, work = pathlib.Path(source), pathlib.Path(work, "imagebuilders")
description = source / "packaging" / builder


def expect(fact, message):
    if not fact:
        sys.exit(f"{builder}: {message}")


def installed(options):
    """The files that a build with the options alone installs; only its objects are used again."""
    tree, root = work / "build", work / "root"
    shutil.rmtree(root, ignore_errors=True)
    done = subprocess.run([cmake, "--fresh", "-S", source, "-B", tree, *arguments, *options.split(),
                           "-DCMAKE_INSTALL_PREFIX=/usr", "-DCMAKE_INSTALL_LIBDIR=lib"],
                          stderr=subprocess.PIPE, text=True)
    expect(done.returncode == 0 and "not used by the project" not in done.stderr, done.stderr)
    subprocess.run([cmake, "--build", tree], check=True)
    subprocess.run([cmake, "--install", tree], env={**os.environ, "DESTDIR": root}, check=True)
    return ["/" + str(file.relative_to(root)) for file in root.rglob("*") if not file.is_dir()]


def expect_identity(found_version, directory, licence, file):
    expect(found_version == version, f"version \"{found_version}\", not {version}")
    expect(os.path.samefile(directory, source), f"sources in {directory}, not {source}")
    expect(file == f"LICENSES/{licence}.txt", f"{file}: not the licence {licence}")


def check_buildroot():
    menu, makefile = ((description / "package/stbconfig" / file).read_text()
                      for file in ("Config.in", "stbconfig.mk"))
    for symbol in re.findall(r"BR2_PACKAGE_STBCONFIG\w*", makefile):
        expect(f"config {symbol}\n" in menu, f"{symbol}: not in the menu")
    name = re.search(r"^name: (\w+)$", (description / "external.desc").read_text(), re.M)[1]
    stub = ("define cmake-package\n"
            "$(foreach v,$(filter STBCONFIG_%,$(.VARIABLES)),$(info $v=$($v)))\n"
            f"endef\ninclude $(BR2_EXTERNAL_{name}_PATH)/external.mk\nall: ;\n")
    for tool in ("y", ""):
        make = subprocess.run(
            ["make", "-f-", "--warn-undefined-variables", f"BR2_EXTERNAL_{name}_PATH={description}",
             f"BR2_PACKAGE_STBCONFIG_TOOL={tool}"], input=stub, capture_output=True, text=True)
        expect(not make.stderr, make.stderr)
        package = dict(re.findall(r"^STBCONFIG_(\w+)=(.*)$", make.stdout, re.M))
        expect(package, "the makefile does not call cmake-package")
        expect_identity(*(package[f] for f in ("VERSION", "SITE", "LICENSE", "LICENSE_FILES")))
        files = installed(package["CONF_OPTS"])
        expect("/usr/lib/libstbconfig.so" in files, "no library")
        expect(("/usr/bin/stbconfig" in files) == bool(tool), f"tool=\"{tool}\": {files}")


def check_yocto():
    recipe, = description.glob("recipes-*/*/*.bb")
    text = recipe.read_text().replace("\\\n", "")
    assignment = re.compile(r'^(\S+) [?:]*= "(.*)"$', re.M)
    for line in assignment.sub("", text).splitlines():
        expect(re.match("#|inherit |$", line), f"not understood: {line}")
    values = dict(assignment.findall(text), THISDIR=str(recipe.parent), bindir="/usr/bin",
                  datadir="/usr/share", includedir="/usr/include", libdir="/usr/lib")
    values["PN"], values["PV"] = recipe.stem.split("_")

    def expand(text):
        text = re.sub(r"\$\{(\w+)\}", lambda variable: expand(values[variable[1]]), text)
        return re.sub(r"\$\{@(.*)\}", lambda python: eval(python[1]), text)

    values = {expand(name): expand(value) for name, value in values.items()}
    file, checksum = re.match("file://(.*);md5=(.*)", values["LIC_FILES_CHKSUM"]).groups()
    expect_identity(values["PV"], values["EXTERNALSRC"], values["LICENSE"], file)
    expect(hashlib.md5((source / file).read_bytes()).hexdigest() == checksum, f"{file}: changed")

    options = [values["EXTRA_OECMAKE"]]
    for name in values["PACKAGECONFIG"].split():
        options.append(values[f"PACKAGECONFIG[{name}]"].split(",")[0])
    files, matched = installed(" ".join(options)), []
    packages = [values["PN"], values["PN"] + "-dev", *values["PACKAGE_BEFORE_PN"].split()]
    for pattern in " ".join(values[f"FILES:{package}"] for package in packages).split():
        found = [f for f in files if fnmatch.fnmatch(f, pattern) or f.startswith(pattern + "/")]
        expect(found, f"{pattern}: matches nothing")
        matched += found
    for file in files:
        expect(matched.count(file) == 1, f"{file}: in {matched.count(file)} packages")


{"buildroot": check_buildroot, "yocto": check_yocto}[builder]()
