# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Runs the command on another box.
there()
{
    mkdir -p "$box/there/var" "$box/there/etc"
    STBCONFIG_PERSISTENT_PREFIX=$box/there/var/ STBCONFIG_DEFAULTS_PREFIX=$box/there/etc/ \
        "$STBCONFIG" "$@"
}

# Writes settings of all kinds to the custom file, and makes a storage, and keeps a copy of each file.
filled()
{
    printf '[General]\nloose=1\n\n[Network]\nssid=home\n\n[User]\nname=me\npassword=canary\n\n[Video]\noutput=scart\n' >"$custom"
    printf '[a]\nb=1\n' >"$box/var/epg.db"
    cp -p "$custom" "$box/before"
    cp -p "$box/var/epg.db" "$box/storage"
    cp -p "$defaults" "$box/defaults"
}

# Expects that no file has changed.
untouched()
{
    cmp "$box/before" "$custom" && cmp "$box/storage" "$box/var/epg.db" && cmp "$box/defaults" "$defaults"
}

@test "an export is what a storage would hold, byte for byte" {
    filled
    sed '/password/d' "$custom" >"$box/wanted"
    "$STBCONFIG" export >"$box/given"
    cmp "$box/given" "$box/wanted"
    "$STBCONFIG" export --show-secrets >"$box/given"
    cmp "$box/given" "$custom"
    untouched
}

@test "an export leaves secrets out and says how many" {
    filled
    expect 0 export User
    [ "$output" = $'stbconfig: export: secrets left out: 1; add --show-secrets to export them\n[User]\nname=me' ]
    expect 0 export User/password
    [ "$output" = "stbconfig: export: secrets left out: 1; add --show-secrets to export them" ]
    expect 0 export --show-secrets User/password
    [ "$output" = $'[User]\npassword=canary' ]
    expect 0 export Video
    [ "$output" = $'[Video]\noutput=scart' ]
}

@test "a pattern that matches nothing is status 1, a box without settings of its own is 0" {
    expect 0 export
    [ -z "$output" ]
    filled
    expect 1 export Audio
    [[ $output == "stbconfig: Audio: no such setting; "* ]]
    expect 1 reset Vidio
    [ "$output" = "stbconfig: Vidio: not set in $custom; did you mean Video?" ]
    expect 1 import "$box/before" --only Audio
    [[ $output == "stbconfig: $box/before: holds no setting Audio; nothing is imported" ]]
    untouched
}

@test "an effective export holds what answers, with the origins as comments" {
    printf '[Audio]\nvolume=3\n' >"$custom"
    STBAPP_LOGGING_LEVEL=1 expect 0 export --effective
    [ "$output" = $'[Audio]\n; CustomConfPersistent\nvolume=3\n\n[Logging]\n; EnvironmentVariables\nlevel=1\n\n[Video]\n; StbappConfDefault\noutput=hdmi' ]
    "$STBCONFIG" export --effective | there import -
    [ "$(there list --keys --from custom)" = $'Audio/volume\nVideo/output' ]
    expect 2 export --effective --storage epg
}

@test "a named storage moves too" {
    filled
    expect 0 export --storage epg
    [ "$output" = $'[a]\nb=1' ]
    expect 3 export --storage non
    "$STBCONFIG" export --storage epg >"$box/given"
    ! there import --storage epg "$box/given" || false
    there import --storage epg --create "$box/given"
    cmp "$box/there/var/epg.db" "$box/storage"
    there reset --storage epg
    [ ! -s "$box/there/var/epg.db" ]
    [ ! -e "$box/there/var/custom.conf" ]
}

@test "an export prints no JSON" {
    expect 2 export --json
    [[ $output == *"for JSON use list" ]]
}

@test "what no file can carry is left out of an export, named, and status 1" {
    printf '[ui]\ncolour=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)\nplain=1\n\\odd=2\n' >"$custom"
    expect 1 export
    [[ $output == *$'[ui]\nplain=1' && $output == *"ui//odd: left out: "* ]]
    [[ $output == *"ui/colour: left out: "* && $output != *colour=* ]]
    expect 1 export --effective
    [[ $output == *"plain=1"* && $output != *colour=* ]]
}

