# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

finds()
{
    expect "${3:-1}" check
    [[ $output == *" $1: "*"$2"* ]] || { echo "$output"; return 1; }
}

@test "nothing to report on a clean box" {
    chmod 600 "$defaults"
    expect 0 check
    [ -z "$output" ]
}

@test "findings in the text of the file" {
    printf '; gone\n#x=1\n[A]\na=\303\251\nb=1,2\npassword=x\nc="1,2"\n' >"$custom"
    finds comment custom.conf:1
    finds hash-line custom.conf:2
    finds non-ascii custom.conf:4
    finds unquoted-comma custom.conf:5
    [[ $output != *"custom.conf:7"* ]]
    finds readable-secret A/password
    printf 'broken\n' >>"$custom"
    finds malformed custom.conf:8 3
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

@test "findings before a write is lost" {
    mkdir "$custom"
    finds write-lost "$custom: not a file" 3
    finds unreadable "$custom" 3
}

@test "findings before a write damages the file" {
    ln -s custom.conf "$custom"
    finds write-lost "$custom: a symbolic link that leads back to itself"
    rm "$custom"
    printf '[A]\nb=%200s\n' x >"$custom"
    (ulimit -f 0 && "$STBCONFIG" check || exit 0) 2>&1 | cat >"$box/output"
    grep -q 'write-lost.*files may have 0 bytes here' "$box/output"
}

@test "a file system with less space than a new file needs is found" {
    requires_namespaces
    # A page for the lock, none for the file; then one more than needed.
    run unshare -m sh -c 'mount -t tmpfs -o size=32k none "$1/var" && echo "[a]
b=1" >"$1/var/custom.conf" && head -c 24576 /dev/zero >"$1/var/fill" && "$2" check;
        truncate -s 20480 "$1/var/fill" && "$2" check' sh "$box" "$STBCONFIG"
    [[ ${lines[0]} == *"write-lost"*"the file system is full: 4096 bytes are free, 8192 may be needed"* ]]
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

@test "a file that would end whoever reads it is found, in every place, and ends nobody" {
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
    finds left-over-lock "custom.conf.lock: an empty or unreadable lock can block"
    touch -d '1 minute ago' "$custom.lock" # Qt takes this one over at once
    expect 0 check
    export STBCONFIG_PERSISTENT_PREFIX=$box/var
    finds prefix "$box/var"
}
