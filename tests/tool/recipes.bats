#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Does what the manual's page of recipes tells its reader.

load support

@test "each recipe prints what the page says" {
    fleet
    cd "$box/here"
    python3 - "$BATS_TEST_DIRNAME/../../tools/stbconfig/man/stbconfig-recipes.7.scd" <<'END'
import pathlib, re, subprocess, sys

page = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")
blocks = re.findall(r"^```\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
assert len(blocks) >= 7
for block in blocks:
    commands = "".join(line[2:] for line in block.splitlines(True) if line.startswith("$ "))
    told = "".join(line for line in block.splitlines(True) if not line.startswith("$ "))
    done = subprocess.run(["bash", "-u"], input=commands, text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    print(done.stderr)
    if done.stdout != told:
        sys.exit(f"{commands}\nprints\n{done.stdout}\nand not\n{told}")
END
    [ -z "$(ls "$box/here" | grep -v -e before.ini -e report.txt)" ]
    ! grep "box[0-9]-secret" "$box/here/report.txt"
}
