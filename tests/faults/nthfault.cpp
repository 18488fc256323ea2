// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// A test preloads this into a program. It lets the N-th call of the program and its libraries fail:
//
//   NTH_FAULT="KIND:NUMBER:ERROR:SPAN"
//       KIND    "call", of the system; "allocation", of memory
//       NUMBER  counted over the program and its children; 0 for none
//       ERROR   the number of the error
//       SPAN    "once", or "on" for this one and all that follow
//   NTH_FAULT_FROM    the end of a file's name: the count begins with the first call for this file,
//                     and not with main()
//   NTH_FAULT_REPORT  a file of the size of Report, which tells what was counted
//
// The kernel traps the calls, so those that the libraries make inside are counted too. The three
// standard streams are spared: a test reads there what the program says.

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <iterator>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

// The process has one thread, and nothing may be allocated here.
// NOLINTBEGIN(concurrency-mt-unsafe,cert-env33-c)

namespace {

constexpr std::size_t mostCalls = 8192;
constexpr std::size_t lengthOfText = 120;
constexpr std::size_t longestPath = 4096;

struct Report
{
    std::atomic<std::uint32_t> counted;
    std::atomic<std::uint32_t> failed;
    std::array<std::array<char, lengthOfText>, mostCalls> texts; // "fsync /data/custom.conf"
};

struct Fault
{
    bool isOfMemory;
    std::uint32_t number;
    int error;
    bool goesOn;
};

enum Name { None, First, Second, Fourth, Descriptor };

struct Call
{
    long number;
    const char *name;
    Name file; // which of its arguments names the file, the new one where there are two
};

// The calls that touch files and processes. close() is left out, because it closes the file even
// when it fails, and so are the calls for memory, signals and time.
constexpr Call calls[] = {
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): no function makes a name of a word
#define CALL(name, file)         \
    {                            \
        __NR_##name, #name, file \
    }
#ifdef __NR_open
    CALL(open, First),
    CALL(creat, First),
    CALL(rename, Second),
    CALL(link, Second),
    CALL(unlink, First),
    CALL(rmdir, First),
    CALL(stat, First),
    CALL(lstat, First),
    CALL(access, First),
    CALL(mkdir, First),
    CALL(chmod, First),
    CALL(chown, First),
    CALL(lchown, First),
    CALL(readlink, First),
    CALL(pipe, None),
    CALL(dup2, None),
    CALL(poll, None),
#endif
    CALL(openat, Second),
    CALL(read, Descriptor),
    CALL(pread64, Descriptor),
    CALL(readv, Descriptor),
    CALL(write, Descriptor),
    CALL(pwrite64, Descriptor),
    CALL(writev, Descriptor),
    CALL(fsync, Descriptor),
    CALL(fdatasync, Descriptor),
    CALL(renameat, Fourth),
    CALL(renameat2, Fourth),
    CALL(linkat, Fourth),
    CALL(symlinkat, None),
    CALL(unlinkat, Second),
    CALL(fstat, Descriptor),
    CALL(newfstatat, Second),
    CALL(statx, Second),
    CALL(faccessat, Second),
    CALL(faccessat2, Second),
    CALL(mkdirat, Second),
    CALL(fchmod, Descriptor),
    CALL(fchmodat, Second),
    CALL(fchown, Descriptor),
    CALL(fchownat, Second),
    CALL(flock, Descriptor),
    CALL(fcntl, Descriptor),
    CALL(truncate, First),
    CALL(ftruncate, Descriptor),
    CALL(fallocate, Descriptor),
    CALL(lseek, Descriptor),
    CALL(fadvise64, Descriptor),
    CALL(ioctl, Descriptor),
    CALL(readlinkat, Second),
    CALL(getdents64, Descriptor),
    CALL(statfs, First),
    CALL(fstatfs, Descriptor),
    CALL(utimensat, Second),
    CALL(sendfile, Descriptor),
    CALL(copy_file_range, Descriptor),
    CALL(getcwd, None),
    CALL(pipe2, None),
    CALL(dup, Descriptor),
    CALL(dup3, Descriptor),
    CALL(ppoll, None),
    CALL(wait4, None),
    CALL(prlimit64, None),
    CALL(socket, None),
    CALL(connect, None),
    CALL(setresuid, None),
    CALL(setresgid, None),
    CALL(setgroups, None),
#undef CALL
};
constexpr std::size_t callCount = std::size(calls);

using Arguments = std::array<long, 6>;

