#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Describes the settings of an application whose older versions had other names for them, and has
# values of these in the custom file.
renamed()
{
    schema=$box/etc/stbapp.schema.json
    cat >"$schema" <<'JSON'
{"settings": {
    "Audio/volume": {"type": "int", "minimum": 0, "maximum": 100, "keep": true,
        "was": [{"name": "Sound/level", "values": {"loud": 100}}, "Sound/volume"]},
    "Audio/muted": {"type": "bool", "was": ["Sound/off"]},
    "Network/servers": {"type": "list", "values": ["a", "b"], "was": ["Network/server"]},
    "Picture/format": {"values": ["4:3", "16:9"], "was": [{"name": "mode", "values": {"": "16:9"}}]},
    "Picture/order": {"type": "list", "was": [{"name": "order", "values": {"old": ["x", "y"]}}]},
    "Access/code": {"type": "int", "was": ["User/pin"]},
    "User/psk": {"type": "int", "was": ["User/word"]},
    "User/name": {"type": "int", "secret": true, "was": ["User/alias"]},
    "Video/output": {}
}}
JSON
    printf '[Sound]\nlevel=loud\nvolume=7\n\n[Video]\noutput=scart\n' >"$custom"
    cp -p "$custom" "$box/before"
}

# Expects that the custom file has not changed and has not been replaced.
untouched()
{
    cmp "$box/before" "$custom" && [ "$(stat -c %i "$custom")" = "$inode" ]
}

# Given a status and words, runs a migration with these lines of the custom file, and expects that the
# last line begins like this.
gives()
{
    printf '%b' "$1" >"$custom"
    expect "$2" migrate
    [[ ${lines[-1]} == "$3"* ]] || { echo "$1: $output"; return 1; }
}

@test "what an older name holds is taken over, and stays" {
    renamed
    expect 0 migrate
    [ "$output" = "migrated  Audio/volume  Sound/level  100 (was loud)" ]
    [ "$(cat "$custom")" = $'[Audio]\nvolume=100\n\n'"$(cat "$box/before")" ]
}

@test "the newest of the older names that are held counts" {
    renamed
    sed -i /level/d "$custom"
    expect 0 migrate
    [ "$output" = "migrated  Audio/volume  Sound/volume  7" ]
    # The newest name counts even if its value cannot be taken over.
    gives '[Sound]\nlevel=101\nvolume=7\n' 1 "stbconfig: Sound/level: not migrated: 101, as Audio/volume, is above the maximum, 100; map it in $schema, or set Audio/volume"
    [ "$("$STBCONFIG" list --keys --from custom)" = $'Sound/level\nSound/volume' ]
}

@test "a migration that changes nothing prints nothing and leaves the file, its inode and its comments" {
    renamed
    sed -i '1i ; mine\n[Audio]\nvolume=1' "$custom"
    cp -p "$custom" "$box/before"
    inode=$(stat -c %i "$custom")
    for words in "" --dry-run --force; do
        expect 0 migrate $words
        [ -z "$output" ]
        untouched
    done
    expect 0 migrate -v
    [ "$output" = "stbconfig: $custom: unchanged" ]
    expect 0 migrate --json
    [ "$output" = $'[\n]' ]
    untouched
    rm "$custom"
    expect 0 migrate
    expect 0 migrate --prune
    [ ! -e "$custom" ]
    echo '{"settings": {}}' >"$schema"
    cp "$box/before" "$custom"
    expect 0 migrate
    [ -z "$output" ]
}

@test "a value is stored as its type would be" {
    renamed
    gives '[Sound]\nlevel=" 12 "\n' 0 'migrated  Audio/volume  Sound/level  12 (was " 12 ")'
    grep -qx volume=12 "$custom"
    gives '[Sound]\noff=1\n' 0 "migrated  Audio/muted  Sound/off  true (was 1)"
    grep -qx muted=true "$custom"
    gives '[Sound]\noff=FALSE\n' 0 "migrated  Audio/muted  Sound/off  false (was FALSE)"
    gives '[Network]\nserver=a\n' 0 "migrated  Network/servers  Network/server  a"
    gives '[Network]\nserver=b, a\n' 0 'migrated  Network/servers  Network/server  ["b", "a"]'
    grep -qx 'servers=b, a' "$custom"
    gives 'mode=\n' 0 'migrated  Picture/format  mode  16:9 (was "")'
    gives 'mode="4:3"\n' 0 'migrated  Picture/format  mode  4:3'
    gives 'order=old\n' 0 'migrated  Picture/order  order  ["x", "y"] (was old)'
    gives 'order=x, @Size(1 2)\n' 0 'migrated  Picture/order  order  ["x", "@Size(1 2)"]'
    gives 'order=@Invalid()\n' 0 'migrated  Picture/order  order  @Invalid()'
}

