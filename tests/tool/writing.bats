# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

@test "set writes the custom file and an equal value leaves it alone" {
    expect 0 set Video output scart
    inode=$(stat -c %i "$custom")
    expect 0 set Video/output scart
    [ "$(stat -c %i "$custom")" = "$inode" ]
    grep -qx output=scart "$custom"
}

@test "set refuses values that are not of the type" {
    expect 2 set Video mode x --type int
    expect 2 set Video mode no --type bool
    [ ! -e "$custom" ]
}

@test "set keeps commas, lists and at-signs" {
    expect 0 set Text value 'a, b'
    expect 0 get Text value
    [ "$output" = 'a, b' ]
    expect 0 set Text list a,b --type list
    expect 0 get Text list
    [ "$output" = $'a\nb' ]
    expect 0 set Text at @x
    expect 0 get Text at
    [ "$output" = @x ]
}

@test "a dry run writes nothing" {
    expect 0 set Video output scart --dry-run
    [ ! -e "$custom" ]
}

@test "set does not touch a malformed file" {
    printf '[Video]\nbroken\n' >"$custom"
    expect 3 set Video output scart
    expect 3 unset Video output
    [ "$(cat "$custom")" = $'[Video]\nbroken' ]
}

@test "unset says which value answers now" {
    "$STBCONFIG" set Video output scart
    expect 0 unset Video output
    [ "$output" = "Video/output is now hdmi from StbappConfDefault" ]
    expect 1 unset Video output
}

@test "unset removes a group, or what is redundant" {
    printf '[Audio]\na=1\nb=2\n[Video]\noutput=hdmi\n' >"$custom"
    expect 0 unset --redundant
    expect 0 list --keys --from custom
    [ "$output" = $'Audio/a\nAudio/b' ]
    printf '[Audio]\na=1\ndeep\\key=2\n[Audiophile]\na=1\n' >"$custom"
    expect 0 unset --group Audio
    expect 0 list --keys --from custom
    [ "$output" = Audiophile/a ]
    expect 1 unset --group Audio
    expect 2 unset --group ''
}

@test "what hides a variable is not redundant" {
    printf '[Video]\noutput=hdmi\n' >"$custom"
    STBAPP_VIDEO_OUTPUT=vga expect 0 unset --redundant
    grep -qx output=hdmi "$custom"
    expect 0 unset --redundant
    ! grep -q output=hdmi "$custom"
}

@test "logging refuses what the reader would misread" {
    expect 2 logging level verbose
    [[ $output == *'"verbose" reads as critical'* ]]
    expect 2 logging level 6
    expect 2 logging jsonFormattingEnabled no
    [[ $output == *'"no" reads as true'* ]]
    expect 0 logging level debug
    grep -qx level=debug "$custom"
}

# Given what stands in the lock and how it is called, sees the announcement while set still waits.
announces()
{
    printf '%b' "$1" >"$custom.lock"
    mkfifo "$box/errors"
    "$STBCONFIG" set Video output scart 2>"$box/errors" 3>&- &
    local pid=$!
    exec 4<"$box/errors"
    read -r first <&4
    [[ $first == *"waiting for $2, up to 30 seconds" ]] || { echo "$first"; return 1; }
    [ ! -e "$custom" ]
    rm "$custom.lock"
    wait "$pid"
    grep -qx output=scart "$custom"
}

@test "a lock's holder is announced before the wait" {
    announces "$$\nbash\n$(uname -n)\n" "process $$"
}

@test "another machine's lock is announced before the wait" {
    announces '1\nbox\nelsewhere\n' 'process 1 of elsewhere'
}

@test "an empty lock is announced before the wait" { announces '' 'an empty or unreadable lock'; }

@test "a lock that is older than Qt waits is not announced" {
    touch -d '1 minute ago' "$custom.lock"
    expect 0 set Video output scart
    [ -z "$output" ]
}

@test "a dead process's lock is not waited for" {
    printf '4194305\nbox\n%s\n' "$(uname -n)" >"$custom.lock"
    expect 0 set Video output scart
    [ -z "$output" ]
}

@test "a directory in the file's place is named" {
    mkdir "$custom"
    expect 3 set a b 1
    [ "$output" = "stbconfig: $custom: not a readable file; check what it is and its permissions" ]
}

@test "set takes negative numbers" {
    expect 0 set Audio balance -5 --type int
    expect 0 get Audio balance --as int
    [ "$output" = -5 ]
}