@test "an import adds to what is there, or replaces it, all of it or what was chosen" {
    printf '[A]\nx=1\n[Network]\nssid=other\n' >"$box/given"
    filled
    expect 0 import "$box/given"
    [ "$output" = $'added    A/x           1\nchanged  Network/ssid  other (was home)' ]
    [ "$("$STBCONFIG" get Video output)" = scart ]
    expect 0 import "$box/given" --replace
    [ "$("$STBCONFIG" list --keys --from custom)" = $'A/x\nNetwork/ssid' ]
    filled
    expect 0 import "$box/given" --only 'Net*'
    [ "$output" = "changed  Network/ssid  other (was home)" ]
    filled
    sed -i '/loose/a other=2' "$custom"
    expect 0 import "$box/before" --replace --only '?????'
    [ "$output" = "removed  other  was 2" ]
    cmp "$custom" "$box/before"
}

@test "secrets that an import removes are counted, and shown masked" {
    filled
    "$STBCONFIG" export 2>/dev/null >"$box/given"
    expect 0 import --replace "$box/given" --dry-run
    [[ $output == *"removed  User/password  was ********"* && $output != *canary* ]]
    [[ $output == *"secrets that were not given and are removed: 1; "* ]]
    untouched
}

@test "a dry run prints what the real run prints, and writes nothing" {
    set -f
    printf '; gone\n[A]\nx=1\n[Network]\nssid=other\n' >"$box/given"
    for words in "import $box/given" "import $box/given --replace" "import -v --json $box/given" reset \
        "reset Network" "reset --keep Net* --keep nothing --json" "reset --storage epg"; do
        filled
        sed -i '1i ; mine' "$custom"
        cp -p "$custom" "$box/before"
        expect 0 $words --dry-run
        untouched
        dry=$output
        expect 0 $words
        [ "$output" = "$dry" ] || { diff <(echo "$dry") <(echo "$output"); return 1; }
        ! untouched || false
    done
    rm -f "$custom"
    expect 0 import "$box/given" --dry-run
    [ ! -e "$custom" ]
}

@test "an import that changes nothing leaves the file, its inode and its comments" {
    filled
    sed -i '1i ; mine' "$custom"
    inode=$(stat -c %i:%Y "$custom")
    for words in "import $box/before" "import --replace $box/before"; do
        expect 0 $words
        [ -z "$output" ]
    done
    [ "$(stat -c %i:%Y "$custom")" = "$inode" ]
}

@test "a file to import is UTF-8, with a byte order mark or without" {
    for mark in '' '\xef\xbb\xbf'; do
        printf "$mark"'[Ж%%20é]\nnä=é1, "Ж;a"\nescaped="\\xe9"\n; й\nab=\U1f4fa' >"$box/given"
        expect 0 import "$box/given"
        [ "$("$STBCONFIG" list -0 --from custom | tr '\t\0' '=\n')" = \
            $'Ж é/ab=CustomConfPersistent=\U1f4fa\nЖ é/escaped=CustomConfPersistent=é\nЖ é/nä=CustomConfPersistent=["é1", "Ж;a"]' ]
        rm "$custom"
    done
}

@test "a name to import can have an equals sign and more than ASCII" {
    printf '[A]\nn\\=bä=é=1\n' >"$box/given"
    expect 0 import "$box/given"
    [ "$output" = "added  A/n/=bä  é=1" ]
}

