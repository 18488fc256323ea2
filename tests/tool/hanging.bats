# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Builds a library that lets calls for one file fail, as on a disk that dies.
setup_file()
{
    command -v cc >/dev/null || return 0
    cc -shared -fPIC -w -o "$BATS_FILE_TMPDIR/failing.so" -x c - -ldl <<'END'
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <poll.h>
#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static int *calls; /* counted over all processes */
__attribute__((constructor)) static void start(void)
{
    calls = mmap(0, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
}
static int fails(const char *call, const char *path)
{
    const char *file = getenv("FAILING_FILE"), *name = getenv("FAILING_CALL");
    if (!file || !path || strcmp(file, path) || strcmp(name, call))
        return 0;
    int from = atoi(getenv("FAILING_FROM")), count = atoi(getenv("FAILING_COUNT"));
    int number = __sync_add_and_fetch(calls, 1);
    if (number < from || number >= from + count)
        return 0;
    write(2, "[failed]\n", 9);
    errno = EIO;
    return 1;
}
#define NEXT(function) __typeof__(function) *next = dlsym(RTLD_NEXT, #function)
/* Runs a command once, or sleeps without end, before the file is opened with one of the flags. */
static void meddle(const char *path, int flags)
{
    const char *file = getenv("FAILING_FILE"), *wanted = getenv("MEDDLING_FLAGS");
    const char *command = getenv("MEDDLING_COMMAND");
    if (!wanted || !path || strcmp(file, path) || !(flags & atoi(wanted)))
        return;
    if (!command)
        for (;;)
            pause();
    if (__sync_add_and_fetch(calls + 1, 1) == 1) {
        unsetenv("LD_PRELOAD");
        system(command);
    }
}
/* Lets the clock run so many times as fast; programs that wait do not notice. */
static int haste(void) { return getenv("HASTE") ? atoi(getenv("HASTE")) : 1; }
int clock_gettime(clockid_t clock, struct timespec *time)
{
    NEXT(clock_gettime);
    int result = next(clock, time);
    if (clock == CLOCK_MONOTONIC && haste() > 1) {
        long long all = (time->tv_sec * 1000000000ll + time->tv_nsec) * haste();
        time->tv_sec = all / 1000000000;
        time->tv_nsec = all % 1000000000;
    }
    return result;
}
int poll(struct pollfd *descriptors, nfds_t count, int timeout)
{
    NEXT(poll);
    return next(descriptors, count, timeout < 0 ? timeout : timeout / haste());
}
pid_t fork(void)
{
    NEXT(fork);
    const char *failing = getenv("FAILING_FORK");
    if (failing && __sync_add_and_fetch(calls + 2, 1) == atoi(failing)) {
        errno = EAGAIN;
        return -1;
    }
    return next();
}
ssize_t read(int descriptor, void *buffer, size_t size)
{
    NEXT(read);
    char link[64], path[PATH_MAX];
    int error = errno;
    snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    ssize_t length = readlink(link, path, sizeof path - 1);
    path[length < 0 ? 0 : length] = '\0';
    errno = error;
    return fails("read", path) ? -1 : next(descriptor, buffer, size);
}
#define OPEN(function)                                                                             \
    int function(const char *path, int flags, ...)                                                 \
    {                                                                                              \
        NEXT(function);                                                                            \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        mode_t mode = va_arg(rest, mode_t);                                                        \
        va_end(rest);                                                                              \
        meddle(path, flags);                                                                       \
        return fails("open", path) ? -1 : next(path, flags, mode);                                 \
    }
int open(const char *, int, ...);
int open64(const char *, int, ...);
OPEN(open)
OPEN(open64)
#define STAT(function, buffer)                                                                     \
    int function(const char *path, struct buffer *status)                                          \
    {                                                                                              \
        NEXT(function);                                                                            \
        return fails("stat", path) ? -1 : next(path, status);                                      \
    }
STAT(stat, stat)
STAT(stat64, stat64)
STAT(lstat, stat)
STAT(lstat64, stat64)
int statx(int directory, const char *path, int flags, unsigned mask, struct statx *status)
{
    NEXT(statx);
    return fails("stat", path) ? -1 : next(directory, path, flags, mask, status);
}
END
}

# Runs the command while so many calls for a file fail, from the given one on.
failing()
{
    local file=$1 call=$2 from=$3 count=$4
    shift 4
    run env FAILING_FILE="$file" FAILING_CALL="$call" FAILING_FROM="$from" FAILING_COUNT="$count" \
        LD_PRELOAD="$BATS_FILE_TMPDIR/failing.so" "$STBCONFIG" "$@"
}

requires_failing()
{
    [ -e "$BATS_FILE_TMPDIR/failing.so" ] || skip "no C compiler here"
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer wants to be loaded first"
}

# Puts something else in a file's place, and sets "kind" to the command's words for it.
replace()
{
    rm -rf "$2"
    case $1 in
    fifo) mkfifo "$2" && kind="a FIFO" ;;
    socket) python3 -c 'import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' "$2" &&
        kind="a socket" ;;
    directory) mkdir "$2" && kind="a directory" ;;
    device) ln -s /dev/zero "$2" && kind="a device" ;;
    loop) ln -s "${2##*/}" "$2" && kind="a symbolic link that leads back to itself" ;;
    behind-file) ln -s /etc/passwd/x "$2" && kind="Not a directory" ;;
    huge) truncate -s 2500M "$2" && kind="too large: 2621440000 bytes" ;;
    esac
}

