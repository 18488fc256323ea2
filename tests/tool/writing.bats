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
    for list in 'a,' ,a , 'a,,b,' ,,; do
        expect 0 set Text list "$list" --type list
        [ "$("$STBCONFIG" get -0 Text list | tr '\0' ,)" = "$list," ]
    done
    expect 0 set Text at @x
    expect 0 get Text at
    [ "$output" = @x ]
}

@test "a file with a byte order mark is refused before its text beyond ASCII is damaged" {
    [ "$QT_MAJOR" = 5 ] || skip "Qt $QT_MAJOR always writes UTF-8"
    printf '\xef\xbb\xbfx=\xc4\x8d\n' >"$custom"
    cp "$custom" "$box/before"
    expect 4 set A/b 1
    [[ $output == *"byte order mark"*"save the file without it" ]]
    cmp "$custom" "$box/before"
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
    printf 'STBAPP_VIDEO_OUTPUT=vga\n' >"$box/environment"
    expect 0 unset --redundant --env-file "$box/environment"
    grep -qx output=hdmi "$custom"
    printf 'STBAPP_VIDEO_OUTPUT=hdmi\n' >"$box/environment"
    expect 0 unset --redundant --env-file "$box/environment" --dry-run
    [ "$output" = "would unset Video/output, then it is hdmi from EnvironmentVariables" ]
    STBAPP_VIDEO_OUTPUT=vga expect 0 unset --redundant --no-env
    ! grep -q output=hdmi "$custom"
}

@test "a variable of this shell alone keeps nothing" {
    printf '[Video]\noutput=hdmi\n' >"$custom"
    STBAPP_VIDEO_OUTPUT=vga expect 0 unset --redundant
    ! grep -q output=hdmi "$custom"
}

@test "logging refuses what the reader would misread" {
    levels='use critical, error, warning, info, debug, trace or 0 to 5'
    while IFS='|' read -r key text complaint; do
        expect 2 logging "$key" "$text"
        [ "$output" = "stbconfig: Logging/$key: \"$text\" $complaint" ] || { echo "$key $text: $output"; return 1; }
    done <<END
level|verbose|reads as critical; $levels
level|6|reads as error; $levels
level|-1|reads as critical; $levels
level|Debug|reads as critical; $levels
responseLengthLimit|abc|is no number and would be skipped; use a whole number
responseLengthLimit|1.5|is no number and would be skipped; use a whole number
jsonFormattingEnabled|no|reads as true; use true or false
imageRequestsEnabled||reads as false; use true or false
END
    [ ! -e "$custom" ]
    for words in "level debug" "level 0" "level 5" "responseLengthLimit -5" "jsonFormattingEnabled true" \
        "jsonFormattingEnabled 0" "imageRequestsEnabled false" "imageRequestsEnabled 1"; do
        expect 0 logging $words
        [ -z "$output" ]
        grep -qx "${words/ /=}" "$custom"
    done
}

# Given what stands in the lock and the words for it, expects the announcement while "set" still waits.
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
    [ "$output" = "stbconfig: $custom: not a file but a directory; move it away" ]
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
    chown 65534:65534 "$custom"
    # The other user may have no access to the build folder.
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
    [[ $output == *"not saved: files may have "*" bytes here, about "*"raise the limit, ulimit -f, or add --force" ]]
    [ "$(cat "$custom")" = $'[a]\nb=1' ]
    [ ! -e "$custom.lock" ]
}

@test "a limit of the file size that leaves enough room holds no write" {
    printf '[a]\nb=1\n' >"$custom"
    run sh -c 'ulimit -f 1000 && exec "$@"' sh "$STBCONFIG" set a b "$(printf %2000s x)"
    [ "$status" = 0 ]
    expect 0 set a.b-c/d_e.f $'\u00e9ABCFGacfg059:'
    expect 0 get a.b-c/d_e.f
    [ "$output" = $'\u00e9ABCFGacfg059:' ]
}

@test "a symbolic link into a missing directory is named, and the directory is not made" {
    ln -s gone/custom.conf "$custom"
    expect 4 set a b 2
    [[ $output == "stbconfig: $custom: not saved: a symbolic link into a directory that is missing; "* ]]
    [ ! -e "$box/var/gone" ]
    mkdir "$box/var/gone"
    expect 0 set a b 2
    grep -qx b=2 "$box/var/gone/custom.conf"
}

