# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

setup_file()
{
    # Ordinary users may have no access to the build folder, so they get a copy.
    cmake --install "$BUILD_DIR" --prefix "$BATS_FILE_TMPDIR/installed" >/dev/null
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_RUN_TMPDIR"/*
}

# Writes the description beside the defaults.
describe()
{
    description=$box/etc/stbapp.schema.json
    printf "$@" >"$description"
}

# Expects that "get" works, and complains of the description in this one line.
expect_note()
{
    expect 0 get Video output
    [ "$output" = "stbconfig: $1"$'\n'hdmi ] || { echo "$output"; return 1; }
}

# Prints the line in which the command complains of the description.
complaint()
{
    "$STBCONFIG" get Video output 2>&1 >/dev/null
}

@test "with a bad description, commands that need one end with 3, and the others print a note" {
    describe '{\n  "settings": {"Video/output": {"typ": "int"}}}'
    line="stbconfig: $description:2:33: there is no such member; did you mean type?"
    printf '[Video]\noutput=scart\n' >"$box/new.conf"
    printf '[Video]\nvolume=1\n' >"$custom"
    for words in "set Video output scart" "import $box/new.conf" reset "migrate --dry-run" \
        "migrate --prune" "schema conf" "schema markdown" "schema header" "list --describe"; do
        expect 3 $words
        [ "$output" = "$line" ]
    done
    for words in "get Video output" "explain Video output" list logging locale locations; do
        expect 0 $words
        [ "${lines[0]}" = "$line" ]
    done
    expect 0 unset Video volume
    [ "${lines[0]}" = "$line" ]
    expect 3 check
    [[ $output == *"error bad-description: $description:2:33: there is no such member"* ]]
}

@test "with --no-schema nothing is said of a bad description" {
    describe '{'
    expect 0 get Video output --no-schema
    [ "$output" = hdmi ]
    expect 0 set Video output scart --no-schema
}

@test "a change of a named storage needs no description" {
    describe '{'
    expect 0 set a b 1 --storage epg --create
    [[ $output == "stbconfig: $description:1:1: this is no JSON"* ]]
}

@test "lines and columns are those that an editor shows" {
    describe '{"settings": {\r\n  "Löud/ä": {"default": 1}\r\n}}'
    expect_note "$description:2:25: this is no text; write it in quotes"
    describe '\xef\xbb\xbf{"settings": {\n"a": {}\n"b": {}\n}}'
    expect_note "$description:3:1: this is no JSON: unterminated object; correct it"
}

@test "what the description says moves no cursor and makes no second line" {
    describe '{"settings": {"\\u001b[2J\\n\\u202e/a": {}, "b": {"was": ["\\u001b[2J\\n\\u202e/a"]}}}'
    complaint >"$box/said"
    [ "$(wc -l <"$box/said")" = 1 ]
    ! grep -q $'\e' "$box/said"
    ! grep -q $'\u202e' "$box/said"
}

@test "a description that is no file is never waited for" {
    description=$box/etc/stbapp.schema.json
    mkdir "$description"
    expect_note "$description: not a file but a directory; move it away"
    rmdir "$description"
    mkfifo "$description"
    expect_note "$description: not a file but a FIFO; move it away"
    ln -sf "${description##*/}" "$description"
    expect_note "$description: a symbolic link that leads back to itself; remove it, or let it lead to a file"
    expect 0 get Video output --schema "$box/etc"
    [ "${lines[0]}" = "stbconfig: $box/etc: not a file but a directory; name a description that can be read" ]
}

@test "a description that --schema names must be there" {
    expect 3 set Video output scart --schema "$box/none.json"
    [ "$output" = "stbconfig: $box/none.json: no such file; check the path" ]
    mkfifo "$box/fifo"
    expect 3 set Video output scart --schema "$box/fifo"
    [ "$output" = "stbconfig: $box/fifo: not a file but a FIFO; name a description that can be read" ]
}

@test "a description of more than 16 MiB is refused" {
    describe '{"settings": {}}'
    for size in 16777217 200000000; do
        truncate -s "$size" "$description"
        expect_note "$description: too large: $size bytes, at most 16777216 are read; look at what it holds, or move it away"
    done
    truncate -s 16777216 "$description"
    expect_note "$description:1:17: this is not UTF-8; save the file as UTF-8"
}