# Does what "expect" does, but fails after a few seconds, in which no command can have waited.
at_once()
{
    local wanted=$1
    shift
    run timeout 10 "$STBCONFIG" "$@"
    [ "$status" = "$wanted" ] || { echo "$*: status $status, output: $output"; return 1; }
}

@test "what is no file is named at once, in each file's place and by each command" {
    for thing in fifo socket directory device loop behind-file huge; do
        for file in "$custom" "$defaults" "$box/var/ravel.db" "$box/var/epg.db"; do
            replace $thing "$file"
            for words in "get a b --default 1" list check; do
                case $file in
                *.db) [ "$words" = check ] || words+=" --storage $(basename "$file" .db)" ;;
                esac
                at_once 3 $words
                [[ $output == *"$file: "*"$kind"* ]] || { echo "$words: $output"; return 1; }
            done
            rm -rf "$file"
            printf '[Video]\noutput=hdmi\n' >"$defaults"
        done
    done
}

@test "what is no file is not written, by any command that writes" {
    for thing in fifo socket directory device loop behind-file huge; do
        for words in "set a b 1" "unset a b" "unset --group a" "unset --redundant --no-env" "logging level debug" \
            "set a b 1 --storage epg --create"; do
            file=$custom
            [[ $words == *epg* ]] && file=$box/var/epg.db
            rm -rf "$box/var"/*
            replace $thing "$file"
            before=$(stat -c %F:%i:%s "$file")
            run timeout 10 "$STBCONFIG" $words
            [[ $status == [34] && $output == *"$file: "*"$kind"* ]] ||
                { echo "$words: $status: $output"; return 1; }
            [ "$(stat -c %F:%i:%s "$file")" = "$before" ]
        done
    done
}

@test "each other reading command names what is no file too" {
    for words in "explain a b" diff logging locale; do
        for file in "$custom" "$defaults"; do
            replace fifo "$file"
            at_once 3 $words
            [[ $output == *"$file: "*"$kind"* ]]
            rm "$file"
        done
    done
}

@test "a lock that is no file is named at once" {
    for suffix in lock lock.rmlock; do
        for thing in fifo socket directory device loop behind-file huge; do
            rm -rf "$box/var"/*
            [ $suffix = lock ] || touch -d '1 minute ago' "$custom.lock" # so Qt wants to remove the old lock
            replace $thing "$custom.$suffix"
            for words in "set a b 1" "unset --group Video" "set a b 1 --dry-run"; do
                printf '[Video]\noutput=vga\n' >"$custom"
                at_once 4 $words
                [[ $output == "stbconfig: $custom.$suffix: not saved: "*" holds every write; remove it" ]] ||
                    { echo "$suffix $thing: $output"; return 1; }
                [ "$(cat "$custom")" = $'[Video]\noutput=vga' ]
            done
        done
    done
}

@test "a lock that is a link is named at once and leads nowhere" {
    printf '1\n' >"$box/other"
    for target in ../other "$box/nowhere"; do
        ln -sf "$target" "$custom.lock"
        at_once 4 set a b 1
        [[ $output == *"custom.conf.lock: not saved: a symbolic link holds every write; remove it" ]]
        [ -L "$custom.lock" ]
    done
    touch -d '1 minute ago' "$box/other"
    ln -sf ../other "$custom.lock"
    at_once 4 set a b 1
    [ "$(cat "$box/other")" = 1 ]
}

@test "a lock that cannot become old is named at once" {
    for text in '' '1\nbox\nelsewhere\n' "$$\nbash\n$(uname -n)\n" '0\nbox\n\n' 'x\n'; do
        for time in @0 'now + 1 minute' 2037-01-01; do
            printf "$text" >"$custom.lock"
            touch -d "$time" "$custom.lock"
            at_once 4 set a b 1
            [[ $output == *"custom.conf.lock: not saved: "*" holds every write; remove it" ]] ||
                { echo "$text, $time: $output"; return 1; }
        done
    done
    [ ! -e "$custom" ]
}

@test "an old lock and a dead process's lock hold nobody" {
    for text in '' '1\nbox\nelsewhere\n' "$$\nbash\n$(uname -n)\n" '99999999999999\nbox\n\n'; do
        printf "$text" >"$custom.lock"
        touch -d '1 minute ago' "$custom.lock"
        at_once 0 set a b 1
        [ -z "$output" ]
        rm "$custom"
    done
    for time in @0 now 'now + 1 minute' 1960-01-01; do
        printf '4194305\nbox\n%s\n' "$(uname -n)" >"$custom.lock"
        touch -d "$time" "$custom.lock"
        at_once 0 set a b 1
        [ -z "$output" ]
        [ ! -e "$custom.lock" ]
        rm "$custom"
    done
}

# Waits until a command says on the file descriptor 4 that it waits.
until_announced()
{
    read -r -t 5 first <&4
    [[ $first == *"waiting for"* ]] || { echo "$first"; return 1; }
}

@test "a lock of a storage is announced within a second, and its write goes on when the lock vanishes" {
    : >"$box/var/epg.db.lock"
    mkfifo "$box/errors"
    local start=$(date +%s%N)
    "$STBCONFIG" set a b 1 --storage epg --create 2>"$box/errors" 3>&- &
    local process=$!
    exec 4<"$box/errors"
    until_announced
    [ $((($(date +%s%N) - start) / 1000000)) -lt 1000 ]
    [ ! -e "$box/var/epg.db" ]
    rm "$box/var/epg.db.lock"
    wait "$process"
    grep -qx b=1 "$box/var/epg.db"
}

@test "reading waits for no lock" {
    printf '[a]\nb=1\n' >"$custom"
    : >"$custom.lock"
    for words in "get a b" list "explain a b" "set a b 1"; do # the last one has nothing to write
        at_once 0 $words
    done
}

@test "the processes of a command that is killed end with it" {
    [ -r /proc/self/stat ] || skip "needs /proc"
    : >"$custom.lock"
    mkfifo "$box/errors"
    "$STBCONFIG" set a b 1 2>"$box/errors" 3>&- &
    local process=$!
    exec 4<"$box/errors"
    until_announced
    local child=$(pgrep -P "$process") grandchild
    grandchild=$(pgrep -P "$child")
    [ -n "$grandchild" ]
    kill -KILL "$process"
    wait "$process" || true
    for ((i = 0; i < 100; ++i)); do
        # A dead process may stay listed if no process waits for it.
        grep -qsv ') Z ' "/proc/$child/stat" "/proc/$grandchild/stat" || return 0
        sleep 0.02
    done
    return 1
}

@test "a process that cannot be started is a reason with a status" {
    [ "$(id -u)" = 0 ] || skip "needs root to become another user"
    setpriv --reuid 65534 --clear-groups true 2>/dev/null || skip "root cannot become another user here"
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer itself starts processes"
    cmake --install "$BUILD_DIR" --prefix "$box/installed" >/dev/null
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_RUN_TMPDIR"/* "$BATS_TEST_TMPDIR" "$box"
    chmod 777 "$box/var"
    for words in "3 get a b --default 1" "3 list" "4 set a b 1"; do
        run setpriv --reuid 65534 --regid 65534 --clear-groups prlimit --nproc=0 \
            "$box/installed/bin/${PROGRAM##*/}" ${words#* }
        [ "$status" = "${words%% *}" ]
        [[ $output == "stbconfig: "*"no process could be started: "*"; end some processes, or free some memory" ]]
        [ "${#lines[@]}" = 1 ]
    done
}

