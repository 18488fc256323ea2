#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Tries .ci/run where short scripts stand in for those that its phases start: each notes that it was called, and
# the one that $FAILS names ends with $STATUS.

setup()
{
    checkout=$BATS_TEST_DIRNAME/../..
    mkdir -p "$BATS_TEST_TMPDIR/.ci" "$BATS_TEST_TMPDIR/scripts/support"
    cd "$BATS_TEST_TMPDIR"
    cp "$checkout/.ci/run" .ci
    cp "$checkout/scripts/support/packages.txt" "$checkout/scripts/support/functions.sh" scripts/support
    unset GITHUB_ACTIONS
    for script in $(.ci/run --list | grep -o 'scripts/[a-z/-]*' | sort -u) scripts/support/install-packages; do
        printf '#!/bin/sh\necho "$0${1:+ $*}" >>calls\n[ "$0${1:+ $*}" != "$FAILS" ] || exit "$STATUS"\n' \
            >"$script"
        chmod +x "$script"
    done
}

@test "the named phases run in their order, and what waits runs beside them" {
    .ci/run systems tests asan demo >output
    diff <(printf 'scripts/%s\n' test "test asan" demo) <(grep -v -e install-packages -e try-systems calls)
    grep -x "scripts/support/try-systems --short bullseye trixie" calls
    grep "^===== asan (after [0-9]* s)$" output
    grep "^===== The end (after [0-9]* s), status 0$" output
}

@test "the first failure ends the run with its status, and what runs beside it" {
    printf '#!/bin/sh\necho $$ >pid; exec sleep 60\n' >scripts/package
    printf '#!/bin/sh\nuntil [ -s pid ]; do sleep 0.1; done; exit 3\n' >scripts/test
    run timeout 30 .ci/run packages tests demo
    [ "$status" = 3 ]
    [[ ${lines[-1]} == "===== The end "*", status 3: failed: tests" ]]
    [ -z "$(grep -x scripts/demo calls)" ]
    timeout 10 sh -c 'while grep -q "^State:.*sleeping" "/proc/$1/status"; do sleep 0.1; done' - "$(<pid)"
}

@test "a failure beside the rest is the run's, whose rest still runs" {
    FAILS="scripts/package" STATUS=3 run .ci/run packages demo
    [ "$status" = 3 ]
    grep -x "scripts/demo" calls
    [[ $output == *"status 3: failed: packages"* ]]
}

@test "a system that could not be fetched is told of and skipped, another reason to end so is not" {
    FAILS="scripts/support/try-systems --short bullseye trixie" STATUS=75 run .ci/run systems demo
    [ "$status" = 0 ]
    [[ $output == *"SKIPPED: systems;"* ]]
    FAILS="scripts/demo" STATUS=75 run .ci/run demo
    [ "$status" = 75 ]
}

@test "GitHub is warned of a phase that was skipped, in a line of its own, and of no other" {
    export GITHUB_ACTIONS=true
    FAILS="scripts/support/try-systems --short bullseye trixie" STATUS=75 .ci/run systems demo >output
    grep -x "::warning::skipped: systems" output
    .ci/run systems demo >output
    [ -z "$(grep "::warning::" output)" ]
}

# Without a file, clang-format reads what is empty and finds nothing wrong with it, as this one does.
@test "the format is that of the project's files, and a failure if git does not name them" {
    command -v git >/dev/null || skip "no git here"
    mkdir bin
    printf '#!/bin/sh\n[ $# -le 2 ] || cat -- "$3" >>formatted\n' >bin/clang-format
    chmod +x bin/clang-format
    export PATH=$PWD/bin:$PATH GIT_CEILING_DIRECTORIES=${BATS_TEST_TMPDIR%/*}
    run .ci/run format
    [ "$status" != 0 ]
    git init --quiet
    run .ci/run format
    [ "$status" != 0 ]
    echo "a file" >"a name.cpp"
    git add "a name.cpp"
    .ci/run format
    [ "$(<formatted)" = "a file" ]
}

@test "a phase that is unknown is refused in one line, before any runs" {
    run .ci/run demo nonsense
    [ "$status" = 2 ]
    [ "$output" = ".ci/run: nonsense: no such phase; there are $(.ci/run --list | awk '{ print $1 }' | paste -sd ' ')" ]
    [ ! -e calls ]
}

@test "the phases of the night run whatever one of them has found" {
    FAILS="scripts/support/memcheck" STATUS=3 run .ci/run --night
    [ "$status" != 0 ]
    [[ $output == *": failed: memcheck"* ]]
    [ "$(tail -n 1 calls)" = scripts/support/try-alone ]
}

@test "the workflow gets every phase, with a privileged container for what mounts" {
    for when in change night; do
        .ci/run --matrix $when |
            python3 -c 'import json, sys; [print(*job.values()) for job in json.load(sys.stdin)]'
    done >jobs
    diff <(.ci/run --list | awk '{ print $1, $3 ~ /mounts/ ? "--privileged" : "" }') jobs
    grep -x "tests --privileged" jobs
    grep -x "format " jobs
}

@test "the workflow gets a refusal in one line if it asks for neither change nor night" {
    for when in nonsense "" .; do
        run .ci/run --matrix $when
        [ "$status" = 2 ]
        [ "$output" = ".ci/run: ${when:-no word}: unknown; give change or night" ]
    done
}

@test "the workflow and the longest test name no command of their own" {
    [ -z "$(grep -n "scripts/" "$checkout/.github/workflows/ci.yml")" ]
    phases=$(sed -n 's/.*exec \.ci\/run //p' "$checkout/scripts/test")
    [ "$phases" ]
    for phase in $phases; do
        .ci/run --list | grep "^$phase "
    done
}

@test "a person starts eight scripts at most, and CONTRIBUTING lists each" {
    cd "$checkout"
    find scripts -maxdepth 1 -type f | sort >"$BATS_TEST_TMPDIR/there"
    [ "$(wc -l <"$BATS_TEST_TMPDIR/there")" -le 8 ]
    sed -n 's/^\(scripts\/[a-z-]*\) *# .*/\1/p' CONTRIBUTING.md | sort | diff "$BATS_TEST_TMPDIR/there" -
}
