# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

holding()
{
    printf '%s\n' "$@" >"$custom"
    cp -p "$custom" "$box/before"
}

# Prints everything but the setting that a write would change, as JSON, which tells types apart.
others() { "$STBCONFIG" list --from custom --json --show-secrets | python3 -c '
import json, sys
for entry in json.load(sys.stdin):
    text = json.dumps(entry, sort_keys=True)
    if "c/changed" not in text: print(text)'; }

@test "half a character is kept by a write, or the write is refused" {
    printf '[A]\na="\\xd800x"\n' >"$custom"
    cp "$custom" "$box/before"
    if [ "$QT_MAJOR" = 5 ]; then
        expect 0 set A b 1
        grep -qF 'a=\xd800x' "$custom"
    else
        expect 4 set A b 1
        [[ $output == *"a write would also change A/a; "* ]]
        cmp "$custom" "$box/before"
    fi
}

@test "a failed read never wipes what it did not read" {
    holding '[a]' b=1 "long=$(head -c 40000 /dev/zero | tr '\0' x)" '[z]' last=1
    for which in 1 2 3 4 5 6 7 8 9 10 11 12 all; do
        for what in EIO end; do
            with_failing_calls "read:/custom.conf:$what:$which" set c changed 1
            if cmp -s "$box/before" "$custom"; then
                [[ $status = 3 || $status = 4 ]] || { echo "$what $which: $status $output"; return 1; }
            else
                # Either the read after the write has failed, or no read was left to fail.
                grep -qx changed=1 "$custom" && grep -qx last=1 "$custom" && grep -qx b=1 "$custom"
                [[ $status = 4 || $status = 0 ]]
            fi
            cp "$box/before" "$custom"
        done
    done
}

@test "a read that fails for good does not count as an empty file" {
    holding '[a]' b=1
    with_failing_calls "read:/custom.conf:EIO:all" set c changed 1
    [[ $status = 3 && $output == *"custom.conf: "* ]]
    cmp "$box/before" "$custom"
    with_failing_calls "read:/custom.conf:EIO:all" unset a/b
    [ "$status" = 3 ]
    cmp "$box/before" "$custom"
}

@test "reads in small pieces are put together" {
    holding '[a]' b=1 "long=$(head -c 3000 /dev/zero | tr '\0' x)"
    with_failing_calls "read:/custom.conf:short:all" set c changed 1
    [ "$status" = 0 ]
    expect 0 get a long
    [ "${#output}" = 3000 ]
}

@test "a flush that fails is no success" {
    for call in "fsync:/custom.conf" "fsync:/var"; do
        holding '[a]' b=1
        with_failing_calls "$call:EIO:all" set c changed 1
        [[ $status = 4 && $output == *"not flushed to the disk: "* ]] || { echo "$call: $status $output"; return 1; }
        holding '[a]' b=1
        with_failing_calls "$call:EIO:all" set a b 1
        [[ $status = 4 && $output == *"not flushed to the disk: "* ]] || { echo "$call: $status $output"; return 1; }
        with_failing_calls "$call:EIO:all" unset a b
        [ "$status" = 4 ]
        with_failing_calls "$call:EIO:all" logging level debug
        [ "$status" = 4 ]
    done
}

@test "the file and its directories are flushed before success" {
    export FAULTS_LOG=$box/log
    holding '[a]' b=1
    for words in "set c d 1" "set c d 1" "unset c d" "logging level debug"; do
        rm -f "$box/log"
        with_failing_calls "" $words
        [ "$status" = 0 ]
        grep -q "^fsync $box/var/custom.conf ok" "$box/log"
        grep -qx "fsync $box/var ok" "$box/log"
    done
    rm "$box/log"
    with_failing_calls "" set c d 1 --persistent "$box/var/new/deep/"
    [ "$status" = 0 ]
    for directory in "$box/var/new/deep" "$box/var/new" "$box/var"; do
        grep -qx "fsync $directory ok" "$box/log"
    done
}

@test "a dry run flushes nothing and writes nothing" {
    export FAULTS_LOG=$box/log
    holding '[a]' b=1
    for words in "set c d 1" "unset a b" "unset --group a" "logging level debug" "unset --redundant"; do
        with_failing_calls "" $words --dry-run
        [ "$status" = 0 ]
        cmp "$box/before" "$custom"
    done
    ! grep sync "$box/log"
    [ "$(ls "$box/var")" = custom.conf ]
}

@test "a write that is cut off ends with the old bytes" {
    for what in ENOSPC EDQUOT EIO; do
        for which in 1 2 all; do
            holding '; mine' '[a]' b=1 "long=$(head -c 40000 /dev/zero | tr '\0' x)"
            with_failing_calls "write:NEW:$what:$which" set c changed 1
            if [ "$status" = 0 ]; then
                [ "$which" = 2 ] && grep -qx changed=1 "$custom"
            else
                [ "$status" = 4 ] && cmp "$box/before" "$custom"
            fi
        done
    done
}

@test "a write that is cut off after some of the bytes ends with the old ones" {
    # Qt does not check whether it could write the last 16 kB.
    for what in ENOSPC EDQUOT; do
        holding '; mine' '[a]' b=1 "long=$(head -c 9000 /dev/zero | tr '\0' x)"
        with_failing_calls "write:NEW:short:1 write:NEW:$what:2" set a changed 1
        [ "$status" = 4 ] && cmp "$box/before" "$custom"
        [[ $output == *"the write was cut off; the old file was put back; "* ]] || { echo "$output"; return 1; }
    done
}

@test "a write that is cut off at a block's end, behind a line, ends with the old bytes" {
    # The lines have 16 bytes, so the half of the file that is written ends with a line and is one block.
    holding '[aaaaaaaaaaaaa]' $(seq -f 'key%03.f=12345678' 1 63)
    with_failing_calls "write:NEW:short:1 write:NEW:ENOSPC:2" set aaaaaaaaaaaaa key063 87654321
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: not saved: the write was cut off; the old file was put back; check the file system, then try again" ] ||
        { echo "$output"; return 1; }
    cmp "$box/before" "$custom"
}

@test "a new file whose write is cut off after some of the bytes is removed" {
    with_failing_calls "write:NEW:short:1 write:NEW:ENOSPC:2" set a changed "$(head -c 9000 /dev/zero | tr '\0' x)"
    [ "$status" = 4 ]
    [[ $output == *"not saved: the write was cut off; the old file was put back; "* ]] || { echo "$output"; return 1; }
    [ ! -e "$custom" ]
}

@test "an old file that cannot be put back is told" {
    for fault in write:NEW:EIO:3 fsync:NEW:EIO:all rename:/custom.conf:EIO:2; do
        holding '[a]' b=1 "long=$(head -c 9000 /dev/zero | tr '\0' x)"
        with_failing_calls "write:NEW:short:1 write:NEW:ENOSPC:2 $fault" set a changed 1
        [ "$status" = 4 ]
        [[ $output == "stbconfig: $custom: not saved: the write was cut off, and the old file could not be put back: Input/output error; "* ]] ||
            { echo "$fault: $output"; return 1; }
        [ "$(ls "$box/var")" = custom.conf ]
    done
}

@test "a half of a file is not taken for all of it" {
    # Qt and the command take turns to read the file; one of these reads is the last look before the write.
    for which in 1 2 3 4 5 6 7 8; do
        holding '[a]' b=1 '[z]' last=1
        with_failing_calls "read:/custom.conf:end:$which" set c changed 1
        [[ $output == *"custom.conf: only a part of it could be read; try again, and check the disk" ]] || continue
        [ "$status" = 3 ]
        cmp "$box/before" "$custom"
        return 0
    done
    return 1
}

@test "a new file whose write is cut off does not stay" {
    with_failing_calls "write:NEW:ENOSPC:all" set c changed 1
    [ "$status" = 4 ]
    [ ! -s "$custom" ]
}

@test "an owner that cannot be kept is told" {
    [ "$(id -u)" = 0 ] || skip "needs root to give the file away"
    holding '[a]' b=1
    chown 1234:1234 "$custom"
    with_failing_calls "fchown:custom.conf:EPERM:all" --as-root set c changed 1
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: written, but its owner could not be kept: Operation not permitted; give it back to its owner" ]
}

@test "the file keeps its mode, owner and group" {
    [ "$(id -u)" = 0 ] || skip "needs root to give the file away"
    holding '[a]' b=1
    for mode in 640 600 664 444; do
        chmod "$mode" "$custom"
        chown 1234:1235 "$custom"
        expect 0 set c changed "$mode"
        [ "$(stat -c %u:%g:%a "$custom")" = "1234:1235:$mode" ]
        expect 0 unset c changed
        [ "$(stat -c %u:%g:%a "$custom")" = "1234:1235:$mode" ]
    done
    chown 0:1235 "$custom"
    expect 0 set c changed 0
    [ "$(stat -c %u:%g:%a "$custom")" = "0:1235:444" ]
    chown 1234 "$custom"
    chgrp 1236 "$box/var"
    chmod 2755 "$box/var"
    expect 0 set c changed 1
    [ "$(stat -c %u:%g:%a "$custom")" = "1234:1235:444" ]
    [ "$(stat -c %g:%a "$box/var")" = 1236:2755 ]
    expect 0 set c new 1 --storage new --create
    [ "$(stat -c %g "$box/var/new.db")" = 1236 ]
}

@test "what another process writes meanwhile is not lost in silence" {
    for which in 1 2 3 4 5 6 7 8; do
        for other in 'b=2' 'b=1\nother=1'; do
            holding '[a]' b=1
            export FAULTS_RUN="printf '[a]\n$other\n' >'$box/theirs' && mv '$box/theirs' '$custom'"
            with_failing_calls "read:/custom.conf:run:$which" set c changed 1
            theirs=$(grep -cx "${other##*n}" "$custom") || true
            ours=$(grep -cx changed=1 "$custom") || true
            # Their change always stays; ours may be refused, or be overwritten by theirs, and then the
            # command says so.
            [ "$theirs" = 1 ] || { echo "$which: $(cat "$custom")"; return 1; }
            [[ $status = 3 || $status = 4 || $ours = 1 ]] || { echo "$which: $status $output"; return 1; }
        done
    done
}

@test "writers at the same time lose no change that was confirmed" {
    holding '[a]' b=1
    for i in 1 2 3 4 5 6; do
        { "$STBCONFIG" set c "key$i" "$i" 2>/dev/null && touch "$box/done$i"; true; } 3>&- &
    done
    wait
    ls "$box"/done* >/dev/null
    for i in 1 2 3 4 5 6; do
        [ ! -e "$box/done$i" ] || grep -qx "key$i=$i" "$custom"
    done
    grep -qx b=1 "$custom"
}

@test "unset removes what it names and nothing beside it" {
    holding '[A]' b=1 'b\c=2' bc=3 'b\c\d=4' '[AB]' b=5 '[General]' A=6 b=7
    expect 0 unset A/b
    expect 0 list --keys --from custom
    [ "$output" = $'A\nA/b/c\nA/b/c/d\nA/bc\nAB/b\nb' ] || { echo "$output"; return 1; }
    expect 0 unset A b/c
    expect 0 unset --group A
    expect 0 list --keys --from custom
    [ "$output" = $'A\nAB/b\nb' ]
    expect 0 unset /A
    expect 0 list --keys --from custom
    [ "$output" = $'AB/b\nb' ]
}

@test "what is redundant is told from what looks like it" {
    printf '%s\n' '[R]' same=1 'list=a, b' other=1 '\x=1' 'typed=@Invalid()' 'size=@Size(1 2)' '[v]' a=1 >"$defaults"
    holding '[R]' same=1 'list=a, b' other=2 '\x=2' 'typed=@@Invalid()' 'size=@@Size(1 2)' mine=1 '[v]' a=1
    printf 'STBAPP_V_A=2\n' >"$box/environment"
    expect 0 unset --redundant --env-file "$box/environment"
    expect 0 list --keys --from custom
    [ "$output" = $'R/mine\nR/other\nR/size\nR/typed\nv/a' ] || { echo "$output"; return 1; }
    STBAPP_V_A=2 expect 0 unset --redundant
    expect 0 list --keys --from custom
    [ "$output" = $'R/mine\nR/other\nR/size\nR/typed' ]
    grep -Fx '\x=2' "$custom"
}

@test "an entry of another type is not what was set" {
    holding '[t]' 'size=@Size(1 2)' 'none=@Invalid()'
    expect 0 set t size '@Size(1 2)'
    expect 0 set t none '@Invalid()'
    grep -Fx 'size=@@Size(1 2)' "$custom"
    grep -Fx 'none=@@Invalid()' "$custom"
}

# Tries each entry alone: a write is refused or leaves it as it was.
@test "a hostile entry stays as it is, or no write is made" {
    local kept=0
    while IFS= read -r entry; do
        for section in '[s]' '[general]' '[%General]'; do
            # One section is as good as another to try a value.
            [[ $section == '[s]' || $entry != x=[@\"a]* ]] || continue
            printf '%s\n%b\nplain=1\n' "$section" "$entry" >"$custom"
            cp "$custom" "$box/before"
            others >"$box/listed" 2>/dev/null || continue
            run "$STBCONFIG" set c changed 1
            if [ "$status" = 0 ]; then
                others | diff "$box/listed" - || { echo "$section $entry"; return 1; }
                kept=$((kept + 1))
            else
                [[ $status = 3 || $status = 4 ]] && cmp "$box/before" "$custom" || { echo "$status $section $entry: $output"; return 1; }
            fi
        done
    done <<'ENTRIES'
\\x=1
%2Fx=1
A//b=1
A\\\\\\\\b=1
deep\\\\keys\\\\here=1
x%2F=1
x=1\nx=2
X=1\nx=2
=1
x=a, b
x=a,
x=@Invalid()
x=@Size(1 2)
x=@Rect(1 2 3 4)
x=@ByteArray(a\\0b)
x=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)
x=@Variant(\\0\\0\\0\\x3\\0\\0\\0\\x5)
x=@Variant(\\0\\0\\0\\x4\\0\\0\\0\\0\\0\\0\\0\\x5)
x=@Variant(\\0\\0\\0\\x5\\0\\0\\0\\0\\0\\0\\0\\x5)
x=@String(a\\0b), b
x=@Variant(\\0\\0\\0\\x1\\x1)
x=@Variant(\\0\\0\\0\\xb\\0\\0\\0\\x1\\0\\0\\0\\x2\\0y)
x=@Variant(\\0\\0\\0\\xb\\0\\0\\0\\0)
x=@Variant(\\0\\0\\0\\t\\0\\0\\0\\x1\\0\\0\\0\\x2\\0\\0\\0\\0\\x1)
x=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)
x=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x5None\\0)
x=@DateTime(\\0\\0\\0\\x10\\0\\0\\0\\0\\0\\0%\\x87\\xb8\\0\\0\\0\\0\\0)
x=@Foo(bar)
x=@@
x="a;b"
general\\\\x=1
%67eneral\\\\x=1
x=@Variant(
ENTRIES
    [ "$kept" -gt 10 ]
}

@test "a section that Qt would write under another name stays, or no write is made" {
    for section in '[%67eneral]' '[GENERAL]' '[%General]' '[%25General]' '[%2Fa]' '[a%2F]' '[]' '[a b]' '[\u0416]'; do
        printf '%b\nx=1\n' "$section" >"$custom"
        cp "$custom" "$box/before"
        others >"$box/listed"
        run "$STBCONFIG" set c changed 1
        if [ "$status" = 0 ]; then
            others | diff "$box/listed" - || { echo "$section"; return 1; }
        else
            [ "$status" = 4 ] && cmp "$box/before" "$custom" || { echo "$status $section: $output"; return 1; }
        fi
    done
}

@test "a value of a type that only the application knows is not lost" {
    holding '[ui]' 'colour=@Variant(\0\0\0\x43\x1\xff\xff\0\0\0\0\0\0\0\0)' plain=1
    for words in "set c changed 1" "unset ui plain" "logging level debug"; do
        expect 4 $words
        [[ $output == *"only the application"* ]]
        cmp "$box/before" "$custom"
    done
}

@test "a change of random files changes nothing else" {
    seed=20230331
    echo "seed $seed"
    python3 - "$seed" "$STBCONFIG" "$custom" <<'EOF'
import json, random, subprocess, sys
seed, command, path = int(sys.argv[1]), sys.argv[2], sys.argv[3]
chance = random.Random(seed)
sections = ["[a]", "[b]", "[General]", "[general]", "[%General]", "[%67eneral]", "[a b]", "[%2Fa]", "[a/b]", "[a\\b]", "[]", "[\u0416]", "[a%2Fb]"]
names = ["x", "y", "x\\y", "\\x", "x\\\\y", "%2Fx", "x%2Fy", "x//y", "%20", "%", "%zz", "%U0416", "G", "a", "a\\b", "", "x y", "general\\x"]
values = ["", "1", "a, b", "a,", ",", "\"a, b\"", "\"a\" b", "@@", "@", "@Invalid()", "@Size(1 2)", "@Rect(1 2 3 4)", "@Point(3 4)", "@ByteArray(a\\0b)",
          "@String(a\\0b)", "@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)", "@Variant(\\0\\0\\0\\x1\\x1)", "@Variant(\\0\\0\\0\\x6@\\0\\0\\0\\0\\0\\0\\0)",
          "@Variant(\\0\\0\\0\\xb\\0\\0\\0\\x1\\0\\0\\0\\x2\\0y)", "@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)", "@Size(1 2), b",
          "@Invalid(), @Invalid()", "@@a, b", "\\x41g", "\\x416", "a;b", "\"a;b\"", "\\\"", "\u00e9", "  a  ", "\" a \"", "\\n\\t", "a\\\n  b", "@Variant(\\0\\0)"]
def listed():
    done = subprocess.run([command, "list", "--from", "custom", "--json", "--show-secrets"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    if done.returncode not in (0, 1): return None
    result = {}
    # Nobody can ask for the value of a name with "//" in it or a "/" at an end.
    for entry in json.loads(done.stdout or "[]"):
        name = entry["group"] + "/" + entry["key"] if "group" in entry else entry["setting"]
        name = name[1:] if "group" in entry and not entry["group"] else name
        if "/".join(filter(None, name.split("/"))) == name: result[name] = json.dumps(entry["value"], sort_keys=True)
    return result
writes = 0
for number in range(100):
    lines = []
    for _ in range(chance.randrange(1, 3)):
        lines.append(chance.choice(sections[:3] if chance.random() < .7 else sections))
        for _ in range(chance.randrange(1, 4)):
            lines.append((chance.choice(names[:4] if chance.random() < .7 else names)) + "=" + chance.choice(values))
    data = ("\n".join(lines) + "\n").encode()
    open(path, "wb").write(data)
    before = listed()
    if before is None: continue
    names_there = [n for n in before if n]
    kind = chance.choice(["set", "unset", "group"])
    expected = dict(before)
    if kind == "set" or not names_there:
        words = ["set", "c/changed", "1"]
        expected["c/changed"] = '"1"'
    elif kind == "unset":
        name = chance.choice(names_there)
        words = ["unset", "--", name if "/" in name else "/" + name]
        expected.pop(name)
    else:
        group = chance.choice(names_there).split("/")[0]
        words = ["unset", "--group=" + group]
        for name in names_there:
            if name.startswith(group + "/"): expected.pop(name)
    done = subprocess.run([command, *words], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    if done.returncode:
        assert open(path, "rb").read() == data, (number, words, data, done)
    else:
        writes += 1
        after = listed()
        assert after == expected, (number, words, data, before, after)
assert writes > 30, writes
EOF
}

@test "calls that a signal interrupts are made again" {
    holding '[a]' b=1
    for call in read:/custom.conf write:] read:]; do
        for which in 1 2 3; do
            with_failing_calls "$call:EINTR:$which" get a b
            [ "$status:$output" = 0:1 ] || { echo "$call $which: $status $output"; return 1; }
        done
    done
    with_failing_calls "write:NEW:short:1 write:NEW:ENOSPC:2 write:NEW:EINTR:3" set a long "$(head -c 9000 /dev/zero | tr '\0' x)"
    [[ $status = 4 && $output == *"the old file was put back; "* ]]
    cmp "$box/before" "$custom"
}

@test "an answer that does not come whole from a child is not used" {
    holding '[a]' b=1
    with_failing_calls write:]:EIO:1 get a b
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: stbconfig: a process ran out of memory; try again, and tell its maintainers" ]
    with_failing_calls read:]:EIO:1 get a b
    [ "$status" = 3 ]
    with_failing_calls write:]:EIO:1 set a b 2
    [ "$status" = 3 ]
    cmp "$box/before" "$custom"
}

