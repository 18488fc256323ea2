# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: scripts/check-links
Fails if a link in a Markdown page of the tree names a file, a folder or a heading that is not there. Links
that leave the tree are not followed."""
import os
import pathlib
import re
import subprocess
import sys

FENCED = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


def prose(page):
    return FENCED.sub("", page.read_text(encoding="utf-8"))


def anchors(page):
    """What a forge makes of the page's headings."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
            for heading in HEADING.findall(prose(page))}


def fault(page, link):
    path, _, anchor = link.partition("#")
    target = page.parent / path if path else page
    name = os.path.relpath(target, root)
    if name not in tree and not any(file.startswith(name + "/") for file in tree):
        return "not in the tree"
    if anchor and (target.suffix != ".md" or anchor not in anchors(target)):
        return "no such heading"
    return None


root = pathlib.Path(__file__).resolve().parents[2]
tree = set(subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=root,
                          check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines())
count = 0
faults = []
for name in sorted(name for name in tree if name.endswith(".md")):
    for link in LINK.findall(CODE.sub("", prose(root / name))):
        if ":" in link:
            continue
        count += 1
        found = fault(root / name, link)
        if found:
            faults.append(f"check-links: {name}: {link}: {found}")
print("\n".join(faults), file=sys.stderr, end="\n" if faults else "")
if faults or not count:
    sys.exit("check-links: correct the links above" if faults else "check-links: found no link")
print(f"check-links: all {count} links resolve")
