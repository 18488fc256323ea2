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
    # A user whom no list names, and whom no other run of these tests on this machine uses.
    user=$((10000 + $$ % 50000))
    [ -z "${PROFILES-}" ] || profile
}

# Lets the command count what it runs, in a file for each test, which its children can write as other users.
profile()
{
    export LLVM_PROFILE_FILE=$PROFILES/${BATS_TEST_FILENAME##*/}.$BATS_TEST_NUMBER.%m%c
    (umask 0 && "$STBCONFIG" --version >/dev/null)
}

requires_namespaces()
{
    unshare -m true 2>/dev/null || skip "no mount namespaces here; run as root"
}

# Writes a file with a value so deep that the stack of a process that unpacks it overflows.
nested()
{
    {
        printf '[A]\nb=@Variant('
        yes '\0\0\0\x9\0\0\0\x1' | head -n 100000 | tr -d '\n'
        printf ')\n'
    } >"$1"
}

# Gives the directory of the custom file to a user.
given_to()
{
    [ "$(id -u)" = 0 ] || skip "only root can give files to another user"
    setpriv --reuid "$1" --clear-groups true 2>/dev/null || skip "root cannot become another user here"
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_RUN_TMPDIR"/* "$BATS_TEST_TMPDIR" "$box"
    chown -R "$1:$1" "$box/var"
}

# Runs the command with failing calls; "support/faultycalls.cpp" says what they look like.
with_failing_calls()
{
    local wanted=$1
    shift
    [ -n "$FAULTS_LIBRARY" ] || skip "no library that makes calls fail"
    [ -e /proc/self/fd/0 ] || skip "needs /proc"
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer wants to be loaded first"
    run env LD_PRELOAD="$FAULTS_LIBRARY" FAULTS="$wanted" "$STBCONFIG" "$@"
}

# Prepares a mount namespace in which the custom file cannot be written. "$1" is the box.
full_disk='mount -t tmpfs -o size=16k none "$1/var" && cp -p "$1/before" "$1/var/custom.conf"
    cat /dev/zero >"$1/var/fill" 2>/dev/null'
read_only_disk='mount --bind "$1/var" "$1/var" && mount -o remount,bind,ro "$1/var"'
mount_of_the_file='cp "$1/before" "$1/other"; mount --bind "$1/other" "$1/var/custom.conf"'
no_inode='mount -t tmpfs -o nr_inodes=2 none "$1/var" && cp "$1/before" "$1/var/custom.conf"'

# Given a shell's words that prepare a mount namespace, a message and a command's arguments, runs the
# command there and expects status 4, the message, and the custom file as it is kept in "before".
ends_with_4()
{
    local preparation=$1 message=$2
    shift 2
    requires_namespaces
    run unshare -m sh -c "$preparation"'; command=$2; box=$1; shift 2; "$command" "$@"; s=$?
        cmp -s "$box/before" "$box/var/custom.conf" && echo "as it was"; exit $s' - "$box" "$STBCONFIG" "$@"
    [ "$status" = 4 ] && [[ $output == *"$message"*"as it was"* ]] || { echo "$*: $status: $output"; return 1; }
}

# Writes a description of these settings, each given as a member in JSON.
described()
{
    local IFS=,
    printf '{"settings": {%s}}\n' "$*" >"$box/etc/stbapp.schema.json"
}

# Given a status and a command's arguments, runs the command and expects the status.
expect()
{
    local wanted=$1
    shift
    run "$STBCONFIG" "$@"
    [ "$status" = "$wanted" ] || { echo "status $status, output: $output"; return 1; }
}

# Makes three boxes, of which this is the first. "ssh" runs a command on one of them, and fails for any other.
fleet()
{
    mkdir "$box/bin" "$box/here"
    for name in box1 box2 box3; do
        mkdir -p "$box/$name"
        cp "$defaults" "$box/$name/stbapp.conf"
        printf '[Network]\nssid=living room\npsk=%s-secret\n[Video]\noutput=scart\n' $name >"$box/$name/custom.conf"
    done
    sed -i 's/scart/vga\nmode=1080p/' "$box/box3/custom.conf"
    printf '[Video]\nmode=720p\n' >"$box/box2/custom.conf"
    ln -s "$STBCONFIG" "$box/bin/stbconfig"
    printf '#!/bin/sh\necho %s\n' $$ >"$box/bin/pidof" # this process is the application
    printf '#!/bin/sh\nbox=$1\nshift\n[ -d %s/$box ] || exit 255\nSTBCONFIG_PERSISTENT_PREFIX=%s/$box/ STBCONFIG_DEFAULTS_PREFIX=%s/$box/ exec "$@"\n' \
        "$box" "$box" "$box" >"$box/bin/ssh"
    chmod +x "$box/bin/ssh" "$box/bin/pidof"
    export PATH=$box/bin:$PATH STBCONFIG_PERSISTENT_PREFIX=$box/box1/ STBCONFIG_DEFAULTS_PREFIX=$box/box1/
}