// A call with this as its sixth argument comes from here and passes. None of the calls has more
// than five arguments.
constexpr std::uint32_t passHalf = 0x5ab1e;
constexpr long pass = static_cast<long>((std::uint64_t{passHalf} << 32) | passHalf);

Report *report = nullptr;
Fault fault = {};
std::array<char, 256> from{};
pid_t (*realFork)() = nullptr;
// All processes share this, as they share the report.
std::atomic<bool> *hasBegun = nullptr;

// Returns the number that the kernel gives back, below 0 for an error.
long pass5(long number, const Arguments &a)
{
    const long result = syscall(number, a[0], a[1], a[2], a[3], a[4], pass);
    return result < 0 ? -errno : result;
}

bool endsWith(const char *text, const char *end)
{
    const std::size_t length = std::strlen(text);
    const std::size_t endLength = std::strlen(end);
    return length >= endLength && std::strcmp(text + length - endLength, end) == 0;
}

bool isOfDescriptor(const Call &call, const Arguments &a)
{
    if (call.number != __NR_newfstatat && call.number != __NR_statx)
        return call.file == Descriptor;
    // The C library asks for a descriptor's status by an empty name.
    const auto *name = reinterpret_cast<const char *>(a[1]);
    return !name || *name == '\0';
}

// Returns the file that the call is for, as far as there is room for its name.
void describe(const Call &call, const Arguments &a, std::array<char, longestPath> &text)
{
    if (isOfDescriptor(call, a)) {
        std::array<char, 64> link{};
        std::snprintf(link.data(), link.size(), "/proc/self/fd/%ld", a[0]);
        pass5(__NR_readlinkat,
              {AT_FDCWD, reinterpret_cast<long>(link.data()), reinterpret_cast<long>(text.data()),
               static_cast<long>(text.size()) - 1, 0, 0});
        return;
    }
    const long path = call.file == First ? a[0]
        : call.file == Second            ? a[1]
        : call.file == Fourth            ? a[3]
                                         : 0;
    if (path != 0)
        std::snprintf(text.data(), text.size(), "%s", reinterpret_cast<const char *>(path));
}

// Copies as much as a report takes.
const char *endOf(const char *path)
{
    constexpr std::size_t most = lengthOfText - 20;
    const std::size_t length = std::strlen(path);
    return length > most ? path + (length - most) : path;
}

// Counts one more, and tells whether it is to fail.
bool isNext(const char *name, const char *file)
{
    if (!report || !hasBegun)
        return false;
    if (!*hasBegun) {
        if (from[0] == '\0' || !endsWith(file, from.data()))
            return false;
        *hasBegun = true;
    }
    const std::uint32_t number = ++report->counted;
    if (number <= mostCalls && !fault.isOfMemory)
        std::snprintf(report->texts.at(number - 1).data(), lengthOfText, "%s %s", name,
                      endOf(file));
    const bool fails =
        fault.number != 0 && (number == fault.number || (fault.goesOn && number > fault.number));
    if (fails)
        ++report->failed;
    return fails;
}

// Programs repeat a call that a signal interrupts. Signals that keep coming interrupt only every
// other call of a kind, so that a second try succeeds.
bool isSpared(const Call &call)
{
    static std::array<bool, callCount> wasInterrupted{};
    bool &was = wasInterrupted.at(static_cast<std::size_t>(&call - std::begin(calls)));
    was = !was && fault.error == EINTR;
    return !was && fault.error == EINTR;
}

bool isStandardStream(const Call &call, const Arguments &a)
{
    return isOfDescriptor(call, a) && a[0] >= 0 && a[0] <= STDERR_FILENO;
}

long answer(long number, const Arguments &a)
{
    for (const Call &call : calls) {
        if (call.number != number || isStandardStream(call, a))
            continue;
        std::array<char, longestPath> file{};
        describe(call, a, file);
        if (isNext(call.name, file.data()) && !isSpared(call))
            return -fault.error;
        break;
    }
    return pass5(number, a);
}

void trapped(int, siginfo_t *info, void *context)
{
    const int before = errno;
    auto &machine = static_cast<ucontext_t *>(context)->uc_mcontext;
#if defined __x86_64__
    auto &r = machine.gregs;
    const Arguments a{r[REG_RDI], r[REG_RSI], r[REG_RDX], r[REG_R10], r[REG_R8], 0};
    r[REG_RAX] = answer(info->si_syscall, a);
#elif defined __aarch64__
    auto &r = machine.regs;
    const auto argument = [&r](int i) { return static_cast<long>(r[i]); };
    const Arguments a{argument(0), argument(1), argument(2), argument(3), argument(4), 0};
    r[0] = static_cast<unsigned long long>(answer(info->si_syscall, a));
#else
    static_assert(sizeof(machine) == 0, "say where this processor keeps a call's arguments");
#endif
    errno = before;
}

