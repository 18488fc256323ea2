// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Preloaded into the command or an application, makes calls fail, as a dying disk or a full quota
// does:
//
//   FAULTS="CALL:NAME:WHAT:WHICH ..."
//       CALL   access, read, write, fsync, fdatasync, fchown or rename
//       NAME   the end of the file's name, or NEW for the new file that is to replace another
//       WHAT   the name of an error; "short", for some of the bytes; "end", for half of the file
//              and then its end; "run", for running FAULTS_RUN in a shell, then the call
//       WHICH  the number of the call, counted over all processes of a command, or "all"
//   FAULTS_LOG  a file that takes a line for each of these calls, and for each fsync and fdatasync

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <string>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

// The process has one thread, and its test says what it is to run.
// NOLINTBEGIN(concurrency-mt-unsafe,cert-env33-c)

namespace {

struct Fault
{
    std::string call;
    std::string name;
    std::string what;
    int which = 0; // 0 for all
};

constexpr int mostFaults = 8;
std::vector<Fault> *faults = nullptr;
// All children share this.
std::atomic<int> *counts = nullptr;
std::string *shellCommand = nullptr;
int logFile = -1;

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size()
        && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The new file has no name yet, or one like "custom.conf.ABCDEF".
bool isNamed(const std::string &path, const std::string &name)
{
    if (name != "NEW")
        return endsWith(path, name);
    const auto dot = path.rfind('.');
    return endsWith(path, " (deleted)") || (path.size() - dot == 7 && !endsWith(path, ".rmlock"));
}

template <typename Function>
Function real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int numberOf(const std::string &error)
{
    const std::map<std::string, int> numbers{
        {"EIO", EIO},       {"ENOSPC", ENOSPC}, {"EDQUOT", EDQUOT}, {"EPERM", EPERM},
        {"EACCES", EACCES}, {"EINTR", EINTR},   {"ESRCH", ESRCH}};
    const auto it = numbers.find(error);
    return it == numbers.end() ? EINVAL : it->second;
}

__attribute__((constructor)) void start()
{
    const char *text = std::getenv("FAULTS");
    faults = new std::vector<Fault>;
    shellCommand = new std::string(std::getenv("FAULTS_RUN") ? std::getenv("FAULTS_RUN") : "");
    counts = static_cast<std::atomic<int> *>(mmap(nullptr, mostFaults * sizeof(std::atomic<int>),
                                                  PROT_READ | PROT_WRITE,
                                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (const char *log = std::getenv("FAULTS_LOG"))
        logFile = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    std::string rest = text ? text : "";
    while (!rest.empty()) {
        const std::string one = rest.substr(0, rest.find(' '));
        rest.erase(0, one.size() + 1);
        const auto a = one.find(':');
        const auto b = one.find(':', a + 1);
        const auto c = one.find(':', b + 1);
        const std::string which = one.substr(c + 1);
        faults->push_back({one.substr(0, a), one.substr(a + 1, b - a - 1),
                           one.substr(b + 1, c - b - 1),
                           which == "all" ? 0 : std::atoi(which.c_str())});
    }
    // The faults are not meant for what this process starts.
    unsetenv("LD_PRELOAD");
    unsetenv("FAULTS");
}

std::string pathOf(int descriptor)
{
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return {path.data(), static_cast<size_t>(length < 0 ? 0 : length)};
}

void note(const std::string &call, const std::string &path, const std::string &what)
{
    if (logFile < 0)
        return;
    const std::string line = call + ' ' + path + ' ' + what + '\n';
    static_cast<void>(
        real<ssize_t (*)(int, const void *, size_t)>("write")(logFile, line.data(), line.size()));
}

// Says what is to happen to this call; empty for nothing.
std::string fateOf(const std::string &call, const std::string &path)
{
    const int before = errno;
    std::string fate;
    bool isLogged = call == "fsync" || call == "fdatasync";
    for (size_t i = 0; faults && i < faults->size(); ++i) {
        const Fault &fault = (*faults)[i];
        if (fault.call != call || !isNamed(path, fault.name))
            continue;
        isLogged = true;
        const int number = ++counts[i];
        if (fault.which == 0 || fault.which == number)
            fate = fault.what;
    }
    if (isLogged)
        note(call, path, fate.empty() ? "ok" : fate);
    if (fate == "run") {
        static_cast<void>(std::system(shellCommand->c_str()));
        fate.clear();
    }
    errno = before;
    return fate;
}

int fail(const std::string &fate)
{
    errno = numberOf(fate);
    return -1;
}

int flush(const char *call, int descriptor)
{
    const std::string fate = fateOf(call, pathOf(descriptor));
    return fate.empty() ? real<int (*)(int)>(call)(descriptor) : fail(fate);
}

} // namespace

extern "C" {

ssize_t read(int descriptor, void *bytes, size_t count)
{
    static const auto next = real<ssize_t (*)(int, void *, size_t)>("read");
    const std::string fate = fateOf("read", pathOf(descriptor));
    if (fate == "short")
        return next(descriptor, bytes, count > 1 ? std::min<size_t>(count / 2, 16) : count);
    if (fate == "end") {
        const ssize_t size = lseek(descriptor, 0, SEEK_END);
        lseek(descriptor, 0, SEEK_SET);
        const ssize_t result =
            next(descriptor, bytes, std::min(count, static_cast<size_t>(size) / 2));
        lseek(descriptor, 0, SEEK_END);
        return result;
    }
    return fate.empty() ? next(descriptor, bytes, count) : fail(fate);
}

ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto next = real<ssize_t (*)(int, const void *, size_t)>("write");
    const std::string fate = fateOf("write", pathOf(descriptor));
    if (fate == "short")
        return next(descriptor, bytes, count > 1 ? count / 2 : count);
    return fate.empty() ? next(descriptor, bytes, count) : fail(fate);
}

int fsync(int descriptor) { return flush("fsync", descriptor); }

int fdatasync(int descriptor) { return flush("fdatasync", descriptor); }

int fchown(int descriptor, uid_t user, gid_t group)
{
    const std::string fate = fateOf("fchown", pathOf(descriptor));
    return fate.empty() ? real<int (*)(int, uid_t, gid_t)>("fchown")(descriptor, user, group)
                        : fail(fate);
}

int access(const char *path, int mode)
{
    const std::string fate = fateOf("access", path);
    return fate.empty() ? real<int (*)(const char *, int)>("access")(path, mode) : fail(fate);
}

int rename(const char *from, const char *to)
{
    const std::string fate = fateOf("rename", to);
    return fate.empty() ? real<int (*)(const char *, const char *)>("rename")(from, to)
                        : fail(fate);
}

} // extern "C"

// NOLINTEND(concurrency-mt-unsafe,cert-env33-c)