@test "with few file descriptors, each command does its work or says why not" {
    ! grep -q __asan_init "$PROGRAM" || skip "the address sanitizer needs some itself"
    for ((limit = 3; limit < 12; ++limit)); do
        printf '[a]\nb=1\nc=2\n' >"$custom"
        run bash -c 'ulimit -n "$1"; shift; "$@"; exit $(($? == 127 ? 5 : $?))' - $limit "$STBCONFIG" get a b
        case $status in
        0) [ "$output" = 1 ] ;;
        3) [[ $output == *"Too many open files"* ]] ;;
        5) ;; # the libraries could not be loaded
        *) false ;;
        esac || { echo "$limit: $status: $output"; return 1; }
        run bash -c 'ulimit -n "$1"; shift; "$@"; exit $(($? == 127 ? 5 : $?))' - $limit "$STBCONFIG" set a b 3
        case $status in
        0) [ "$(sort "$custom" | tr '\n' ' ')" = "[a] b=3 c=2 " ] ;;
        3 | 4 | 5) [ "$(sort "$custom" | tr '\n' ' ')" = "[a] b=1 c=2 " ] ;;
        *) false ;;
        esac || { echo "$limit: $status: $output"; cat "$custom"; return 1; }
    done
}

@test "closed standard streams are neither read nor written" {
    printf '[a]\nb=1\n' >"$custom"
    run bash -c '"$1" get a b <&-' - "$STBCONFIG"
    [ "$status:$output" = 0:1 ]
    run bash -c '"$1" get a b >&-' - "$STBCONFIG"
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: standard output: cannot be written; give it a place with space left" ]
    run bash -c '"$1" get a x 2>&-' - "$STBCONFIG"
    [ "$status:$output" = 1: ]
    run bash -c '"$1" set a b --stdin <&-' - "$STBCONFIG"
    [ "$status" = 2 ]
    run bash -c '"$1" set a c 1 <&- >&- 2>&-' - "$STBCONFIG"
    [ "$(cat "$custom")" = $'[a]\nb=1\nc=1' ]
}