@test "a process whose variables cannot be read is refused" {
    [ -z "$EMULATOR" ] || skip "the emulator's process has its own environment"
    while read -r error message; do
        with_failing_calls "read:/environ:$error:all" --pid $$ get Video output --default 1
        [ "$status" = 3 ]
        [ "$output" = "stbconfig: process $$: $message" ] || { echo "$error: $output"; return 1; }
    done <<'END'
EIO Input/output error; give the number of a running one
EPERM Operation not permitted; work as the process's user or as root
EACCES Permission denied; work as the process's user or as root
ESRCH no such process; give the number of a running one
END
}

@test "a message names the error of a read and says what to do" {
    while IFS='|' read -r error message; do
        holding '[a]' b=1
        with_failing_calls "read:/custom.conf:$error:all" get a b
        [ "$status" = 3 ]
        [ "$output" = "stbconfig: $custom: cannot be read: $message" ] || { echo "$error: $output"; return 1; }
    done <<'END'
EIO|Input/output error; check the path and the disk
EPERM|Operation not permitted; check the permissions, or work as the application's user
EACCES|Permission denied; check the permissions, or work as the application's user
END
}

@test "a file system that cannot flush directories is no failure" {
    holding '[a]' b=1
    with_failing_calls fsync:/var:EINVAL:all set c changed 1
    [ "$status:$output" = 0: ]
    with_failing_calls fsync:/custom.conf:EINVAL:all set c changed 2
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: written, but not flushed to the disk: Invalid argument; check the disk; after a power cut the change may be gone" ]
}

