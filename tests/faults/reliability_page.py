# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: reliability_page.py SOURCE_DIR

Compares docs/reliability.md with the tests: every row names tests that exist, every test of the
faults and of what Qt does to a file stands in a row, and the page names every function of waysout.h.
The tests in the rows of docs/ini-files.md and SECURITY.md must exist, too, and the tests and mutants
that docs/losses.md names.
"""

import fnmatch
import pathlib
import re
import sys


def tests_in(folder):
    """Yields the names, as Suite.Test, that the sources in the folder define. nthfault.py names the
    verdicts that no other test shows."""
    for source in folder.rglob("nthfault.py"):
        yield from re.findall(r'"(NthFault\.\w+)"', source.read_text())
    for source in folder.rglob("*_test.cpp"):
        for test in re.finditer(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", source.read_text(), re.M):
            yield ".".join(test.groups())


def rows_of(page):
    """Yields each row of the tables that have a column of tests, and the names in that column.

    A heading can give the suite of all names that have none."""
    suite = None
    for line in page.splitlines():
        if not line.startswith("|"):
            suite = None
            continue
        last = line.rstrip("|").split("|")[-1].strip()
        heading = re.fullmatch(r"Test(?: `(\w+\.)`)?", last)
        if heading:
            suite = heading[1] or ""
        elif suite is not None and set(last) != set("-"):
            yield line, [
                name if "." in name else suite + name for name in re.findall(r"`([\w.]+)`", last)]


def complaints(root):
    page = (root / "docs/reliability.md").read_text()
    existing = set(tests_in(root / "tests"))
    named = set()
    for row, names in rows_of(page):
        if not names:
            yield f"no test in the row: {row}"
        named.update(names)
    for name in sorted(named - existing):
        yield f"no such test: {name}"
    faults = {*tests_in(root / "tests/faults"), *(
        name for name in tests_in(root / "tests/ini")
        if name.startswith(("QtFileMode.", "QtIniContent.", "QtIniLink.")))}
    for name in sorted(faults - named):
        yield f"in no row: {name}"
    code = (root / "examples/waysout.h").read_text()
    functions = re.findall(r"^(?:inline )?(?:void|bool) (\w+)\(", code, re.M)
    if not functions:
        yield "waysout.h has no functions"
    for name in functions:
        if f"`{name}()`" not in page:
            yield f"not named: {name}() of waysout.h"


def complaints_about_rows(root, page):
    named = {name for _, names in rows_of((root / page).read_text()) for name in names}
    for name in sorted(named - set(tests_in(root / "tests"))):
        yield f"no such test: {name}"


def complaints_about_losses(root):
    page = (root / "docs/losses.md").read_text()
    tests = list(tests_in(root / "tests"))
    titles = re.findall("^# (.*)", (root / "tests/mutation/mutations.txt").read_text(), re.M)
    for pattern in re.findall(r"`([A-Z]\w+\.[\w*]+)`", page):
        if not fnmatch.filter(tests, pattern):
            yield f"no such test: {pattern}"
    for title in re.findall(r'`"(.+?)"`', page):
        if title not in titles:
            yield f"no such mutant: {title}"


def main():
    root = pathlib.Path(sys.argv[1])
    found = [f"docs/reliability.md: {complaint}" for complaint in complaints(root)]
    found += [f"docs/losses.md: {complaint}" for complaint in complaints_about_losses(root)]
    for page in ("docs/ini-files.md", "SECURITY.md"):
        found += [f"{page}: {complaint}" for complaint in complaints_about_rows(root, page)]
    for complaint in found:
        print(complaint, file=sys.stderr)
    return 1 if found else 0


sys.exit(main())
