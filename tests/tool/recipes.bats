#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Does what the manual's page of recipes tells its reader.

load support

# Three boxes, of which this is the first; ssh to one is a command in its place.
fleet()
{
    mkdir "$box/bin" "$box/here"
    for name in box1 box2 box3; do
        mkdir -p "$box/$name"
        cp "$defaults" "$box/$name/stbapp.conf"
        printf '[Network]\nssid=living room\npsk=%s-secret\n[Video]\noutput=scart\n' $name >"$box/$name/custom.conf"
    done
    sed -i 's/scart/vga\nmode=1080p/' "$box/box3/custom.conf"
    printf '[Video]\nmode=720p\n' >"$box/box2/custom.conf"
    ln -s "$STBCONFIG" "$box/bin/stbconfig"
    printf '#!/bin/sh\necho %s\n' $$ >"$box/bin/pidof" # this process is the application
    printf '#!/bin/sh\nbox=$1\nshift\nSTBCONFIG_PERSISTENT_PREFIX=%s/$box/ STBCONFIG_DEFAULTS_PREFIX=%s/$box/ exec "$@"\n' \
        "$box" "$box" >"$box/bin/ssh"
    chmod +x "$box/bin/ssh" "$box/bin/pidof"
    export PATH=$box/bin:$PATH STBCONFIG_PERSISTENT_PREFIX=$box/box1/ STBCONFIG_DEFAULTS_PREFIX=$box/box1/
}

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
