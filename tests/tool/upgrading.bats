#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Does what docs/upgrades.md says of an older and a newer application with one file.

load support

page=$BATS_TEST_DIRNAME/../../docs/upgrades.md

# Makes the image of a version: its defaults, and for the third one the description of the page.
firmware()
{
    printf '[Video]\noutput=%s\n' "${2-hdmi}" >"$defaults"
    case $1 in
    1) rm -f "$box/etc/stbapp.schema.json" ;;
    2) echo '{"settings": {"Audio/level": {"type": "int", "was": ["Sound/level"]}, "Video/mode": {},
        "Subtitles/mode": {}, "Network/server": {}, "Teletext/shown": {}, "Video/output": {}}}' \
        >"$box/etc/stbapp.schema.json" ;;
    3) sed -n '/^```json/,/^```/{/```/d;p}' "$page" >"$box/etc/stbapp.schema.json" ;;
    esac
}

# Given a version and settings, runs the application and expects that it reads them.
reads()
{
    local version=$1 wanted
    shift
    run "$BUILD_DIR/tests/tool/upgraded_$version" "$box/var/" "$box/etc/"
    for wanted in "$@"; do
        [[ $'\n'$output$'\n' == *$'\n'"$wanted"$'\n'* ]] || { echo "$version: $wanted: $output"; return 1; }
    done
}

# Given a version, a group, a key and a value, lets the application store what its user chooses.
chooses()
{
    local version=$1
    shift
    "$BUILD_DIR/tests/tool/upgraded_$version" "$box/var/" "$box/etc/" "$@"
}

@test "each row of the page names a test here, and each test has its row" {
    diff <(sed -n 's/^|.*| `\(.*\)` |$/\1/p' "$page" | sort) \
        <(sed -n 's/^@test "\(.*\)" {$/\1/p' "$BATS_TEST_FILENAME" | grep -v " the page " | sort)
}

@test "the units of the page run what works" {
    chooses 1 Sound level 12
    firmware 3
    set -f
    for words in $(sed -n 's/^ExecStart=.*\/stbconfig //p; s/^stbconfig \(.*--redundant\)$/\1/p' "$page" | tr ' ' :); do
        expect 0 ${words//:/ }
    done
    [ "$("$STBCONFIG" list --keys --from custom)" = Audio/volume ]
}

@test "a new setting outlives a rollback" {
    chooses 1 Sound level 12
    firmware 3
    expect 0 migrate
    reads 3 night=false
    chooses 3 Audio night true
    reads 1 volume=12
    chooses 1 Sound level 13
    reads 3 night=true
}

@test "a changed default reaches a box that stored no default" {
    reads 1 output=hdmi
    firmware 3 component
    reads 3 output=component
    firmware 1
    reads 1 output=hdmi
    # Nobody can tell any more that the stored value was the default.
    chooses 1 Video output hdmi
    firmware 3 component
    expect 0 migrate
    reads 3 output=hdmi
    firmware 1
    expect 0 --no-env unset --redundant
    firmware 3 component
    reads 3 output=component
}

@test "a renamed setting has its value in both applications" {
    chooses 1 Sound level 12
    firmware 3
    expect 0 migrate
    reads 3 volume=12
    chooses 3 Audio volume 40
    firmware 1
    reads 1 volume=12
    firmware 3
    expect 0 migrate
    reads 3 volume=40
}

@test "a box that has missed a firmware is migrated in one run" {
    chooses 1 Sound level 12
    cp "$custom" "$box/first"
    firmware 3
    expect 0 migrate
    reads 3 volume=12
    cp "$box/first" "$custom"
    firmware 2
    expect 0 migrate
    reads 2 volume=12
    firmware 3
    expect 0 migrate
    reads 3 volume=12
    reads 2 volume=12
    reads 1 volume=12
    chooses 2 Audio level 13
    "$STBCONFIG" unset Audio/volume 2>/dev/null
    expect 0 migrate
    reads 3 volume=13
}

@test "changed values are mapped, and the older application reads its own" {
    chooses 1 Video mode full
    firmware 3
    expect 0 migrate
    reads 3 format=4:3
    reads 1 format=full
    reads 2 format=full
}

@test "a changed type is stored under a new name and leaves the old value" {
    chooses 1 Subtitles mode 2
    chooses 1 Network server a.example
    firmware 3
    expect 0 migrate
    reads 3 subtitles=true servers=a.example
    reads 1 subtitles=2 server=a.example
}

@test "a removed setting is there after a rollback" {
    chooses 1 Teletext shown false
    firmware 3
    expect 0 migrate
    chooses 3 Audio night true
    expect 0 migrate --prune
    reads 1 teletext=false
}

@test "an older application's write keeps what it does not know" {
    firmware 3
    chooses 3 Audio night true
    chooses 3 Picture format 4:3
    chooses 3 new/group/key 'a, b; "c" % ä'
    "$STBCONFIG" list --from custom >"$box/before"
    chooses 1 Sound level 12
    chooses 2 Audio level 13
    diff <("$STBCONFIG" list --from custom | grep -v level) "$box/before"
}

@test "a choice made after a rollback is taken over once the name of today is unset" {
    chooses 1 Sound level 12
    firmware 3
    expect 0 migrate
    firmware 1
    chooses 1 Sound level 20
    cp "$custom" "$box/chosen"
    firmware 3
    expect 0 migrate
    reads 3 volume=12
    cp "$box/chosen" "$custom"
    firmware 1
    expect 0 unset Audio/volume
    firmware 3
    expect 0 migrate
    reads 3 volume=20
}

@test "a value that nothing maps stays for the older application" {
    chooses 1 Video mode zoom
    firmware 3
    expect 1 migrate
    [[ $output == "stbconfig: Video/mode: not migrated: zoom, as Picture/format, is none of 4:3, 16:9; "* ]]
    reads 3 format=16:9
    reads 1 format=zoom
}

@test "after a prune the older application has its defaults" {
    chooses 1 Sound level 12
    firmware 3
    expect 0 migrate
    expect 0 migrate --prune
    reads 3 volume=12
    reads 1 volume=30
}

@test "a second migration brings back what was removed under the name of today" {
    chooses 1 Sound level 12
    firmware 3
    expect 0 migrate
    "$STBCONFIG" unset Audio/volume 2>/dev/null
    reads 3 volume=30
    expect 0 migrate
    reads 3 volume=12
}
