# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Prints the setting E/X, given the text of a file of variables.
read_from()
{
    printf "$1" >"$box/env"
    "$STBCONFIG" --env-file "$box/env" get E x --from env
}

setup_file()
{
    unset "${!STBAPP_@}"
}

# The library answers for a variable only if it knows its setting.
know()
{
    printf '[E]\nx=default\n' >"$defaults"
}

@test "a file of variables is read as a service's is" {
    know
    [ "$(read_from 'STBAPP_E_X=a\n')" = a ]
    [ "$(read_from 'STBAPP_E_X=a')" = a ]
    [ "$(read_from '# one\n; two\n\n  \t\n  STBAPP_E_X=a\n')" = a ]
    [ "$(read_from '# one \\\nSTBAPP_E_X=no\nSTBAPP_E_X=a\n')" = a ]
    [ "$(read_from 'STBAPP_E_X=a\r\nSTBAPP_E_Y=b\r\n')" = a ]
    [ "$(read_from 'STBAPP_E_X  =  a b \t\n')" = 'a b' ]
    [ "$(read_from 'STBAPP_E_X=a # b; c\n')" = 'a # b; c' ]
    [ "$(read_from 'STBAPP_E_X=\nSTBAPP_E_Y=1\n')" = '' ]
    [ "$(read_from 'STBAPP_E_X=a=b\n')" = 'a=b' ]
    [ "$(read_from 'STBAPP_E_X=1\nSTBAPP_E_X=2\n')" = 2 ]
    [ "$(read_from 'STBAPP_E_X=\303\251\n')" = é ]
}