@test "a value that nothing maps and that is not allowed stays, is said with its rule, and is status 1" {
    renamed
    while IFS='|' read -r lines what; do
        gives "$lines" 1 "stbconfig: ${lines%%=*}: not migrated: $what; map it in $schema, or set "
    done <<'END'
Sound/off=no\n|no, as Audio/muted, is neither true nor false
Sound/level=quiet\n|quiet, as Audio/volume, is no whole number of 32 bits
Sound/level=-1\n|-1, as Audio/volume, is below the minimum, 0
Sound/level=99999999999\n|99999999999, as Audio/volume, is no whole number of 32 bits
Sound/level=1, 2\n|["1", "2"], as Audio/volume, is no whole number of 32 bits
Sound/level=@Invalid()\n|@Invalid(), as Audio/volume, is no whole number of 32 bits
mode=@Invalid()\n|@Invalid(), as Picture/format, is no text
mode=full\n|full, as Picture/format, is none of 4:3, 16:9
mode=a, b\n|["a", "b"], as Picture/format, is a list, and not one text
Network/server=a, c\n|["a", "c"], as Network/servers, has an item that is none of a, b
END
}

@test "the others are migrated in the same write" {
    renamed
    echo mode=full >>"$custom"
    sed -i '1i [General]\nmode=full\norder=x' "$custom"
    expect 1 migrate
    [ "$output" = "stbconfig: mode: not migrated: full, as Picture/format, is none of 4:3, 16:9; map it in $schema, or set Picture/format
migrated  Audio/volume   Sound/level  100 (was loud)
migrated  Picture/order  order        x" ] || { echo "$output"; return 1; }
    cp "$custom" "$box/before"
    inode=$(stat -c %i "$custom")
    expect 1 migrate
    [[ $output == "stbconfig: mode: not migrated: "* && ${#lines[@]} = 1 ]]
    untouched
}

@test "a secret is masked if one of its names is a secret's, or the description says so" {
    renamed
    for words in "" --json -0 --dry-run -v; do
        printf '[User]\npin=471147117\nword=471147118\nalias=471147119\n' >"$custom"
        expect 0 migrate $words
        [[ $output == *"********"* && $output != *47114711* ]] || { echo "$output"; return 1; }
        run "$STBCONFIG" migrate --prune $words
        [[ $output != *47114711* ]] || { echo "$output"; return 1; }
    done
    printf '[User]\npin=canary\nword=canary\nalias=canary\n' >"$custom"
    expect 1 migrate
    [[ ${#lines[@]} = 3 && $output == *"User/pin: not migrated: ********, as Access/code, is no whole number"* && $output != *canary* ]]
    expect 1 migrate --show-secrets
    [[ $output == *"User/alias: not migrated: canary, as User/name, is no whole number"* ]]
    printf '[User]\npin=47\n' >"$custom"
    expect 0 migrate --show-secrets
    [ "$output" = "migrated  Access/code  User/pin  47" ]
}

@test "a dry run prints what the real run prints, and writes nothing" {
    for words in migrate "migrate -v --json" "migrate --prune" "migrate --prune -0"; do
        renamed
        sed -i '1i ; mine\n[User]\npin=x' "$custom"
        [[ $words != *prune* ]] || sed -i '2i [Audio]\nvolume=1' "$custom"
        cp -p "$custom" "$box/before"
        inode=$(stat -c %i "$custom")
        expect 1 $words --dry-run
        untouched
        dry=$output
        expect 1 $words
        [ "$output" = "$dry" ] || { diff <(echo "$dry") <(echo "$output"); return 1; }
        ! untouched || false
    done
}

@test "records have the state, both names, the old value and the new one" {
    renamed
    [ "$("$STBCONFIG" migrate -0 | tr '\t\0' '|\n')" = "migrated|Audio/volume|Sound/level|loud|100" ]
    [ "$("$STBCONFIG" migrate --prune -0 | tr '\t\0' '|\n')" = $'removed|Audio/volume|Sound/level|loud|\nremoved|Audio/volume|Sound/volume|7|' ]
}

@test "a prune removes the older names that are taken over, and no others" {
    renamed
    sed -i '1i mode=4:3\n[Audio]\nvolume=100' "$custom"
    expect 1 migrate --prune
    [ "$output" = "stbconfig: mode: not removed: Picture/format has not taken it over; run stbconfig migrate, or unset it
removed  Audio/volume  Sound/level   was loud
removed  Audio/volume  Sound/volume  was 7" ] || { echo "$output"; return 1; }
    [ "$(cat "$custom")" = $'[General]\nmode=4:3\n\n[Audio]\nvolume=100\n\n[Video]\noutput=scart' ]
    cp "$custom" "$box/before"
    inode=$(stat -c %i "$custom")
    expect 1 migrate --prune
    [ "${#lines[@]}" = 1 ]
    untouched
    expect 0 migrate
    expect 0 migrate --prune -v
    [ "${lines[0]}" = "stbconfig: $custom: settings that change: 1; a running application sees that when it restarts or next writes that file" ]
    expect 0 migrate --prune
    [ -z "$output" ]
}

colour='@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)'

@test "a value of a type that only the application can write is said, or holds the write" {
    renamed
    gives "[Sound]\nlevel=$colour\nvolume=7\n" 1 "stbconfig: Sound/level: not migrated: its type is one that only the application can write; let the application set Audio/volume"
    printf '[Sound]\nlevel=%b\noff=1\n' "$colour" >"$custom"
    cp -p "$custom" "$box/before"
    expect 4 migrate
    [[ $output == "stbconfig: $custom: not saved: it holds a value of a type that only the application can write; "* ]]
    cmp "$box/before" "$custom"
    # A prune can remove such a value, but not write a file that keeps one.
    sed -i '1i [Audio]\nvolume=1' "$custom"
    expect 1 migrate --prune
    [ "$(cat "$custom")" = $'[Audio]\nvolume=1\n\n[Sound]\noff=1' ]
    printf '[Audio]\nvolume=1\n[Sound]\nlevel=1\n[ui]\ncolour=%b\n' "$colour" >"$custom"
    cp -p "$custom" "$box/before"
    expect 4 migrate --prune
    cmp "$box/before" "$custom"
}

@test "without a description, with a bad one, or with a bad file a migration is status 3" {
    renamed
    inode=$(stat -c %i "$custom")
    for words in migrate "migrate --prune" reset; do
        echo '{"settings": [' >"$schema"
        expect 3 $words
        [[ $output == "stbconfig: $schema:"* && ${#lines[@]} = 1 ]]
        expect 3 $words --schema "$box/none"
        untouched
    done
    for words in migrate "migrate --prune" "migrate --dry-run"; do
        expect 3 $words
        rm -f "$schema"
        expect 3 $words
        [ "$output" = "stbconfig: $schema: there is no description of the settings; write that file, for which stbconfig schema new makes a draft, or name another one with --schema" ]
        untouched
    done
    expect 2 migrate --no-schema
    untouched
    renamed
    mv "$schema" "$box/other.json"
    echo broken >>"$custom"
    cp -p "$custom" "$box/before"
    for words in migrate "migrate --prune"; do
        expect 3 $words --schema "$box/other.json"
        [[ $output == "stbconfig: $custom: malformed, line 7; "* ]]
        cmp "$box/before" "$custom"
    done
    sed -i '/broken/d' "$custom"
    expect 0 migrate --schema "$box/other.json"
    nested "$custom"
    expect 3 migrate --schema "$box/other.json"
}

@test "a full or read-only disk, no inode and a mount of the file alone are status 4 and leave the old file" {
    for words in migrate "migrate --prune"; do
        renamed
        sed -i '1i [User]\npin=1\n[Access]\ncode=1' "$custom"
        cp -p "$custom" "$box/before"
        ends_with_4 "$full_disk" "file system is full" $words
        ends_with_4 "$read_only_disk" "read-only file system" $words
        ends_with_4 "$mount_of_the_file" "mount point" $words
        ends_with_4 "$no_inode" "not saved: " $words
        ends_with_4 'mkdir "$1/var/custom.conf.lock"' "holds every write" $words
        rmdir "$custom.lock"
    done
}

@test "another owner and a missing permission are status 4, and the file's owner stays its owner" {
    renamed
    given_to "$user"
    chown 0:0 "$custom"
    chmod 666 "$custom"
    expect 4 migrate
    [[ $output == *"it belongs to root"* ]]
    chown "$user:$user" "$custom"
    chmod 555 "$box/var"
    expect 4 migrate
    [[ $output == *"the directory $box/var is not writable"* ]]
    cmp "$box/before" "$custom"
    chmod 755 "$box/var"
    chmod 640 "$custom"
    expect 0 migrate
    expect 0 migrate --prune
    [ "$(stat -c %u:%g:%a "$custom")" = "$user:$user:640" ]
}

@test "an image is migrated, and no link leads out of it" {
    renamed
    mkdir -p "$box/image/etc" "$box/image/var"
    cp "$custom" "$box/image/var/"
    ln -s "$schema" "$box/image/etc/stbapp.schema.json"
    expect 3 --root "$box/image" --persistent /var/ --defaults /etc/ migrate
    cp --remove-destination "$schema" "$box/image/etc/"
    expect 0 --root "$box/image" --persistent /var/ --defaults /etc/ migrate --as-root
    grep -qx volume=100 "$box/image/var/custom.conf"
    cmp "$box/before" "$custom"
}

@test "hostile names and values reach no terminal, and keep their letters" {
    renamed
    cat >"$schema" <<'JSON'
{"settings": {"new/\u202e%\u001b[31m,\"": {"was": ["old/\\x\u007f\n=;"]}, "n": {"type": "int", "was": ["o/\u001b]0;x\u0007"]}}}
JSON
    "$STBCONFIG" --no-schema set "old/"$'\\x\x7f\n=;' $'a,"b\x1b[2J\\%' 
    "$STBCONFIG" --no-schema set "o/"$'\x1b]0;x\x07' $'\x1b[2J\n'
    expect 1 migrate
    [[ $output != *[$'\x1b\x07\x7f\u202e']* && ${#lines[@]} = 2 ]] || { od -c <<<"$output"; return 1; }
    [ "$("$STBCONFIG" get $'new/\u202e%\x1b[31m,"')" = $'a,"b\x1b[2J\\%' ]
    expect 1 migrate --json --dry-run --prune
    [[ $output != *[$'\x1b\x07\x7f\u202e']* ]]
}

@test "a reset keeps what the description keeps, and an older name with it" {
    renamed
    sed -i '1i [Access]\ncode=1\n[Audio]\nvolume=1' "$custom"
    expect 0 reset
    [ "$("$STBCONFIG" list --keys --from custom)" = $'Audio/volume\nSound/level\nSound/volume' ]
    [[ $output == *$'\nkept   Sound/level '* ]]
    expect 0 reset --no-schema --keep Sound/volume
    [ "$(cat "$custom")" = $'[Sound]\nvolume=7' ]
}

@test "a description keeps exactly the setting that it names, even if the name looks like a pattern" {
    renamed
    echo '{"settings": {"a*": {"keep": true}, "A": {"keep": true}}}' >"$schema"
    printf 'A=1\na%%2A=1\nabc=1\n[A]\nb=1\n' >"$custom"
    expect 0 reset
    [ "$("$STBCONFIG" list --keys --from custom)" = $'A\na*' ]
}

@test "a reset takes an older name with the name of today, and no storage's" {
    renamed
    sed -i '1i [Network]\nserver=a\nservers=b\n[User]\npin=1' "$custom"
    cp "$custom" "$box/before"
    for glob in Network/servers 'Net*vers'; do
        cp "$box/before" "$custom"
        expect 0 reset "$glob"
        ! grep -q server "$custom" || false
        cp "$box/before" "$custom"
        expect 0 reset --keep "$glob"
        [[ $output != *"--keep matches nothing"* ]]
        [ "$(grep server "$custom")" = $'server=a\nservers=b' ]
    done
    cp "$box/before" "$custom"
    sed -i /servers/d "$custom"
    expect 0 reset Network/servers --dry-run
    [[ $output == *"reset  Network/server  not set" ]]
    cp "$box/before" "$custom"
    expect 0 reset Network/server
    grep -qx servers=b "$custom"
    cp "$box/before" "$box/var/epg.db"
    expect 1 reset --storage epg Access/code
    expect 0 reset --storage epg
    [ ! -s "$box/var/epg.db" ]
}

@test "an unset names the older names that still hold a value" {
    renamed
    for words in Audio/volume "--group Audio" --redundant; do
        printf '[Audio]\nmuted=true\nvolume=3\n[Sound]\nlevel=canary\n[Video]\noutput=scart\n' >"$custom"
        printf '[Audio]\nvolume=3\n' >"$defaults"
        expect 0 unset $words --dry-run
        dry=$output
        expect 0 unset $words
        [ "$output" = "${dry/would unset Audio\/volume, then it is/Audio\/volume is now}" ] || [ "$words" = "--group Audio" ]
        [ "${lines[0]}" = "stbconfig: Sound/level: still holds a value, which stbconfig migrate would take over to Audio/volume; unset it, too" ]
    done
    for words in Video/output Sound/level; do
        expect 0 unset $words
        [[ ${#lines[@]} = 1 && $output == *" is now not set" ]]
    done
    printf '[Audio]\nvolume=1\n[Sound]\nlevel=1\n' | tee "$box/var/epg.db" >"$custom"
    expect 0 unset Audio/volume --storage epg
    [ "${#lines[@]}" = 1 ]
    expect 0 unset Audio/volume --no-schema
    [ "${#lines[@]}" = 1 ]
}

@test "random settings are migrated from version to version as in one run, and each version reads its own values" {
    mkdir "$box/boxes"
    "$BATS_TEST_DIRNAME/moving.py" versions "$STBCONFIG" "$box/boxes" "${STBCONFIG_MOVES:-4}"
}

@test "a killed migration leaves the old file or the new one, and a second run completes" {
    mkdir "$box/boxes"
    "$BATS_TEST_DIRNAME/moving.py" migration-kills "$STBCONFIG" "$box/boxes" "${STBCONFIG_KILLS:-20}"
}