@test "a full standard output is noticed, and a closed pipe ends quietly" {
    printf '[a]\nb=1\n' >"$custom"
    for words in "get a b" list "get a b --json" "check --json" --help; do
        run bash -c '"$@" >/dev/full' - "$STBCONFIG" $words
        [ "$status" = 3 ] && [[ $output == *"standard output: cannot be written"* ]] ||
            { echo "$words: $status: $output"; return 1; }
    done
    run bash -c '"$1" list | true' - "$STBCONFIG"
    [ "$status:$output" = 0: ]
}

@test "signals that the caller ignores or blocks change nothing" {
    printf '[a]\nb=1\n' >"$custom"
    run bash -c 'trap "" CHLD PIPE ALRM; "$1" get a b && "$1" set a b 2 && "$1" get a b' - "$STBCONFIG"
    [ "$status" = 0 ]
    [ "$output" = $'1\n2' ]
    run python3 -c 'import signal, subprocess, sys
signal.pthread_sigmask(signal.SIG_BLOCK, signal.valid_signals())
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
sys.exit(subprocess.call(sys.argv[1:], restore_signals=False))' "$STBCONFIG" set a b 3
    [ "$status" = 0 ]
    grep -qx b=3 "$custom"
}

@test "an error of the disk is never an unset setting" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    for file in "$custom" "$defaults"; do
        for call in open stat read; do
            for words in "get x y --default 7" "get Video output --default 7" "explain x y" list diff logging locale \
                check; do
                failing "$file" $call 1 1000 $words
                [ "$status" = 3 ] && [[ $output == *"$file: "*"Input/output error"* ]] ||
                    { echo "$call of $file, $words: $status: $output"; return 1; }
            done
        done
    done
}

@test "an error of the disk in between either changes no answer or is named" {
    requires_failing
    { echo '[a]'; printf 'key%d=a value that is as long as this\n' {1..500}; } >"$custom"
    for words in "get a key1 --default 7" list; do
        wanted=$("$STBCONFIG" $words)
        for call in open stat read; do
            for from in 1 2 3 5; do
                for count in 1 1000; do
                    failing "$custom" $call $from $count $words
                    [ "$status" = 3 ] || [ "$(grep -vxF '[failed]' <<<"$output")" = "$wanted" ] ||
                        { echo "$words, $call $from, $count: $status: ${lines[*]:0:5}"; return 1; }
                done
            done
        done
    done
}

