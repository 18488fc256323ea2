# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

finds()
{
    expect "${3:-1}" check
    [[ $output == *" $1: "*"$2"* ]] || { echo "$output"; return 1; }
}

@test "a clean box has no findings" {
    chmod 600 "$defaults"
    printf '[Video]\noutput=scart\n' >"$custom"
    expect 0 check
    [ -z "$output" ]
}

@test "findings in the text of the file" {
    printf '; gone\n#x=1\n[A]\na=\303\251\nb=1,2\npassword=x\nc="1,2"\n' >"$custom"
    finds comment custom.conf:1
    finds hash-line custom.conf:2
    [ "$QT_MAJOR" != 5 ] || finds non-ascii custom.conf:4 # Qt 6 reads UTF-8
    finds unquoted-comma custom.conf:5
    [[ $output != *"custom.conf:7"* ]]
    finds readable-secret A/password
    printf 'broken\n' >>"$custom"
    finds malformed custom.conf:8 3
}

@test "what follows a value that is cut is no comment" {
    printf '[A]\na=1;2\nb=1 ; note\n' >"$custom"
    finds cut-value custom.conf:2
    [[ $output != *"comment: $custom:2"* && $output == *"comment: $custom:3"* ]]
}

@test "findings in the names" {
    printf '[A]\nb=1\nB=2\na_b=1\n[A_A]\nb=1\n' >"$custom"
    finds case-only A/
    finds shared-variable STBAPP_A_A_B
}

@test "findings in the variables" {
    printf '[A]\nb=1\n' >"$custom"
    STBAPP_A_B=2 finds shadowed-variable STBAPP_A_B
    STBAPP_VIDEO_OUTPUTS=2 finds unknown-variable "nearest is STBAPP_VIDEO_OUTPUT"
    STBAPP_VIDEO_OUTPUT= finds empty-variable STBAPP_VIDEO_OUTPUT
    STBAPP_LOGGING_LEVEL=2 finds logging-variable STBAPP_LOGGING_LEVEL
}

@test "findings in the values" {
    printf '[Logging]\nlevel=verbose\n[Profile]\nlocale=xx!\n[A]\nb=no\n[Video]\noutput=hdmi\n' >"$custom"
    finds logging-value "reads as critical"
    finds c-locale Profile/locale
    finds boolean-word A/b
    finds no-default A/b
    finds redundant Video/output
    printf '[Logging]\nlevel=6\n' >"$custom"
    finds logging-value "reads as error"
}

@test "findings in the values of variables" {
    printf '[A]\nb=yes\n' >"$defaults"
    STBAPP_A_B=off finds boolean-word STBAPP_A_B
    STBAPP_PROFILE_LOCALE=xx! finds c-locale STBAPP_PROFILE_LOCALE
}

@test "findings in named storages" {
    printf 'broken\n' >"$box/var/epg.db"
    finds malformed epg.db:1 3
}

@test "what would lose the next write is found" {
    mkdir "$custom"
    finds write-lost "$custom: not a file" 3
    finds unreadable "$custom" 3
}

@test "what would let the next write damage the file is found" {
    ln -s custom.conf "$custom"
    finds write-lost "$custom: a symbolic link that leads back to itself" 3
    rm "$custom"
    printf '[A]\nb=%200s\n' x >"$custom"
    (ulimit -f 0 && "$STBCONFIG" check || exit 0) 2>&1 | cat >"$box/output"
    grep -q 'write-lost.*files may have 0 bytes here' "$box/output"
}

@test "a file system with less space than a new file needs is found" {
    requires_namespaces
    # First there is a page for the lock and none for the file, then one page more than needed.
    run unshare -m sh -c 'mount -t tmpfs -o size=32k none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && head -c 24576 /dev/zero >"$1/var/fill" && "$2" check;
        truncate -s 20480 "$1/var/fill" && "$2" check' sh "$box" "$STBCONFIG"
    [[ ${lines[0]} == *"write-lost"*"the file system is full: 4096 bytes are free, about 8192 are needed"* ]]
    [ "$(grep -c write-lost <<<"$output")" = 1 ]
}