@test "a symbolic link that leads back to itself is named and stays" {
    ln -s other "$custom"
    ln -s custom.conf "$box/var/other"
    expect 4 set a b 2
    [ "$output" = "stbconfig: $custom: not saved: a symbolic link that leads back to itself; remove it, or let it lead to a file" ]
    [ "$(readlink "$custom")" = other ]
}

@test "each command names a file that would end its reader, and leaves it" {
    nested "$custom"
    cp "$custom" "$box/before"
    for words in "get a b" "explain a b" list diff "set a b 2" "unset A b" "unset --redundant" logging locale \
        "get a b --storage epg"; do
        [[ $words == *epg ]] && mv "$custom" "$box/var/epg.db"
        expect 3 $words
        [[ ${lines[-1]} == "stbconfig: $box/var/"*": would crash every program that reads it; "* ]]
        # The address sanitizer and the emulator report each crash on standard error.
        [ "${#lines[@]}" = 1 ] || [ "$EMULATOR" ] || grep -q __asan_init "$PROGRAM"
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
    # There is an inode for the directory and one for the file, but none for the new file.
    run unshare -m sh -c 'mount -t tmpfs -o nr_inodes=2 none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && "$2" set a b 2; s=$?; cat "$1/var/custom.conf"; exit $s' \
        sh "$box" "$STBCONFIG"
    [ "$status" = 4 ]
    [[ $output == *"not saved: "*"b=1"* ]]
}