@test "where a change is saved, and no more can be told of it, the error says that it is saved" {
    requires_failing
    for words in "unset a/b" "reset a"; do
        for from in {1..60}; do
            printf '[a]\nb=1\n' >"$custom"
            failing "$defaults" stat $from 1000 $words
            [[ $output != *"the change is saved"* ]] || break
            [ "$status" != 0 ] || [[ $from -gt 1 && $output != *"[failed]"* ]]
        done
        [ "$status" = 3 ]
        [[ $output == *"stbconfig: $defaults: the change is saved, but cannot be read: Input/output error; "* ]]
        [ -z "$(cat "$custom")" ]
    done
    # The command does not say of an unsaved change that it is saved.
    printf '[a]\nb=1\n' >"$custom"
    for from in {1..60}; do
        failing "$defaults" stat $from 1000 unset a/b --dry-run
        [[ $output == *"[failed]"* ]] || break
        [[ $status = [03] && $output != *saved* ]]
    done
    [ "$from" -gt 1 ]
}

@test "an error of the disk in between is found by check" {
    requires_failing
    { echo '[a]'; printf 'key%d=a value that is as long as this\n' {1..500}; } >"$custom"
    for from in 1 2 3 4 5 6; do
        failing "$custom" read $from 1000 check
        [ "$status" = 3 ] || [[ $from != 1 && $output != *"[failed]"* ]] || { echo "$from: $status: $output"; return 1; }
    done
}

@test "an error of the disk loses no setting to a write" {
    requires_failing
    { echo '[a]'; echo b=1; printf 'key%d=a value that is as long as this\n' {1..500}; } >"$box/before"
    for call in open stat read; do
        for from in 1 2 3 4 6 8 12 16; do
            for count in 1 1000; do
                cp "$box/before" "$custom"
                failing "$custom" $call $from $count set a b 2
                [[ $output == *"[failed]"* ]] || { [ "$from" -gt 1 ] && break 2; }
                case $status in
                0) [ "$(sort "$custom")" = "$(sed s/b=1/b=2/ "$box/before" | sort)" ] ;;
                3 | 4) [ "$(grep -c '^key' "$custom")" = 500 ] ;;
                *) false ;;
                esac || { echo "$call $from, $count: $status: $output"; return 1; }
            done
        done
    done
}

@test "a file that ends its reader is named by each command, and nothing is written" {
    for file in "$custom" "$defaults"; do
        nested "$file"
        cp "$file" "$box/before"
        for words in "get x y --default 1" "get x y --as-root" "explain x y" list diff logging locale check "set x y 1" \
            "unset x y" "unset --redundant --no-env" "logging level debug"; do
            at_once 3 $words
            [[ $output == *"$file: would crash every program that reads it"* ]] ||
                { echo "$words: $output"; return 1; }
            cmp "$file" "$box/before"
        done
        rm "$file"
    done
}

@test "a hostile file of variables is refused at once" {
    for thing in fifo socket directory device loop behind-file huge; do
        replace $thing "$box/variables"
        for words in "get a b --default 1" "set a b 1" list; do
            at_once 3 --env-file "$box/variables" $words
            [[ $output == *"$box/variables: "*"$kind"* ]]
        done
    done
    at_once 3 --env-file "$box/none" get a b --default 1
    at_once 3 --env-file '' get a b --default 1
    [ ! -e "$custom" ]
}

@test "a process that is none, or is gone, has no variables" {
    for word in 0 -1 x '' 99999999999 1.5 0x1; do
        at_once 2 --pid "$word" get a b --default 1
        [[ $output == *"no number of a process; give --pid a number" ]]
    done
    for words in "get a b --default 1" "set a b 1" list; do
        at_once 3 --pid 4194305 $words
        [[ $output == *"process 4194305: no such process"* ]]
    done
    sleep 0 &
    local process=$!
    wait "$process"
    at_once 3 --pid "$process" get a b --default 1
}

@test "names that no file can have are unreadable, not unset" {
    long=$(printf %300s x | tr ' ' x)
    at_once 3 get a b --default 1 --persistent "$box/$long/"
    [[ $output == *"File name too long"* ]]
    at_once 3 get a b --default 1 --storage "$long"
    at_once 3 get a b --default 1 --persistent "$defaults/"
    [[ $output == *"Not a directory"* ]]
}