@test "a refused secret is not shown" {
    expect 2 set User pin secret --type int
    [[ $output != *\"secret\"* ]]
}

@test "with -v, set says when a running application sees the change" {
    expect 0 -v set Video output scart
    [[ $output == *"sees the change when it restarts or next writes that file" ]]
    expect 0 -v set Video output scart
    [[ $output == *"Video/output: unchanged" ]]
}

@test "a directory that is not writable loses no write in silence" {
    [ "$(id -u)" = 0 ] || skip "needs root to become another user"
    printf '[a]\nb=1\n' >"$custom"
    chmod 666 "$custom"
    # The other user may have no access to the folder that we build in.
    cmake --install "$BUILD_DIR" --prefix "$box/installed" >/dev/null
    chmod 555 "$box/var"
    chmod o+x "$BATS_RUN_TMPDIR" "$BATS_TEST_TMPDIR" "$box" "$BATS_RUN_TMPDIR"/*
    run setpriv --reuid 65534 --regid 65534 --clear-groups $EMULATOR \
        "$box/installed/bin/${PROGRAM##*/}" set a b 2
    [ "$status" = 4 ]
    [[ $output == *"the directory $box/var is not writable"* ]]
    grep -qx b=1 "$custom"
}

@test "a full file system is named" {
    requires_namespaces
    run unshare -m sh -c 'mount -t tmpfs -o size=16k none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && { cat /dev/zero >"$1/var/fill" 2>/dev/null; :; } &&
        "$2" set a b 2; s=$?; cat "$1/var/custom.conf"; exit $s' sh "$box" "$STBCONFIG"
    [ "$status" = 4 ]
    [[ $output == *"file system is full"*"b=1"* ]]
}

@test "a file system without space for the whole new file is named before the file is damaged" {
    requires_namespaces
    for free in 1 2; do
        run unshare -m sh -c 'mount -t tmpfs -o size=64k none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && head -c $(((15 - $3) * 4096)) /dev/zero >"$1/var/fill" &&
            "$2" set a b "$(head -c 5000 /dev/zero | tr "\\0" x)"; s=$?; cat "$1/var/custom.conf"; exit $s' \
            sh "$box" "$STBCONFIG" "$free"
        [ "$status" = 4 ]
        [[ $output == *"not saved: the file system is full: $((free * 4096)) bytes are free"*"free some space"*"b=1" ]] ||
            { echo "$output"; return 1; }
    done
}

@test "a limit of the file size is named before the file is damaged" {
    printf '[a]\nb=1\n' >"$custom"
    run sh -c 'ulimit -f 1 && exec "$@"' sh "$STBCONFIG" set a b "$(printf %2000s x)"
    [ "$status" = 4 ]
    [[ $output == *"not saved: files may have "*" bytes here, "*"raise the limit, ulimit -f" ]]
    [ "$(cat "$custom")" = $'[a]\nb=1' ]
    [ ! -e "$custom.lock" ]
}

@test "a symbolic link that leads back to itself is named and stays" {
    ln -s other "$custom"
    ln -s custom.conf "$box/var/other"
    expect 4 set a b 2
    [ "$output" = "stbconfig: $custom: not saved: a symbolic link that leads back to itself; remove it, or let it lead to a file" ]
    [ "$(readlink "$custom")" = other ]
}

@test "a file that would end whoever reads it is named by each command and stays" {
    nested "$custom"
    cp "$custom" "$box/before"
    for words in "get a b" "explain a b" list diff "set a b 2" "unset A b" "unset --redundant" logging locale \
        "get a b --storage epg"; do
        [[ $words == *epg ]] && mv "$custom" "$box/var/epg.db"
        expect 3 $words
        [[ $output == "stbconfig: $box/var/"*": reading it ends the process; "* && ${#lines[@]} = 1 ]]
    done
    cmp "$box/before" "$box/var/epg.db"
}

@test "a read-only mount is named" {
    requires_namespaces
    run unshare -m sh -c 'mount -t tmpfs none "$1/var" && mount -o remount,ro "$1/var" &&
        exec "$2" set a b 2' sh "$box" "$STBCONFIG"
    [ "$status" = 4 ]
    [[ $output == *"read-only file system"* ]]
}

@test "a file that is bind-mounted alone is named" {
    requires_namespaces
    printf '[a]\nb=1\n' >"$box/other"
    touch "$custom"
    run unshare -m sh -c 'mount --bind "$1/other" "$1/var/custom.conf" &&
        exec "$2" set a b 2' sh "$box" "$STBCONFIG"
    [ "$status" = 4 ]
    [[ $output == *"mount point"* ]]
    grep -qx b=1 "$box/other"
}

@test "a write that fails where nothing was seen before is noticed by reading back" {
    requires_namespaces
    # One inode for the directory and one for the file, none for the file that would replace it.
    run unshare -m sh -c 'mount -t tmpfs -o nr_inodes=2 none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && "$2" set a b 2; s=$?; cat "$1/var/custom.conf"; exit $s' \
        sh "$box" "$STBCONFIG"
    [ "$status" = 4 ]
    [[ $output == *"does not hold the change"*"b=1"* ]]
}

@test "a change is proved without /proc too, or set says that it is not" {
    requires_namespaces
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer itself needs /proc"
    run unshare -m sh -c 'mount -t tmpfs none /proc && "$1" set Video output scart' - "$STBCONFIG"
    [ "$status" = 0 ]
    run unshare -m bash -c 'mount -t tmpfs none /proc && exec -a nobody "$@" set Video output vga' - \
        ${EMULATOR:+$EMULATOR -0 nobody} "$PROGRAM"
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: written, but not proved: no fresh process could be started; mount /proc and ask again with stbconfig get" ]
}

@test "what is not saved is status 4, whichever command writes" {
    requires_namespaces
    printf '[Video]\noutput=scart\n' >"$custom"
    for words in "set a b 2" "set a b 2 --dry-run" "unset Video output" "unset --group Video" "logging level debug" \
        "set a b 2 --storage epg --create"; do
        run unshare -m sh -c 'mount --bind "$1/var" "$1/var" && mount -o remount,bind,ro "$1/var" &&
            shift && exec "$@"' sh "$box" "$STBCONFIG" $words
        [ "$status" = 4 ] || { echo "$words: $status: $output"; return 1; }
        [ "${#lines[@]}" = 1 ]
    done
}