@test "a change is proved without /proc too" {
    requires_namespaces
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer itself needs /proc"
    for value in scart vga; do # the first write makes the file
        run unshare -m sh -c 'mount -t tmpfs none /proc && "$1" set Video output "$2"' - "$STBCONFIG" $value
        [ "$status" = 0 ]
        grep -qx output=$value "$custom"
    done
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

# Given the size of a file system and of what fills it, in blocks of 4 kB, runs a command there; then
# prints what the file holds.
in_room()
{
    local size=$1 fill=$2
    shift 2
    run unshare -m sh -c 'size=$1 fill=$2 box=$3 command=$4; shift 4
        mount -t tmpfs -o size=$((size * 4))k none "$box/var" && cp "$box/file" "$box/var/custom.conf" || exit 99
        head -c $((fill * 4096)) /dev/zero >"$box/var/fill"
        "$command" "$@"; s=$?
        cmp -s "$box/file" "$box/var/custom.conf" && echo "as it was"; ls "$box/var"; exit $s' - \
        "$size" "$fill" "$box" "$STBCONFIG" "$@"
}

@test "a file of 26 kB fits into 100 kB" {
    requires_namespaces
    { echo '[a]'; for i in $(seq 1300); do echo "key$i=\"a, b;c\""; done; } | head -c 26000 >"$box/file"
    echo >>"$box/file"
    in_room 32 0 set a b 2
    [ "$status" = 0 ]
    in_room 32 14 set a b 2
    [ "$status" = 0 ] || { echo "$output"; return 1; }
}

@test "removing needs no more room than the rest" {
    requires_namespaces
    { echo '[a]'; for i in $(seq 300); do echo "key$i=$i"; done; echo "long=$(head -c 20000 /dev/zero | tr '\0' x)"; } >"$box/file"
    in_room 12 2 unset a long
    [ "$status" = 0 ] || { echo "$output"; return 1; }
    in_room 12 2 set a b 2
    [[ $status = 4 && $output == *"as it was"* ]]
}

@test "what is estimated says so, and --force overrides it but no fact" {
    requires_namespaces
    printf '[a]\nb=1\n' >"$box/file"
    long=$(head -c 9000 /dev/zero | tr '\0' x)
    for words in "set a b $long" "set a b $long --dry-run"; do
        in_room 8 5 $words
        [[ $status = 4 && $output == *"bytes are free, about "*"add --force"* && $output == *"as it was"* ]] || { echo "$output"; return 1; }
    done
    in_room 8 5 set a b "$long" --force
    [[ $status = 4 && $output == *"as it was"*$'custom.conf\nfill' ]] || { echo "$output"; return 1; }
    in_room 8 7 set a b "$long" --force
    [[ $status = 4 && $output == *"as it was"* && $output != *"--force"* ]] || { echo "$output"; return 1; }
    run unshare -m sh -c 'cp "$1/file" "$1/var/custom.conf"; mount --bind "$1/var" "$1/var" && mount -o remount,bind,ro "$1/var" &&
        exec "$2" set a b 2 --force' - "$box" "$STBCONFIG"
    [[ $status = 4 && $output == *"read-only file system"* ]]
}

@test "--force writes where only the estimate was too large" {
    requires_namespaces
    # The estimate takes the largest form that binary data can have.
    printf '[a]\nb=@ByteArray(%s)\n' "$(head -c 3000 /dev/zero | tr '\0' x)" >"$box/file"
    in_room 8 5 set a c 2
    [[ $status = 4 && $output == *"add --force"* ]] || { echo "$output"; return 1; }
    in_room 8 5 set a c 2 --force
    [[ $status = 0 && $output != *"as it was"* ]] || { echo "$output"; return 1; }
}

@test "a write warns of what it costs, and a dry run too" {
    printf '; one\n[Text]\nword=\xd0\x96\nother=1 ; two\n' >"$custom"
    for words in "set Text other 2" "unset Text other" "logging level debug"; do
        expect 0 $words --dry-run
        [[ $output == *"a write drops its comments: 2"* ]] || { echo "$output"; return 1; }
        [[ $QT_MAJOR -gt 5 || $output == *"beyond ASCII permanent as Latin-1 shows it: line 3"* ]]
    done
    expect 0 set Text other 2
    [[ $output == *"a write drops its comments: 2"* ]]
    expect 0 set Text other 2
    [ -z "$output" ]
    printf '; one\n[Text]\nother=2\n' >"$custom"
    expect 0 set Text other 2
    [ -z "$output" ]
}

@test "set warns of a logging value that is misread, and of a variable that it hides" {
    for dry in "" --dry-run; do
        expect 0 set Logging level verbose $dry
        [[ $output == *"reads as critical"* ]]
        STBAPP_VIDEO_OUTPUT=vga expect 0 set Video output scart $dry
        [[ $output == *"STBAPP_VIDEO_OUTPUT: is set in "*"hidden by this value"* ]]
        rm -f "$custom"
        printf 'STBAPP_VIDEO_OUTPUT=vga\n' >"$box/environment"
        expect 0 set Video output scart --env-file "$box/environment" $dry
        [[ $output == *"STBAPP_VIDEO_OUTPUT: is set in $box/environment, and hidden by this value"* ]] || { echo "$output"; return 1; }
        rm -f "$custom"
        [ -z "$dry" ] || continue
        STBAPP_VIDEO_OUTPUT=vga "$STBCONFIG" set Video output scart 2>/dev/null
        STBAPP_VIDEO_OUTPUT=vga expect 0 set Video output scart
        [ -z "$output" ]
        STBAPP_VIDEO_OUTPUT=vga expect 0 set Video output vga
        [ -z "$output" ]
        rm -f "$custom"
    done
}

@test "a dry run of unset says what would answer" {
    printf '[Video]\noutput=scart\n[a]\nb=1\n' >"$custom"
    expect 0 unset Video output --dry-run
    [ "$output" = "would unset Video/output, then it is hdmi from StbappConfDefault" ]
    expect 0 unset --group a --dry-run
    [ "$output" = "would unset a/b, then it is not set" ]
    STBAPP_VIDEO_OUTPUT=vga expect 0 unset Video output --dry-run
    [ "$output" = "would unset Video/output, then it is vga from EnvironmentVariables" ]
    expect 1 unset Video none --dry-run
    grep -qx output=scart "$custom"
}

@test "logging writes nothing in a dry run" {
    expect 0 logging level debug --dry-run
    [ "$output" = "would set Logging/level to debug" ]
    [ ! -e "$custom" ]
    expect 2 logging level verbose --dry-run
}

@test "with -v, unset says that nothing is redundant" {
    expect 0 -v unset --redundant
    [ "$output" = "stbconfig: unset: nothing is redundant" ]
    expect 0 unset --redundant
    [ -z "$output" ]
}

@test "set takes each word of a boolean, and no name that is none" {
    for word in true false; do
        expect 0 set Video mode "$word" --type bool
        grep -qx "mode=$word" "$custom"
    done
    for name in // ///; do
        expect 2 set "$name" 1
        [[ $output == "stbconfig: /"*": a file cannot express this name; name a key" ]] || { echo "$output"; return 1; }
    done
}