@test "a process that is killed while it writes is told with what the file holds then" {
    export FAULTS_RUN='kill -KILL $PPID'
    holding '[a]' b=1
    with_failing_calls write:NEW:run:1 set c changed 1
    [ "$status" = 4 ]
    [[ $output == "stbconfig: $custom: not saved: "*"; "* && $output != *"written, but"* ]] || { echo "$output"; return 1; }
    cmp "$box/before" "$custom"
    rm -f "$custom.lock"
    with_failing_calls fsync:/custom.conf:run:1 set c changed 1
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: written, but not proved: a process died of signal 9; see what the file holds, then try again" ] ||
        { echo "$output"; return 1; }
    grep -qx changed=1 "$custom"
}

@test "a slow write waits for nobody and announces nothing" {
    holding '[a]' b=1
    export FAULTS_RUN='sleep 0.6'
    for call in write:NEW:run:1 fsync:/custom.conf:run:1; do # while it holds its lock, and afterwards
        with_failing_calls $call set c changed $call
        [ "$status:$output" = 0: ] || { echo "$call: $output"; return 1; }
    done
}

@test "no child of the command leaves a core file" {
    [ "$(ulimit -Hc)" != 0 ] || skip "no process leaves one here"
    holding '[a]' b=1
    export FAULTS_RUN="grep 'core file' /proc/\$PPID/limits >>'$box/limits'"
    ulimit -Sc "$(ulimit -Hc)"
    with_failing_calls read:/custom.conf:run:all set a b 2
    [ "$status" = 0 ]
    [ "$(tr -s ' ' <"$box/limits" | sort -u)" = "Max core file size 0 0 bytes " ]
}