@test "a value of a type is found, a text that looks like one is not" {
    printf '[A]\nb=@Variant(\\0\\0\\0\\x9\\0\\0\\0\\0)\nc=@@Variant(1)\n' >"$custom"
    finds typed-value custom.conf:2
    printf 'd=1, @DateTime(\\0\\0\\0\\x10\\0)\n' >>"$custom"
    finds typed-value custom.conf:4
    [[ $output != *custom.conf:3*typed-value* ]]
    [ "$(grep -c typed-value <<<"$output")" = 2 ]
}

@test "a file that would end its reader is found in every place, and does not end the command" {
    nested "$custom"
    finds ends-reader "$custom" 3
    finds typed-value custom.conf:2 3
    expect 3 check --json
    [[ $output == *'"id": "ends-reader"'* ]]
    mv "$custom" "$defaults"
    finds ends-reader "$defaults" 3
    mv "$defaults" "$box/var/epg.db"
    finds ends-reader "$box/var/epg.db" 3
}

@test "a file that claims more memory than a box has is found" {
    [ "$QT_MAJOR" = 5 ] || skip "Qt $QT_MAJOR takes no memory for a length that is merely claimed"
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer cannot live with a limit"
    [ -z "$EMULATOR" ] || skip "the emulator does not limit a process's memory"
    printf '[A]\nb=@Variant(\\0\\0\\0\\xb\\x7\\xff\\xff\\xff)\n' >"$custom"
    finds ends-reader "$custom" 3
}

@test "findings around the files" {
    touch "$custom.lock"
    finds left-over-lock "custom.conf.lock: an empty or unreadable lock can hold a write"
    touch -d '1 minute ago' "$custom.lock" # Qt takes this one over at once
    expect 0 check
    export STBCONFIG_PERSISTENT_PREFIX=$box/var
    finds prefix "$box/var"
}

# Expects that "check" says nothing of the custom file, except for findings that every file here
# has.
finds_nothing()
{
    run "$STBCONFIG" check --ignore comment --ignore no-default --ignore redundant --ignore missing
    [ "$status" = 0 ] && [ -z "$output" ] || { echo "status $status: $output"; return 1; }
}

@test "a correct line gives no finding" {
    for text in '[Video] ; note\noutput=1\n' '[Profile]\nlocale=no\n' '[A]\nlanguage=no\n' \
        '[Language]\naudio=no\n' '[A]\naudioLang=no\ncountry=NO\n' '[A]\nb=1 ; note\n' \
        '[A]\nb="1,2"\n' '[A]\nb=1\\,2\n' '[A]\r\nb=1\r\n; note\r\nc="2;3"\r\n' \
        '[A]\nb="say \\"a, b\\""\n' '[A]\nb=a@Variant(x)\n' '[A]\nb=@@Variant(x)\n' \
        '[A]\nb=1\\\n2\nc=3\n' '[A]\nb="1\n2"\nc=3\n' '[A]\nb=1\\\nc=3\n' '\n\n  [A]\n\t b = 1\n' \
        '[A]\nb="x;y"\n' '[A]\nb=1\\;2\n' '[A]\nb=1\n[B]\nb=1\n[a]\nc=1\n' '[A]\n"b,c"=1\n' \
        '[Logging]\nlevel=debug\nlevel2=5\n' '[A]\nb=@Size(1 2)\n' '' '; note' '[A]' '[]\nb=1\n'; do
        printf "$text" >"$custom"
        chmod 600 "$custom"
        finds_nothing || { echo "$text"; return 1; }
    done
    STBAPP_LOGGING_LEVEL2=5 expect 1 check
    [[ $output != *logging-variable* ]]
}

@test "a value that is cut, a quote that is open and an entry that is twice are found" {
    printf '[A]\nb=x;y\nc=1 ; note\nd=";"\n' >"$custom"
    finds cut-value custom.conf:2
    [ "$(grep -c cut-value <<<"$output")" = 1 ]
    printf '[A]\nb="x\nc=1\n' >"$custom"
    finds open-quote custom.conf:2
    printf '[A]\nb="x\nc=1\nd="y\ne=2\n' >"$custom"
    finds open-quote custom.conf:2
    printf '[A]\nb=1\n[B]\nb=1\n[A]\nb=2\n' >"$custom"
    finds duplicate custom.conf:6
    [ "$(grep -c duplicate <<<"$output")" = 1 ]
    printf 'b=1\n[General]\nb=2\n' >"$custom"
    finds duplicate custom.conf:3
    printf '[general]\nmy%%20key=1\n[General]\nmy key=2\n' >"$custom"
    finds duplicate custom.conf:4
    printf '[A]\nb\\c=1\n[A\\b]\nc=2\n' >"$custom"
    finds duplicate custom.conf:4
    printf '[%%General]\nb=1\n[General]\nb=2\n' >"$custom"
    run "$STBCONFIG" check
    [[ $output != *duplicate* ]]
}