# Runs the command, and something else at the moment when it opens a file with a flag.
meddling()
{
    local file=$1 flags=$2 meddled=$3
    shift 3
    run timeout 20 env FAILING_FILE="$file" FAILING_CALL=none MEDDLING_FLAGS="$flags" ${meddled:+"MEDDLING_COMMAND=$meddled"} \
        HASTE="${haste-1}" LD_PRELOAD="$BATS_FILE_TMPDIR/failing.so" "$STBCONFIG" "$@"
}

# The flags have these numbers in fcntl.h on Linux.
exclusive=$((0200)) no_terminal=$((0400)) any_flag=$((~0))

@test "what takes a file's place between two looks is not waited for" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    meddling "$custom" $no_terminal "rm '$custom'; mkfifo '$custom'" get a b
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: $custom: not a file but a FIFO; move it away" ]
}

@test "a file that vanishes between two looks is no error" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    printf 'STBAPP_A_B=1\n' >"$box/variables"
    meddling "$box/variables" $no_terminal "rm '$box/variables'" get a b --env-file "$box/variables"
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: $box/variables: no such file; name a file of NAME=VALUE lines" ]
}

@test "root makes no file where somebody has put a link meanwhile" {
    requires_failing
    [ "$(id -u)" = 0 ] || skip "needs root, for whom others lay links"
    chmod 1777 "$box/var"
    meddling "$custom" $exclusive "ln -s '$box/other' '$custom'" set a b 1
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: $custom: not saved: File exists; try again, and see who else makes it" ]
    [ ! -e "$box/other" ]
    [ -L "$custom" ]
}

@test "a child that does not end is ended, and the command says so" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    haste=100
    meddling "$custom" $any_flag '' get a b
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: stbconfig: no end after 34 seconds; see what holds the files or their disk" ]
    meddling "$custom" $any_flag '' list --storage epg --create
    [ "$status" = 3 ]
    meddling "$custom" $any_flag '' set --persistent "$box/var/" a b 2
    [ "$status" = 4 ]
    [ "$output" = "stbconfig: stbconfig: it is not known whether the change is saved: no end after 34 seconds; see what holds the files or their disk" ]
    [ "$(cat "$custom")" = $'[a]\nb=1' ]
    for ((i = 0; i < 100; ++i)); do
        pgrep -f -- "set --persistent $box" >/dev/null || return 0
        sleep 0.02
    done
    return 1
}

@test "each child that cannot be started is a reason with a status" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    for number in 1 2 3; do
        run env FAILING_FORK=$number LD_PRELOAD="$BATS_FILE_TMPDIR/failing.so" "$STBCONFIG" set a b 2
        # The second child reads, and the third one writes.
        wanted=$([ "$number" = 2 ] && echo 3 || echo 4)
        [ "$status" = "$wanted" ] || { echo "$number: $status: $output"; return 1; }
        [[ $output == "stbconfig: "*"no process could be started: Resource temporarily unavailable; end some processes, or free some memory" ]]
        [ "$(cat "$custom")" = $'[a]\nb=1' ]
    done
}

@test "what moves settings says which of its processes cannot be started" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    mkdir "$box/other"
    cp "$custom" "$box/other"
    for words in export "import $box/other/custom.conf" "reset --dry-run" "diff --with $box/other"; do
        for number in {1..5}; do
            run env FAILING_FORK=$number LD_PRELOAD="$BATS_FILE_TMPDIR/failing.so" "$STBCONFIG" $words
            [ "$status" != 0 ] || break
            [[ $output =~ ^stbconfig:\ .*(:\ Resource\ temporarily\ unavailable|cannot\ be\ written\ as\ a\ whole)\;  && ${#lines[@]} = 1 ]] ||
                { echo "$words $number: $status: $output"; return 1; }
        done
        [ "$number" -gt 1 ]
    done
}

@test "another side that does not answer is status 3" {
    requires_failing
    printf '[a]\nb=1\n' >"$custom"
    mkdir "$box/other"
    cp "$custom" "$box/other"
    haste=100
    meddling "$box/other/custom.conf" $any_flag '' diff --with "$box/other"
    [ "$status" = 3 ]
    [ "$output" = "stbconfig: $box/other: no end after 12 seconds; see what holds the files or their disk" ]
}
