# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

setup()
{
    export LC_ALL=C.UTF-8
    box=$(mktemp -d "$BATS_TEST_TMPDIR/box.XXXX")
    mkdir "$box/var" "$box/etc"
    custom=$box/var/custom.conf
    defaults=$box/etc/stbapp.conf
    export STBCONFIG_PERSISTENT_PREFIX=$box/var/ STBCONFIG_DEFAULTS_PREFIX=$box/etc/
    printf '[Video]\noutput=hdmi\n' >"$defaults"
    [ -z "${PROFILES-}" ] || profile
}

# Has the command count what it runs, for each test apart. Its children may be other users by then.
profile()
{
    export LLVM_PROFILE_FILE=$PROFILES/${BATS_TEST_FILENAME##*/}.$BATS_TEST_NUMBER.%m%c
    (umask 0 && "$STBCONFIG" --version >/dev/null)
}

requires_namespaces()
{
    unshare -m true 2>/dev/null || skip "no mount namespaces here; run as root"
}

# Writes a file with a value so deep that the stack of whoever unpacks it overflows.
nested()
{
    {
        printf '[A]\nb=@Variant('
        yes '\0\0\0\x9\0\0\0\x1' | head -n 100000 | tr -d '\n'
        printf ')\n'
    } >"$1"
}

# Given a status and a command's arguments, runs the command and expects the status.
expect()
{
    local wanted=$1
    shift
    run "$STBCONFIG" "$@"
    [ "$status" = "$wanted" ] || { echo "status $status, output: $output"; return 1; }
}
