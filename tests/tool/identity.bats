# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Ordinary users may have no access to the build folder, so they get a copy.
setup_file()
{
    cmake --install "$BUILD_DIR" --prefix "$BATS_FILE_TMPDIR/installed" >/dev/null
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_RUN_TMPDIR"/*
}

# Runs the command as an ordinary user.
as()
{
    local user=$1
    shift
    run setpriv --reuid "$user" --regid "$user" --clear-groups $EMULATOR \
        "$BATS_FILE_TMPDIR/installed/bin/${PROGRAM##*/}" "$@"
}

# Makes files that only root can read and write.
root_only()
{
    printf '[a]\nb=secret\n' >"$box/root.conf"
    chmod 600 "$box/root.conf"
    mkdir "$box/root"
}

@test "in a user's directory, root keeps owner, group and mode, and makes files that the user owns" {
    for user in 65534 "$user"; do
        printf '[a]\nb=1\n' >"$custom"
        given_to "$user"
        chmod 640 "$custom"
        expect 0 set a b 2
        grep -qx b=2 "$custom"
        [ "$(stat -c %u:%g:%a "$custom")" = "$user:$user:640" ]
        expect 0 set a b 2 --storage epg --create
        [ "$(stat -c %u:%g "$box/var/epg.db")" = "$user:$user" ]
        expect 0 set a b 2 --persistent "$box/var/new/"
        [ "$(stat -c %u:%g "$box/var/new/custom.conf")" = "$user:$user" ]
        rm -r "$box/var"/*
    done
}

@test "in its own directory, root gives the application its file back" {
    given_to "$user"
    printf '[a]\nb=1\n' >"$custom"
    chown "$user:4343" "$custom"
    chmod 604 "$custom"
    chown root:root "$box/var"
    expect 0 set a b 2
    grep -qx b=2 "$custom"
    [ "$(stat -c %u:%g:%a "$custom")" = "$user:4343:604" ]
}

@test "a user's link opens no file of root's to root's command" {
    given_to "$user"
    root_only
    for link in "$box/root.conf" ../root.conf; do
        ln -sfn "$link" "$custom"
        for words in "get a b" "get a b --default 1" list "explain a b" "set a b 2" "unset a b" check; do
            expect 3 $words
            [[ $output != *secret* ]]
            [[ $output == *"Permission denied for user $user, who owns $box/var"*--as-root* ]]
        done
    done
    [ "$(cat "$box/root.conf")" = $'[a]\nb=secret' ]
    expect 0 get a b --as-root
    [ "$output" = secret ]
}

@test "a user's link in the middle of a path makes root that user" {
    given_to "$user"
    root_only
    mv "$box/root.conf" "$box/root/custom.conf"
    ln -s "$box/root" "$box/var/link"
    chown -h "$user" "$box/var/link"
    expect 3 get a b --persistent "$box/var/link/"
    expect 3 set a b 2 --persistent "$box/var/link/"
    ln -s "$box/root" "$box/link"
    chown -h "$user" "$box/link"
    expect 3 set a b 2 --persistent "$box/link/"
    [ "$(cat "$box/root/custom.conf")" = $'[a]\nb=secret' ]
}

@test "a user's link in an image, or on the way to it, makes root that user" {
    given_to "$user"
    root_only
    mkdir -p "$box/image/closed"
    printf '[a]\nb=secret\n' >"$box/image/closed/custom.conf"
    chmod 600 "$box/image/closed/custom.conf"
    ln -s /closed "$box/image/data"
    chown -h "$user" "$box/image/data"
    for words in "get a b" "set a b 2" list; do
        expect 3 $words --root "$box/image" --persistent /data/ --defaults /etc/
        [[ $output != *secret* && $output == *"Permission denied for user $user, who owns $box/image/data "* ]]
    done
    expect 0 get a b --root "$box/image" --persistent /data/ --defaults /etc/ --as-root
    ln -s "$box/image" "$box/link"
    chown -h "$user" "$box/link"
    expect 3 get a b --root "$box/link" --persistent /closed/ --defaults /etc/
    # A link that anybody could have put there does not decide where root writes either.
    mkdir -m 1777 "$box/image/tmp"
    mv "$box/image/data" "$box/image/tmp"
    chown -h root "$box/image/tmp/data"
    expect 0 set a b 3 --root "$box/image" --persistent /tmp/data/ --defaults /etc/
    chmod 777 "$box/image/tmp"
    expect 4 set a b 4 --root "$box/image" --persistent /tmp/data/ --defaults /etc/
    grep -qx b=3 "$box/image/closed/custom.conf"
}

@test "a user's link creates no file elsewhere" {
    given_to "$user"
    root_only
    ln -s "$box/root/new" "$custom"
    ln -s "$box/root/new" "$box/var/epg.db"
    expect 4 set a b 2
    expect 4 set a b 2 --storage epg --create
    ln -s "$box/root/" "$box/var/deep"
    expect 4 set a b 2 --persistent "$box/var/deep/new/"
    [ -z "$(ls "$box/root")" ]
}

@test "a user's storage and defaults open no file of root's either" {
    given_to "$user"
    root_only
    ln -s "$box/root.conf" "$box/var/ravel.db"
    ln -s "$box/root.conf" "$box/var/stbapp.conf"
    expect 3 list --storage ravel
    expect 3 get a b --defaults "$box/var/"
    expect 3 list --from Stbapp --defaults "$box/var/"
    [[ $output != *secret* ]]
}

@test "a file that is swapped while the command runs gives its owner nothing" {
    given_to "$user"
    root_only
    chmod 777 "$box/root.conf" # only its directory protects it
    chmod 700 "$box/root"
    mv "$box/root.conf" "$box/root/file"
    setpriv --reuid "$user" --regid "$user" --clear-groups bash -c 'cd "$1/var" || exit
        end=$((SECONDS + 2))
        while [ $SECONDS -lt $end ]; do
            printf "[a]\nb=1\n" >new; mv -fT new custom.conf
            ln -s "$1/root/file" new; mv -fT new custom.conf
            mkfifo new; mv -fT new custom.conf
            ln -s "$1/root/new" new; mv -fT new custom.conf
            ln -s /dev/zero new; mv -fT new custom.conf
        done' - "$box" >/dev/null 2>&1 3>&- &
    local swapper=$!
    while kill -0 "$swapper" 2>/dev/null; do
        for words in "get a b --default 1" list "set a b 2"; do
            # A FIFO that comes after the command's look, but before the library's, may take the whole time.
            run timeout 36 "$STBCONFIG" $words
            [[ $status == [034] && $output != *secret* ]] || { echo "$status: $output"; return 1; }
        done
    done
    wait "$swapper"
    [ "$(cat "$box/root/file")" = $'[a]\nb=secret' ]
    [ "$(ls "$box/root")" = file ]
}

@test "a file of root's in a user's directory is not written, since its owner would change" {
    given_to "$user"
    printf '[a]\nb=1\n' >"$custom"
    chmod 666 "$custom"
    expect 4 set a b 2
    [[ $output == *"it belongs to root and would belong to user $user"* ]]
    grep -qx b=1 "$custom"
    chown "$user:0" "$custom"
    expect 4 set a b 2
    [[ $output == *"its group 0 would change"* ]]
    grep -qx b=1 "$custom"
    expect 0 set a b 2 --as-root
    [ "$(stat -c %u:%g:%a "$custom")" = "$user:0:666" ]
}

@test "root has the user's groups in effect, and none of its own" {
    requires_namespaces
    given_to "$user"
    printf '[Video]\noutput=hdmi\n' >"$defaults"
    chmod 640 "$defaults"
    for group in 4343 4444; do
        cp /etc/passwd "$box/passwd"
        cp /etc/group "$box/group"
        printf 'stbuser:x:%s:%s::/:/bin/sh\n' "$user" "$user" >>"$box/passwd"
        printf 'stbgroup:x:4343:stbuser\n' >>"$box/group"
        chown "0:$group" "$defaults"
        run setpriv --groups 0,4444 unshare -m sh -c 'mount --bind "$1/passwd" /etc/passwd &&
            mount --bind "$1/group" /etc/group && "$2" get Video output' sh "$box" "$STBCONFIG"
        case $group in
        4343) [ "$status:$output" = 0:hdmi ] ;;
        4444) [ "$status" = 3 ] && [[ $output == *"Permission denied for stbuser, who owns $box/var"* ]] ;;
        esac || { echo "$group: $status: $output"; return 1; }
    done
}

@test "where the user cannot get to its directory, the line says who and names --as-root" {
    given_to "$user"
    mkdir -m 700 "$box/home"
    mv "$box/var" "$box/home/image"
    for words in "get a b --default 1" "set a b 1" list; do
        expect 3 $words --persistent "$box/home/image/"
        [ "$output" = "stbconfig: $box/home/image/custom.conf: cannot be read: Permission denied for user $user, who owns $box/home/image and whom root therefore works as; add --as-root if you trust that directory" ]
    done
    expect 0 set a b 1 --persistent "$box/home/image/" --as-root
    expect 0 get a b --persistent "$box/home/image/" --as-root
    [ "$output" = 1 ]
}

@test "root writes in no directory that others can write" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    for directory in 777:0 "775:$user"; do
        chown "0:${directory#*:}" "$box/var"
        chmod "${directory%:*}" "$box/var"
        expect 4 set a b 1
        [[ $output == *"others than root can write in $box/var; "*--as-root* ]]
        [ ! -e "$custom" ]
        expect 0 get a b --default 1
        expect 0 set a b 1 --as-root
        rm "$custom"
    done
}

@test "root makes its own file in a sticky directory, where nobody can exchange it then" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    chmod 1777 "$box/var"
    expect 0 set a b 1
    [ "$(stat -c %u "$custom")" = 0 ]
    : >"$custom.lock"
    chown "$user" "$custom.lock"
    touch -d '1 minute ago' "$custom.lock"
    expect 0 set a b 2
    [ ! -e "$custom.lock" ]
}

@test "a directory that root's own group can write is root's" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    chmod 775 "$box/var"
    chgrp 0 "$box/var"
    expect 0 set a b 1
    grep -qx b=1 "$custom"
}

@test "root writes below no directory in which others can exchange the next one" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    mkdir "$box/shared" "$box/shared/var"
    chmod 777 "$box/shared"
    expect 4 set a b 1 --persistent "$box/shared/var/"
    [[ $output == *"others than root can write in $box/shared; "*--as-root* ]]
    [ ! -e "$box/shared/var/custom.conf" ]
    chmod 1777 "$box/shared" # now others cannot exchange it
    expect 0 set a b 1 --persistent "$box/shared/var/"
}

@test "a user's file in a sticky directory is not written by root" {
    given_to "$user"
    chown root "$box/var"
    chmod 1777 "$box/var"
    printf '[a]\nb=1\n' >"$custom"
    expect 0 set a c 1 # others cannot exchange root's own file
    chown "$user" "$custom"
    expect 4 set a b 2
    grep -qx b=1 "$custom"
}

# Waits until the user has this many processes.
until_processes()
{
    for ((i = 0; i < 200; ++i)); do
        [ "$(pgrep -c -r D,R,S,T -u "$user")" = "$1" ] && return
        sleep 0.02
    done
    ps -u "$user"
    return 1
}

@test "no process outlives the command, whose process has become another user" {
    given_to "$user"
    : >"$custom.lock" # so that the command waits
    "$STBCONFIG" set a b 1 2>/dev/null 3>&- &
    local process=$!
    until_processes 2
    kill -KILL "$process"
    wait "$process" || true
    until_processes 0
}

@test "a user who kills the process that works for root only fails the command" {
    given_to "$user"
    : >"$custom.lock"
    "$STBCONFIG" set a b 1 2>"$box/errors" 3>&- &
    local process=$!
    until_processes 2
    setpriv --reuid "$user" --clear-groups kill -KILL $(pgrep -u "$user")
    wait "$process" || status=$?
    [ "$status" = 4 ]
    grep -q 'died of signal 9' "$box/errors"
    [ ! -e "$custom" ]
}

@test "a directory that may not be searched is unreadable, not empty" {
    given_to 65534
    printf '[a]\nb=1\n' >"$custom"
    chown root "$box/var" "$box/etc"
    for closed in var etc; do
        chmod 700 "$box/$closed"
        for words in "get a b" "get x y --default 1" "explain a b" list diff logging locale check "set x y 1"; do
            as 65534 $words
            [ "$status" = 3 ] && [[ $output == *"$box/$closed/"*": Permission denied; check the permissions"* ]] ||
                { echo "$closed $words: $status: $output"; return 1; }
        done
        chmod 755 "$box/$closed"
    done
}

@test "another user's old lock in a sticky directory is named at once" {
    given_to 65534
    chown root "$box/var"
    chmod 1777 "$box/var"
    for text in '' '4194305\nbox\n\n'; do
        printf "$text" >"$custom.lock"
        chmod 666 "$custom.lock"
        touch -d '1 minute ago' "$custom.lock"
        as 65534 set a b 1
        [ "$status" = 4 ]
        [[ $output == *"custom.conf.lock: not saved: an old lock of root, which cannot be removed, holds every write; remove it" ]]
    done
    chown 65534 "$custom.lock" # now that user may remove it
    as 65534 set a b 1
    [ "$status" = 0 ]
}

@test "where root cannot become a directory's owner, the line says so and names --as-root" {
    given_to "$user"
    expect 0 set a b 1
    for missing in -setgid -setuid -setgid,-setuid; do
        for words in "get a b" "set a b 2"; do
            run setpriv --bounding-set="$missing" $EMULATOR "$STBCONFIG" $words
            [ "$status" = 3 ]
            [ "$output" = "stbconfig: $box/var: belongs to user $user, whom root cannot become: Operation not permitted; work as that user, or add --as-root if you trust the directory" ] ||
                { echo "$missing $words: $output"; return 1; }
        done
    done
}

@test "an old lock that its directory's owner may not write is named at once" {
    given_to 65534
    : >"$custom.lock"
    chmod 644 "$custom.lock"
    touch -d '1 minute ago' "$custom.lock"
    as 65534 set a b 1
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom.lock: not saved: an old lock of root, which cannot be removed, holds every write; remove it" ] ||
        { echo "$output"; return 1; }
}

@test "a directory that may be searched and written, but not listed, is written" {
    given_to 65534
    chmod 300 "$box/var"
    as 65534 set a b 1
    [ "$status:$output" = 0: ]
    grep -qx b=1 "$custom"
}

@test "a group that a write would change is named, unless the directory or the user gives it" {
    given_to "$user"
    printf '[a]\nb=1\n' >"$custom"
    chown "$user:4343" "$custom"
    as "$user" set a b 2
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: not saved: its group 4343 would change; give it a group of the user who writes it" ]
    chown "$user:4343" "$box/var"
    as "$user" set a b 2
    [ "$status" = 4 ] # new files take the directory's group only if it has the bit g+s
    chmod g+s "$box/var"
    as "$user" set a b 2
    [ "$status:$output:$(stat -c %g "$custom")" = 0::4343 ]
    chown "$user:4344" "$custom"
    as "$user" set a b 3
    [ "$status" = 4 ]
    chmod g-s "$box/var"
    run setpriv --reuid "$user" --regid "$user" --groups 4344 $EMULATOR \
        "$BATS_FILE_TMPDIR/installed/bin/${PROGRAM##*/}" set a b 3
    [ "$status:$output:$(stat -c %g "$custom")" = 0::4344 ]
}

@test "another user's process is one that runs" {
    given_to 65534
    printf '1\n%s\n%s\n' nobody-knows "$(uname -n)" >"$custom.lock"
    touch -d 2037-01-01 "$custom.lock"
    as 65534 set a b 1
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom.lock: not saved: process 1 with a time stamp in the future holds every write; remove it" ]
}

@test "the owner of a sticky directory can remove another user's old lock there" {
    given_to 65534
    chmod 1777 "$box/var"
    : >"$custom.lock"
    chmod 666 "$custom.lock"
    touch -d '1 minute ago' "$custom.lock"
    as 65534 set a b 1
    [ "$status:$output" = 0: ]
}
