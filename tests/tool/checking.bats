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

@test "findings around the files" {
    touch "$custom.lock"
    finds left-over-lock custom.conf.lock
    export STBCONFIG_PERSISTENT_PREFIX=$box/var
    finds prefix "$box/var"
}