@test "a byte order mark that spoils the file is named" {
    printf '\xef\xbb\xbf[A]\nb=1\n' >"$custom"
    finds malformed "custom.conf:1: a byte order mark" 3
    printf '\r\n[A]\r\nb\r\n' >"$custom"
    finds malformed custom.conf:3 3
}

@test "a hidden way to write a value of a type is found" {
    printf '[A]\nb="\\x40Variant(\\0\\0\\0\\x9\\0\\0\\0\\0)"\n' >"$custom"
    finds typed-value custom.conf:2
}

@test "a file that belongs to another user than its directory is found" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    printf '[A]\nb=1\n' >"$custom"
    chown 65534 "$custom" 2>/dev/null || skip "files cannot be given away here"
    finds foreign-owner "$custom: belongs to "
    chown 65534 "$box/var"
    chown 0 "$custom"
    chmod 755 "$BATS_RUN_TMPDIR" "$BATS_TEST_TMPDIR" "$box" 2>/dev/null
    chmod 600 "$custom"
    run "$STBCONFIG" check
    [ "$status" = 3 ]
    [[ $output == *"foreign-owner: $custom: belongs to root, its directory to "* ]] ||
        [[ $output == *"Permission denied"* ]]
}

@test "a missing file is a note, and notes alone are no failure" {
    rm "$defaults"
    expect 0 check
    [ "${#lines[@]}" = 2 ]
    [[ ${lines[0]} == "note missing: $custom: no such file; "* ]]
    [[ ${lines[1]} == "note missing: $defaults: no such file; "* ]]
}

@test "every lock that would hold a write is found" {
    printf '[A]\nb=1\n' >"$custom"
    for make in mkdir mkfifo "ln -s nowhere" touch "touch -d 2200-01-01" "touch -d @0"; do
        $make "$custom.lock"
        finds left-over-lock custom.conf.lock || { echo "$make"; return 1; }
        rm -rf "$custom.lock"
    done
    mkdir "$box/var/epg.db.lock"
    touch "$box/var/epg.db"
    finds left-over-lock epg.db.lock
}

@test "a lock that is just in use is no finding" {
    printf '[A]\nb=1\n' >"$custom"
    (
        printf '%s\nsleep\n%s\n' "$BASHPID" "$(uname -n)" >"$custom.lock"
        sleep 0.3
        rm "$custom.lock"
    ) &
    while [ ! -s "$custom.lock" ]; do sleep 0.01; done
    run "$STBCONFIG" check
    wait
    [[ $status = 0 && $output != *lock* ]] || { echo "$output"; return 1; }
}

@test "many locks hold check no longer than one" {
    for i in {1..20}; do
        touch "$box/var/s$i.db" "$box/var/s$i.db.lock"
    done
    run timeout 10 "$STBCONFIG" check
    [ "$status" = 1 ]
    [ "$(grep -c left-over-lock <<<"$output")" = 20 ]
}

@test "a remedy fits the file" {
    printf '[A]\nb=\303\251\n[Logging]\nlevel=verbose\n[B]\nc=no\nd=@Variant(\\0\\0\\0\\x9\\0\\0\\0\\0)\n' | tee "$custom" "$box/var/epg.db" >"$defaults"
    run "$STBCONFIG" check
    if [ "$QT_MAJOR" = 5 ]; then
        [[ $output == *"non-ascii: $custom:2: "*"; use stbconfig set"$'\n'* ]]
        [[ $output == *"non-ascii: $defaults:2: "*" in the image"$'\n'* ]]
        [[ $output == *"non-ascii: $box/var/epg.db:2: "*"; use stbconfig set --storage epg"$'\n'* ]]
    fi
    [[ $output == *"logging-value: $custom: Logging/level: reads as critical; use stbconfig logging"* ]]
    [[ $output == *"logging-value: $defaults: Logging/level: reads as critical; correct it in the image"* ]]
    [[ $output == *"boolean-word: $defaults: B/c: reads as true; correct it in the image"* ]]
    [[ $output == *"typed-value: $defaults:7: "*"; correct it in the image"* ]]
}