@test "a deep, a long and a broken description are refused at once" {
    description=$box/etc/stbapp.schema.json
    head -c 10000000 /dev/zero | tr '\0' '[' >"$description"
    run timeout 20 "$STBCONFIG" get Video output
    [[ $output == *": this is no JSON: too deeply nested document; correct it"* ]]
    python3 - "$description" <<'END'
import sys
with open(sys.argv[1], "w", encoding="utf-8") as file:
    lines = [f'"G/{i}": {{"type": "int", "default": 1, "was": ["old/{i}"]}}' for i in range(20000)]
    file.write('{"settings": {\n' + ",\n".join([*lines, '"G/1": {}']) + "}}")
END
    run timeout 30 "$STBCONFIG" get Video output
    [[ $output == *":20002:1: this member is there already; remove one of them"* ]]
}

@test "no link leads a description out of an image" {
    mkdir -p "$box/image/etc"
    printf '[Video]\noutput=hdmi\n' >"$box/image/etc/stbapp.conf"
    printf '{"settings": {}}' >"$box/outside.json"
    ln -s "$box/outside.json" "$box/image/etc/stbapp.schema.json"
    expect 0 get Video output --root "$box/image" --persistent /var/ --defaults /etc/
    [[ ${lines[0]} == *"/image/etc/stbapp.schema.json: leads out of the image; "* ]]
}

@test "a user's link opens no file of root's as a description" {
    given_to "$user"
    printf '{"secret' >"$box/root.json"
    chmod 600 "$box/root.json"
    ln -s "$box/root.json" "$box/var/link.json"
    expect 3 set Video output scart --schema "$box/var/link.json"
    [[ $output == *"link.json: cannot be read: Permission denied"* ]]
    # This link belongs to root and leads through the user's directory.
    ln -s "$box/var/link.json" "$box/etc/stbapp.schema.json"
    rm -f "$custom"
    export STBCONFIG_PERSISTENT_PREFIX=$box/etc/
    expect 0 get Video output
    [[ ${lines[0]} == *"stbapp.schema.json: cannot be read: Permission denied for user $user, who owns $box/var "* ]]
    expect 0 get Video output --as-root
    [[ ${lines[0]} == *"stbapp.schema.json:1:8: this is no JSON: unterminated string; correct it" ]]
    # This file belongs to the user, who may read it.
    printf '{}' >"$box/var/own.json"
    chown "$user" "$box/var/own.json"
    ln -sfn "$box/var/own.json" "$box/etc/stbapp.schema.json"
    expect 0 get Video output
    [[ ${lines[0]} == *"stbapp.schema.json:1:1: the member \"settings\" is missing; add it" ]]
    ln -sfn "$box/var/none.json" "$box/etc/stbapp.schema.json"
    expect 0 get Video output
    [ "$output" = hdmi ]
}

@test "root takes no description by name from a directory in which others can write" {
    [ "$(id -u)" = 0 ] || skip "only root is careful"
    mkdir -m 777 "$box/shared"
    printf '{"settings": {}}' >"$box/shared/description.json"
    expect 3 set Video output scart --schema "$box/shared/description.json"
    [ "$output" = "stbconfig: $box/shared/description.json: others than root can exchange it in $box/shared; name a description that can be read" ]
}

@test "a user who cannot read the description gets a note" {
    [ "$(id -u)" = 0 ] || skip "only root can become another user"
    given_to "$user"
    describe '{"settings": {}}'
    chmod 600 "$description"
    run setpriv --reuid "$user" --regid "$user" --clear-groups $EMULATOR \
        "$BATS_FILE_TMPDIR/installed/bin/${PROGRAM##*/}" get Video output
    [ "$status" = 0 ]
    [ "$output" = "stbconfig: $description: cannot be read: Permission denied; check the permissions, or work as the application's user"$'\n'hdmi ]
}

@test "the JSON Schema for editors accepts what the command accepts" {
    python3 "$BATS_TEST_DIRNAME/describable.py" "$STBCONFIG"
}

@test "the JSON Schema is installed" {
    cmp "$BATS_FILE_TMPDIR/installed/share/stbconfig/description.schema.json" \
        "$BATS_TEST_DIRNAME/../../tools/stbconfig/description/description.schema.json"
}