bool trapCalls()
{
    struct sigaction action = {};
    action.sa_sigaction = trapped;
    action.sa_flags = SA_SIGINFO;
    if (sigaction(SIGSYS, &action, nullptr) != 0)
        return false;

    constexpr auto load = [](std::size_t offset) {
        return sock_filter(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    };
    constexpr std::size_t sixth = offsetof(seccomp_data, args) + 5 * sizeof(std::uint64_t);
    std::array<sock_filter, callCount + 7> filter{};
    auto *next = filter.begin();
    *next++ = load(sixth);
    *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, passHalf, 0, 2);
    *next++ = load(sixth + sizeof(std::uint32_t));
    *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, passHalf, callCount + 1, 0);
    *next++ = load(offsetof(seccomp_data, nr));
    for (std::size_t i = 0; i < callCount; ++i) {
        *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(calls[i].number),
                           static_cast<std::uint8_t>(callCount - i), 0);
    }
    *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void *shared(std::size_t size, int descriptor)
{
    void *memory = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                        MAP_SHARED | (descriptor < 0 ? MAP_ANONYMOUS : 0), descriptor, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

[[noreturn]] void giveUp(const char *why)
{
    constexpr int skipped = 77;
    std::fprintf(stderr, "nth_fault: %s\n", why);
    std::_Exit(skipped);
}

__attribute__((constructor)) void start()
{
    const char *given = std::getenv("NTH_FAULT");
    const char *file = std::getenv("NTH_FAULT_REPORT");
    if (!given || !file)
        giveUp("NTH_FAULT and NTH_FAULT_REPORT are not set");
    std::array<char, 16> kind{};
    std::array<char, 16> span{};
    if (std::sscanf(given, "%15[a-z]:%u:%d:%15[a-z]", kind.data(), &fault.number, &fault.error,
                    span.data())
        != 4)
        giveUp("NTH_FAULT cannot be read");
    fault.isOfMemory = std::strcmp(kind.data(), "allocation") == 0;
    fault.goesOn = std::strcmp(span.data(), "on") == 0;
    if (const char *name = std::getenv("NTH_FAULT_FROM"))
        std::snprintf(from.data(), from.size(), "%s", name);
    realFork = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    hasBegun = static_cast<std::atomic<bool> *>(shared(sizeof *hasBegun, -1));
    const int descriptor = open(file, O_RDWR | O_CLOEXEC);
    auto *memory = static_cast<Report *>(shared(sizeof(Report), descriptor));
    close(descriptor);
    if (!hasBegun || !memory)
        giveUp("no memory to share");
    // The faults are not meant for what this process starts.
    unsetenv("LD_PRELOAD");
    unsetenv("NTH_FAULT");
    if (!fault.isOfMemory && !trapCalls())
        giveUp("the kernel traps no calls here");
    report = memory;
}

using Main = int (*)(int, char **, char **);
Main realMain = nullptr;

int mainThatCounts(int count, char **words, char **environment)
{
    if (hasBegun && from[0] == '\0')
        *hasBegun = true;
    return realMain(count, words, environment);
}

bool isAllocationToFail()
{
    if (!report || !fault.isOfMemory || !isNext("allocation", ""))
        return false;
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {

// These are the C library's own functions.
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);

void *malloc(std::size_t size) { return isAllocationToFail() ? nullptr : __libc_malloc(size); }

void *calloc(std::size_t count, std::size_t size)
{
    return isAllocationToFail() ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *memory, std::size_t size)
{
    return isAllocationToFail() ? nullptr : __libc_realloc(memory, size);
}

// What the libraries do before main() does not count as the program's.
int __libc_start_main(Main main, int count, char **words, void (*start)(), void (*end)(),
                      void (*loaderEnd)(), void *stack)
{
    using Start = int (*)(Main, int, char **, void (*)(), void (*)(), void (*)(), void *);
    realMain = main;
    return reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"))(
        mainThatCounts, count, words, start, end, loaderEnd, stack);
}

// The C library blocks all signals while it forks, so that the call cannot be trapped.
pid_t fork()
{
    if (!fault.isOfMemory && isNext("fork", "")) {
        errno = fault.error;
        return -1;
    }
    return realFork();
}

} // extern "C"

// NOLINTEND(concurrency-mt-unsafe,cert-env33-c)