@test "all broken files are reported at once" {
    printf 'broken\n' | tee "$custom" "$box/var/epg.db" >"$defaults"
    expect 3 check
    for file in "$custom" "$box/var/epg.db" "$defaults"; do
        [[ $output == *"malformed: $file:1: "* ]]
    done
    nested "$custom"
    nested "$defaults"
    expect 3 check
    [ "$(grep -c ends-reader <<<"$output")" = 2 ]
}

@test "a storage that is no file, or that ends its reader, leaves the other findings" {
    mkfifo "$box/var/a.db"
    mkdir "$box/var/b.db"
    ln -s c.db "$box/var/c.db"
    nested "$box/var/d.db"
    printf 'broken\n' >"$box/var/e.db"
    printf '[Profile]\nlocale=xx!\n' >"$custom"
    run timeout 30 "$STBCONFIG" check
    [ "$status" = 3 ]
    [[ $output == *"unreadable: $box/var/a.db: not a file but a FIFO"* ]]
    [[ $output == *"unreadable: $box/var/b.db: not a file but a directory"* ]]
    [[ $output == *"unreadable: $box/var/c.db: "* && $output == *"ends-reader: $box/var/d.db: "* ]]
    [[ $output == *"malformed: $box/var/e.db:1: "* && $output == *"c-locale: $custom: "* ]]
}

@test "the least severity that fails can be chosen, and findings left out" {
    printf '[Video]\noutput=hdmi\n' >"$custom"
    expect 0 check
    [[ $output == "note redundant: "* ]]
    expect 1 check --fail-on note
    expect 0 check --fail-on note --ignore redundant
    [ -z "$output" ]
    printf '; a\n#b=1\n' >"$custom"
    expect 1 check
    expect 0 check --fail-on error
    expect 0 check --ignore comment --ignore hash-line --ignore no-default
    [ -z "$output" ]
    printf 'broken\n' >"$custom"
    expect 3 check --fail-on error
    expect 2 check --ignore coment
    [ "$output" = "stbconfig: coment: no such finding; did you mean comment?" ]
    expect 2 check --fail-on warnings
    [[ $output == *"did you mean warning?" ]]
}

@test "findings are records with five fields on request, in the same order each time" {
    printf '; a\n[A]\nb=1,2\nB=no\n' >"$custom"
    "$STBCONFIG" check -0 >"$box/first" || true
    "$STBCONFIG" check -0 >"$box/second" || true
    cmp "$box/first" "$box/second"
    [ "$(tr '\0' '\n' <"$box/first" | head -n 1)" = \
        $'warning\tcomment\t'"$custom"$':1\tthe next write drops this comment\tkeep it elsewhere' ]
    [ "$(tr '\0' '\n' <"$box/first" | awk -F '\t' 'NF != 5')" = "" ]
}

@test "a secret that only its directory protects is no finding" {
    printf '[A]\npassword=x\n' >"$custom"
    finds readable-secret A/password
    chmod 700 "$box/var"
    run "$STBCONFIG" check
    [[ $output != *readable-secret* ]]
}

@test "a box with 50,000 settings and 5,000 strange variables is checked in seconds" {
    [ -z "$EMULATOR" ] || skip "the emulator is too slow to tell"
    python3 - "$custom" "$box/env" <<'SCRIPT'
import sys
with open(sys.argv[1], "w") as file:
    for group in range(500):
        file.write("[Group%d]\n" % group + "".join("key%d=%d\n" % (key, key) for key in range(100)))
with open(sys.argv[2], "w") as file:
    file.writelines("STBAPP_GROUP%d_KEIE=1\n" % each for each in range(5000))
SCRIPT
    run timeout 30 "$STBCONFIG" --env-file "$box/env" check
    [ "$status" = 1 ]
    [ "$(grep -c unknown-variable <<<"$output")" = 5000 ]
    [ "$(grep -c no-default <<<"$output")" = 50000 ]
}