@test "quotes and backslashes in a file of variables mean what they mean to a service" {
    know
    [ "$(read_from 'STBAPP_E_X="  a b  " \n')" = '  a b  ' ]
    [ "$(read_from "STBAPP_E_X='  a \"b\"'\n")" = '  a "b"' ]
    [ "$(read_from 'STBAPP_E_X="a\nb"\n')" = $'a\nb' ]
    [ "$(read_from "STBAPP_E_X='a\nb'\n")" = $'a\nb' ]
    [ "$(read_from 'STBAPP_E_X="a\\\nb"\n')" = ab ]
    [ "$(read_from "STBAPP_E_X='a\\\\\\\\b'\n")" = 'a\\b' ]
    [ "$(read_from 'STBAPP_E_X="\\" \\\\ \\$ \\` \\n"\n')" = '" \ $ ` \n' ]
    [ "$(read_from 'STBAPP_E_X=\\"a\\n\\\\ \\ \n')" = '"an\  ' ]
    [ "$(read_from 'STBAPP_E_X=a\\\nb\n')" = ab ]
    [ "$(read_from 'STBAPP_E_X="a" b\n')" = ab ]
    [ "$(read_from "STBAPP_E_X=\"a b\"'c d'\n")" = 'a bc d' ]
    [ "$(read_from 'STBAPP_E_X=a"b c"d\n')" = 'a"b c"d' ]
    [ "$(read_from 'STBAPP_E_X="a;b" ; c\n')" = 'a;b; c' ]
}

@test "what a service ignores is ignored with a note" {
    know
    printf 'export STBAPP_E_X=1\nSTBAPP_E_Y=2\n9X=1\nA-B=1\n=1\n' >"$box/env"
    run "$STBCONFIG" --env-file "$box/env" get E x
    [ "$status" = 0 ]
    [ "${lines[0]}" = "stbconfig: $box/env: line 1 names no variable; ignored, as systemd does" ]
    [[ ${lines[1]} == *"line 3 "* && ${lines[2]} == *"line 4 "* && ${lines[3]} == *"line 5 "* ]]
    [ "${lines[4]}" = default ]
    printf 'STBAPP_E_\303\211=1\n' >"$box/env"
    run "$STBCONFIG" --env-file "$box/env" get E x
    [[ ${lines[0]} == *"line 1 names no variable; "* ]]
}

@test "a line that assigns nothing is refused with its number, whatever precedes it" {
    know
    printf '# a\nSTBAPP_E_X="1\n2"\nSTBAPP_E_Y=a\\\nb\n\nnonsense\n' >"$box/env"
    expect 3 --env-file "$box/env" get E x
    [ "$output" = "stbconfig: $box/env: line 7 is no NAME=VALUE; correct the line" ]
    printf 'STBAPP_E_X=\377\n' >"$box/env"
    expect 3 --env-file "$box/env" get E x
    [[ $output == *"line 1 is not UTF-8; "* ]]
}

@test "a file of variables that is none is named at once" {
    expect 3 --env-file "$box/nothing" list
    [ "$output" = "stbconfig: $box/nothing: no such file; name a file of NAME=VALUE lines" ]
    mkfifo "$box/fifo"
    run timeout 10 "$STBCONFIG" --env-file "$box/fifo" list
    [ "$status" = 3 ]
    [[ $output == *"not a file but a FIFO"* ]]
    expect 3 --env-file "$box" list
}

@test "variables of this shell do not count beside a file's, whatever their names" {
    know
    : >"$box/env"
    export STBAPP_E_X=own
    [ "$("$STBCONFIG" --env-file "$box/env" get E x)" = default ]
    [ "$("$STBCONFIG" get E x)" = own ]
    run env "$(printf 'STBAPP_E_\377=1')" "$STBCONFIG" --no-env check --ignore missing --ignore no-default
    [ "$status" = 0 ]
}

@test "a process is seen with the environment that it was started with, and explain says so" {
    [ -z "$EMULATOR" ] || skip "the emulator's process has its own environment"
    know
    STBAPP_E_X=started bash -c 'export STBAPP_E_X=later; echo $$; read -r' >"$box/pid" < <(sleep 3 3>&-) 3>&- &
    while [ ! -s "$box/pid" ]; do sleep 0.05; done
    pid=$(cat "$box/pid")
    run "$STBCONFIG" --pid "$pid" explain E x
    kill "$pid"
    [ "$status" = 0 ]
    [ "${lines[0]}" = "E/x = started" ]
    [[ $output == *"STBAPP_E_X of process $pid, as it was started"* ]]
    run "$STBCONFIG" --help
    [[ ${output//$'\n'/ } == *"was started"* ]]
}

@test "explain says which file a variable is from" {
    know
    echo STBAPP_E_X=1 >"$box/env"
    expect 0 --env-file "$box/env" explain E x
    [[ $output == *"of $box/env"* ]]
    expect 0 --no-env explain E x
    [[ $output != *" of "* ]]
}

@test "one source of variables is chosen, and a process has a number" {
    expect 2 --no-env --env-file x list
    expect 2 --no-env --pid 1 list
    expect 2 --pid 1 --env-file x list
    expect 2 --pid 0 list
    expect 2 --pid -5 list
    expect 2 --pid x list
    expect 3 --pid 4194305 list
    [ "$output" = "stbconfig: process 4194305: no such process; give the number of a running one" ]
}

@test "a file of variables may end anywhere" {
    know
    [ "$(read_from 'STBAPP_E_X=a\n# one')" = a ]
    [ "$(read_from 'STBAPP_E_X=a\n# one\\')" = a ]
    [ "$(read_from 'STBAPP_E_X=a\\')" = a ]
    [ "$(read_from 'STBAPP_E_X="a b')" = 'a b' ]
    [ "$(read_from 'STBAPP_E_X="a\\')" = 'a\' ]
    [ "$(read_from "STBAPP_E_X='a\n")" = $'a' ]
    [ "$(read_from 'STBAPP_E_X=a\n \t ')" = a ]
    printf 'STBAPP_E_X' >"$box/env"
    expect 3 --env-file "$box/env" get E x
    [ "$output" = "stbconfig: $box/env: line 1 is no NAME=VALUE; correct the line" ]
}

@test "other variables of a file are left alone" {
    know
    printf 'STBCONFIG_DEFAULTS_PREFIX=/nowhere/\nSTBAPPX=1\nSTBAPP_E_X=1\n' >"$box/env"
    expect 0 --env-file "$box/env" get E x
    [ "$output" = 1 ]
    rm "$box/env"
    expect 3 --env-file "$box/env" get E x
}
