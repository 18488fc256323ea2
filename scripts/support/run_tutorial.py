# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: run_tutorial.py
       run_tutorial.py PAGE HEADING
Does what docs/tutorial.md tells its reader, in a home folder of its own, and fails at a command that
fails or prints something else than the page says. Of the page's blocks, "sh" is executed, "text" is
what the block before it has printed, and any other is a file under the name above it: one of the
checkout must hold just this below its licence, another one is made. Given a page and a heading, does
what the page tells before all headings and below this one, in the current folder."""
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^(?:`([^`\n]+)`:\n\n)?```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)

root = pathlib.Path(__file__).resolve().parents[2]
page, heading = sys.argv[1:] or ("docs/tutorial.md", None)
text = (root / page).read_text(encoding="utf-8")
if heading:
    introduction, *sections = text.split("\n## ")
    text = introduction + "".join(section for section in sections if section.startswith(heading + "\n"))
    if text == introduction:
        sys.exit(f"run-tutorial: {page}: no heading \"{heading}\"")
# Processes that a page starts in the background end with its commands.
commands = ["set -eu", "trap 'kill $(jobs -p) 2>/dev/null || :' EXIT"]
executed = []  # and what each is to print; None if the page does not say
for name, kind, content in BLOCK.findall(text):
    # A name with a folder may be a file of the tree, which the page then repeats.
    if "/" in name and (root / name).exists():
        if (root / name).read_text(encoding="utf-8").partition("\n\n")[2] != content:
            sys.exit(f"run-tutorial: {page}: {name} is different in the checkout")
    elif name:
        commands.append(f"cat >'{name}' <<'END OF FILE'\n{content}END OF FILE")
    elif kind == "sh":
        # The block does not run in a subshell, because a later one goes on in the same folder.
        commands.append(f"{{\n{content}}} >\"$PRINTED/{len(executed)}\" 2>&1")
        executed.append((content, None))
    elif kind == "text" and executed:
        executed[-1] = (executed[-1][0], content)
    else:
        sys.exit(f"run-tutorial: a block of \"{kind}\": neither a command nor a file with a name")

with tempfile.TemporaryDirectory() as home, tempfile.TemporaryDirectory() as printed:
    status = subprocess.run(["bash", "-c", "\n".join(commands)], check=False,
                            cwd=None if heading else root,
                            env={**os.environ, "HOME": home, "PRINTED": printed}).returncode
    outputs = [(pathlib.Path(printed) / str(number)).read_text(encoding="utf-8")
               for number in range(len(os.listdir(printed)))]

if status:
    sys.exit(f"run-tutorial: status {status} of\n{executed[len(outputs) - 1][0]}\n{outputs[-1]}")
different = False
for (content, expected), output in zip(executed, outputs):
    if expected is not None and output != expected:
        different = True
        sys.stderr.writelines(difflib.unified_diff(
            expected.splitlines(True), output.splitlines(True), page,
            f"printed by {content.splitlines()[0]}"))
if different:
    sys.exit(f"run-tutorial: {page} does not say what is printed")
compared = sum(expected is not None for _, expected in executed)
print(f"run-tutorial: {len(executed)} blocks executed, {compared} outputs as the page says")