@test "all that is refused is named, no value is shown, and nothing is written" {
    filled
    printf '[A]\nx=\xffcanary\nA//b=canary\nok=1\n[Logging]\nlevel=verbose\nresponseLengthLimit=canary\n[%%general]\ny=canary\n[B]\nc=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)\n' >"$box/given"
    for words in "" --dry-run --replace; do
        expect 2 import "$box/given" $words
        for what in "line 2: it is not UTF-8" "A/A//b: a file cannot express this name; use A/A/b" "Logging/level: reads as critical" \
            "Logging/responseLengthLimit: is no number" "general/y: a file cannot express this group; use General/y" \
            "$box/given: nothing is imported, refused: 6; "; do
            [[ $output == *"stbconfig: $what"* ]] || { echo "$what: $output"; return 1; }
        done
        [[ $output == *"stbconfig: B/c: "* && $output != *canary* && ${#lines[@]} = 7 ]]
        untouched
    done
    sed -i '/canary$/d' "$box/given"
    expect 0 import "$box/given" --only A
    [ "$output" = "added  A/ok  1" ]
    # No logging reader looks into this storage.
    expect 0 import "$box/given" --only Logging --storage epg
}

@test "what cannot be read to import is status 3, and nothing is written" {
    filled
    mkfifo "$box/fifo"
    mkdir "$box/directory"
    ln -s /dev/zero "$box/device"
    ln -s loop "$box/loop"
    truncate -s 200M "$box/huge"
    nested "$box/nested"
    printf '[A]\nb=1\nbroken\n[B\n' >"$box/malformed"
    for thing in fifo directory device loop huge nested malformed missing; do
        run timeout 20 "$STBCONFIG" import "$box/$thing"
        [ "$status" = 3 ] && [[ ${lines[-1]} == "stbconfig: $box/$thing: "* ]] || { echo "$thing: $status: $output"; return 1; }
        untouched
    done
    [[ $output == *"no such file"* ]]
    run "$STBCONFIG" import "$box/malformed"
    [[ $output == *"malformed, line 3, 4; "* ]]
    run "$STBCONFIG" import - <"$box/nested"
    [ "$status" = 3 ]
    [[ ${lines[-1]} == "stbconfig: standard input: would crash every program that reads it; "* ]]
    run sh -c 'head -c 140000000 /dev/zero | "$1" import -' - "$STBCONFIG"
    [ "$status" = 3 ]
    [[ $output == "stbconfig: standard input: too large: "* ]]
    run sh -c 'exec "$1" import - <&-' - "$STBCONFIG"
    [ "$status" = 3 ]
    untouched
}

@test "standard input that is empty removes nothing" {
    filled
    set -f
    for words in "import -" "import --replace -" "import --replace --only * -"; do
        run "$STBCONFIG" $words </dev/null
        [ "$status" = 1 ]
        [[ $output == "stbconfig: standard input: holds no setting"* ]]
    done
    untouched
}

@test "an empty pattern, as of an unset variable, is refused where it would choose all" {
    filled
    expect 2 reset ''
    expect 2 reset --keep ''
    expect 2 import "$box/before" --only ''
    untouched
}

# Waits until the directory is empty.
until_empty()
{
    for ((i = 0; i < 300; ++i)); do
        [ -n "$(ls -A "$1")" ] || return 0
        sleep 0.02
    done
    ls -la "$1"
    return 1
}

@test "a scratch directory is nobody else's, and is gone whatever ends the command" {
    filled
    mkdir "$box/tmp"
    export TMPDIR=$box/tmp
    expect 0 export
    nested "$box/nested"
    expect 3 import "$box/nested"
    printf 'x\n' >"$box/malformed"
    expect 3 import "$box/malformed"
    [ -z "$(ls -A "$TMPDIR")" ]
    # Many settings give the test time to look and to kill.
    { echo '[a]'; seq -f 'k%g=1' 20000; } >"$box/many"
    for signal in KILL TERM INT; do
        "$STBCONFIG" import --dry-run "$box/many" >/dev/null 2>&1 3>&- &
        local process=$!
        local mode=
        for ((i = 0; i < 500; ++i)); do
            # One that is gone before it was looked at does not count.
            mode=$(stat -c %a "$TMPDIR"/* 2>/dev/null) && break
            sleep 0.01
        done
        [ "$mode" = 700 ]
        kill -$signal "$process"
        wait "$process" || true
        until_empty "$TMPDIR"
    done
    untouched
}

@test "a scratch directory that cannot be removed is named" {
    requires_namespaces
    [ -n "$FAULTS_LIBRARY" ] || skip "no library that makes calls fail"
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer wants to be loaded first"
    printf '[a]\nb=1\n' >"$box/given"
    run unshare -m sh -c 'mkdir "$1/tmp"; mount -t tmpfs none "$1/tmp"
        FAULTS_RUN="mount -o remount,ro $1/tmp" FAULTS=read:/custom.conf:run:1 LD_PRELOAD=$3 TMPDIR=$1/tmp \
            exec "$2" import --dry-run "$1/given"' - "$box" "$STBCONFIG" "$FAULTS_LIBRARY"
    [[ ${lines[0]} =~ ^"stbconfig: $box/tmp/stbconfig."....../": could not be removed; remove it: it may hold settings"$ ]]
    [ "${lines[1]}" = "added  a/b  1" ]
}

@test "root uses no scratch directory in which others could put a link" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    filled
    mkdir -m 777 "$box/shared"
    for words in export "import $box/before"; do
        TMPDIR=$box/shared expect 3 $words
        [[ $output == *"$box/shared: no scratch directory: others than root can exchange what is in $box/shared; "* ]]
        chmod 1777 "$box/shared"
        TMPDIR=$box/shared expect 0 $words
        chmod 777 "$box/shared"
    done
    chmod 755 "$box/shared"
    chown 1234 "$box/shared"
    TMPDIR=$box/shared expect 3 export
    [[ $output == *"$box/shared: no scratch directory: others than root can exchange what is in $box/shared; "* ]]
}

@test "a TMPDIR that the user cannot use does not hold an export" {
    filled
    TMPDIR=$box/none expect 0 export Video
    [ "$output" = $'[Video]\noutput=scart' ]
}

@test "root reads a file to import as the user on whose way it lies" {
    filled
    given_to "$user"
    printf '[a]\nb=canary\n' >"$box/root.conf"
    chmod 600 "$box/root.conf"
    chown -R 0:0 "$box/var"
    mkdir "$box/home"
    ln -s "$box/root.conf" "$box/home/link.conf"
    printf '[a]\nb=1\n' >"$box/home/own.conf"
    chown -hR "$user:$user" "$box/home"
    chmod 600 "$box/home/own.conf"
    expect 3 import "$box/home/link.conf"
    [[ $output == *"Permission denied for user $user, who owns $box/home"* && $output != *canary* ]]
    untouched
    expect 0 import "$box/home/own.conf"
    expect 0 import "$box/home/link.conf" --as-root
    expect 0 import "$box/root.conf"
}

@test "where the box is a user's, root reads a file to import as that user, or takes standard input" {
    filled
    given_to "$user"
    printf '[a]\nb=1\n' >"$box/root.conf"
    chmod 600 "$box/root.conf"
    expect 3 import "$box/root.conf"
    [[ $output == *"Permission denied for user $user, who owns $box/var"*"standard input" ]]
    run "$STBCONFIG" import - <"$box/root.conf"
    [ "$status" = 0 ]
    [ "$(stat -c %u:%g "$custom")" = "$user:$user" ]
    expect 0 export a
    [ "$output" = $'[a]\nb=1' ]
}

@test "root reads no file to import that others can exchange meanwhile" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    filled
    mkdir -m 777 "$box/shared"
    cp "$box/before" "$box/shared/given"
    expect 3 import "$box/shared/given"
    [[ $output == *"others than root can exchange it in $box/shared; "*"standard input" ]]
    expect 0 import "$box/shared/given" --as-root
}

@test "a reset says what answers then, what stays, and what it does not do" {
    filled
    expect 0 reset --keep Network --keep '/*' --keep loos
    [ "$output" = "stbconfig: /*: --keep matches nothing in $custom; see what there is with list
stbconfig: loos: --keep matches nothing in $custom; did you mean loose?
stbconfig: $custom: settings reset: 4, left as they are: 1; restart a running application: until then it goes on with the old ones, and may write them again
stbconfig: $custom: this is no secure erase: the disk may still hold the old values
reset  User/name      not set
reset  User/password  not set
reset  Video/output   hdmi from StbappConfDefault
reset  loose          not set
kept   Network/ssid   home from CustomConfPersistent" ] || { echo "$output"; return 1; }
    [ "$(cat "$custom")" = $'[Network]\nssid=home' ]
    filled
    STBAPP_VIDEO_OUTPUT=vga expect 0 reset Video
    [ "${lines[2]}" = "reset  Video/output  vga from EnvironmentVariables" ]
}

@test "after a reset the file stays, empty, with its mode and owner, and no other file is touched" {
    filled
    chmod 640 "$custom"
    [ "$(id -u)" != 0 ] || chown 1234:1235 "$custom"
    status=$(stat -c %u:%g:%a "$custom")
    expect 0 reset
    [ -e "$custom" ]
    [ ! -s "$custom" ]
    [ "$(stat -c %u:%g:%a "$custom")" = "${status:-}" ] || [ "$(stat -c %a "$custom")" = 640 ]
    cmp "$box/storage" "$box/var/epg.db"
    cmp "$box/defaults" "$defaults"
    inode=$(stat -c %i "$custom")
    expect 0 reset
    [[ $output == "stbconfig: $custom: nothing is to be reset" ]]
    [ "$(stat -c %i "$custom")" = "$inode" ]
    rm "$custom"
    expect 0 reset
    [ ! -e "$custom" ]
}

@test "a reset removes what nobody can ask for, and what only the application can write" {
    set -f
    printf '[ui]\ncolour=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)\nplain=1\n\\odd=2\n' >"$custom"
    cp "$custom" "$box/before"
    for words in "reset --keep *c*" "reset ui/plain"; do
        expect 4 $words
        cmp "$custom" "$box/before"
    done
    expect 0 reset --keep ui/plain
    [ "$(cat "$custom")" = $'[ui]\nplain=1' ]
    cp "$box/before" "$custom"
    expect 0 reset
    [ ! -s "$custom" ]
}

@test "a value in the defaults that only the application can write holds no write" {
    printf '[ui]\ncolour=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)\n' >"$defaults"
    printf '[a]\nb=1\n' >"$custom"
    expect 0 set a b 2
    expect 0 reset
}

@test "a malformed custom file is neither exported nor reset nor imported into" {
    filled
    echo broken >>"$custom"
    cp -p "$custom" "$box/before"
    printf '[a]\nb=1\n' >"$box/given"
    for words in export "export --effective" reset "import $box/given"; do
        expect 3 $words
        [[ $output == "stbconfig: $custom: malformed, line 13; "* ]] || { echo "$output"; return 1; }
    done
    untouched
    cp "$box/given" "$custom"
    echo broken >>"$defaults"
    expect 3 export --effective
    expect 3 reset
    cmp "$box/given" "$custom"
}


# Does what ends_with_4 does for each of the commands that move settings.
each_ends_with_4()
{
    printf '[new]\nx=1\n' >"$box/given"
    for words in "import $box/given" "import --replace $box/given" reset "reset Video" "reset --keep Video"; do
        rm -f "$custom"
        filled
        ends_with_4 "$@" $words
    done
}

@test "a full file system ends each of them with the old file" {
    each_ends_with_4 "$full_disk" "file system is full"
}

@test "a read-only file system ends each of them with the old file" {
    each_ends_with_4 "$read_only_disk" "read-only file system"
}

@test "a file that is mounted alone ends each of them with the old file" {
    each_ends_with_4 "$mount_of_the_file" "mount point"
}

@test "a file system without an inode left ends each of them with the old file" {
    each_ends_with_4 "$no_inode" "not saved: "
}

@test "a lock, another owner and a missing permission end each of them with the old file" {
    printf '[new]\nx=1\n' >"$box/given"
    for words in "import $box/given" reset "reset --keep Video"; do
        filled
        mkdir "$custom.lock"
        expect 4 $words
        [[ $output == *"holds every write; remove it" ]]
        rmdir "$custom.lock"
        untouched
        if [ "$(id -u)" = 0 ] && setpriv --reuid "$user" --clear-groups true 2>/dev/null; then
            given_to "$user"
            chown 0:0 "$custom"
            chmod 666 "$custom"
            cp -p "$custom" "$box/before"
            chmod a+r "$box/given"
            expect 4 $words
            [[ $output == *"it belongs to root"* ]]
            untouched
            chown "$user:$user" "$custom"
            chmod 555 "$box/var"
            expect 4 $words
            [[ $output == *"the directory $box/var is not writable"* ]]
            chmod 755 "$box/var"
            untouched
            chown -R 0:0 "$box/var"
        fi
    done
}

@test "a call that fails ends each of them with the old file, or says that the new one is not proved" {
    printf '[new]\nx=1\n' >"$box/given"
    for words in "import $box/given" "import --replace $box/given" "reset --keep User"; do
        for call in write:NEW:ENOSPC:1 write:NEW:EIO:1 write:NEW:EDQUOT:1 rename:/custom.conf:EIO:all; do
            filled
            with_failing_calls "$call" $words
            [ "$status" = 4 ] && cmp "$custom" "$box/before" || { echo "$words $call: $status: $output"; return 1; }
        done
        for call in fsync:/custom.conf:EIO:all fsync:/var:EIO:all; do
            filled
            with_failing_calls "$call" $words
            [ "$status" = 4 ]
            [[ $output == *"not flushed to the disk: "* ]]
        done
        for which in 1 2 3 4 5 6 7 8 9 10; do
            filled
            with_failing_calls "read:/custom.conf:EIO:$which" $words
            if cmp -s "$custom" "$box/before"; then
                [[ $status = [34] ]] || { echo "$words $which: $status: $output"; return 1; }
            else
                ! grep -q broken "$custom" || false
                [[ $status = [04] ]]
            fi
        done
    done
}

@test "an export that cannot be written whole prints nothing" {
    filled
    for call in write:NEW:ENOSPC:all rename:/custom.conf:EIO:all; do
        mkdir -p "$box/tmp"
        TMPDIR=$box/tmp with_failing_calls "$call" export
        [ "$status" = 3 ] && [[ ${#lines[@]} = 1 && $output == *"set TMPDIR to another directory" ]] || { echo "$call: $output"; return 1; }
    done
}

@test "an export or an import that the scratch directory cannot take is status 3" {
    filled
    printf '[a]\nb=1\n' >"$box/given"
    for call in "write:/custom.conf:ENOSPC:all import $box/given" "read:/custom.conf:EIO:all export --effective"; do
        with_failing_calls $call
        [ "$status" = 3 ] && [ "${#lines[@]}" = 1 ] || { echo "$call: $status: $output"; return 1; }
        untouched
    done
    requires_namespaces
    # There is room for the directory, but not for a file.
    run unshare -m sh -c 'mkdir "$1/tmp"; mount -t tmpfs -o nr_inodes=2 none "$1/tmp"; TMPDIR=$1/tmp exec "$2" import "$1/given"' - \
        "$box" "$STBCONFIG"
    [ "$status" = 3 ]
    [[ $output == *"cannot be written: No space left on device; free some space there, or set TMPDIR to another directory" ]]
    untouched
}

@test "an export prints all or nothing, whichever read fails" {
    filled
    "$STBCONFIG" export >"$box/all" 2>/dev/null
    for which in {1..12}; do
        with_failing_calls "read:/custom.conf:EIO:$which" export
        case $status in
        0) [[ $output == *"$(cat "$box/all")" ]] ;;
        3) [ "${#lines[@]}" = 1 ] ;;
        *) false ;;
        esac || { echo "$which: $status: $output"; return 1; }
    done
}

@test "a value of another type is left out of an export however it is written" {
    local colour='Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)'
    printf "[ui]\ncolour=\"\\\\x40$colour\"\n" >"$custom"
    expect 1 export
    [ "$output" = "stbconfig: ui/colour: left out: its type is one that only the application can write" ]
    # Where the type is escaped further, Qt 5 still names it, and Qt 6 does not.
    if [ "$QT_MAJOR" = 5 ]; then
        printf "[ui]\ncolour=\"\\\\100\\\\126${colour#V}\"\n" >"$custom"
        expect 1 export
        [ "$output" = "stbconfig: ui/colour: left out: its type is one that only the application can write" ]
    fi
    printf '[A]\na=@Invalid()\nb=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)\nc=@Variant(\\0\\0\\0\\0\\1)\nd=a, @Invalid()\n' >"$custom"
    expect 1 export
    [[ $output == *"A/c: left out: its type is one that only the application can write"* ]]
    [[ $output == *"A/b: left out: a file does not give this value back"* && $output != *[bc]=* ]]
    printf '[A]\nb=x, @Variant(\\0\\0\\0\\0\\1)\n' >"$custom"
    expect 1 export
    [ "$output" = "stbconfig: A/b: left out: its type is one that only the application can write" ]
}

@test "a reader that somebody kills leaves a reason" {
    filled
    export FAULTS_RUN='kill -9 $PPID'
    local reasons=
    for which in {1..6}; do
        with_failing_calls "read:/custom.conf:run:$which" export
        [[ $status = [03] ]]
        reasons+=$output
    done
    [[ $reasons == *"a process died of signal 9; try again"* ]]
    with_failing_calls "read:/given:run:1" import "$box/given"
    [ "$status" = 3 ]
    cp "$box/before" "$box/given"
    if [ "$(id -u)" = 0 ]; then # reads it in a process of its own
        with_failing_calls "read:/given:run:1" import "$box/given"
        [ "$status" = 3 ]
        [ "$output" = "stbconfig: $box/given: a process died of signal 9; try again" ]
    fi
    mkdir "$box/other"
    cp "$custom" "$box/other"
    with_failing_calls "read:/other/custom.conf:run:1" diff --with "$box/other"
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: $box/other: a process died of signal 9; try again" ]
    export FAULTS_RUN="rm -r '$box/other'; kill -9 \$PPID"
    with_failing_calls "read:/other/custom.conf:run:1" diff --with "$box/other"
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: $box/other: a process died of signal 9; try again" ]
}

@test "random settings move from box to box, are reset and come back" {
    mkdir "$box/boxes"
    "$BATS_TEST_DIRNAME/moving.py" settings "$STBCONFIG" "$box/boxes" "${STBCONFIG_MOVES:-2}"
}

@test "a killed import or reset leaves the old file or the new one, and a second run completes" {
    mkdir "$box/boxes"
    "$BATS_TEST_DIRNAME/moving.py" kills "$STBCONFIG" "$box/boxes" "${STBCONFIG_KILLS:-40}"
}
