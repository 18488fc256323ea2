// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_CHILD_H
#define STBCONFIG_TOOL_CHILD_H

#include "problem.h"

#include <QtCore/QByteArray>

#include <chrono>
#include <functional>
#include <optional>

#include <sys/resource.h>
#include <sys/types.h>

// A forked child does what may hang, crash, be cached or need another identity.
namespace child {

struct End
{
    enum How { Returned, Died, TimedOut, NotStarted };

    How how = NotStarted;
    QByteArray result;
    std::optional<Failure> failure; // what the work threw
    QString why; // says why the child did not return
};

/// This is called once, with the child's number, if the child has not returned by then.
struct Watch
{
    std::chrono::milliseconds after{};
    std::function<void(pid_t)> call;
};

/// Runs the work in a child and returns what it returned, or the Failure it threw. The child is gone when this returns,
/// unless its file system holds it: it is killed at the limit, and with this process. It leaves no core file.
End run(std::chrono::seconds limit, const std::function<QByteArray()> &work,
        const Watch &watch = {});

/// Call this again in a child that has become another user: the kernel then forgets that the child
/// is to die with its parent.
void dieWithParent();

/// As long as it lives, this process gets no more memory than a box has: files of so many bytes may
/// need some ten times their size.
class MemoryLimit
{
public:
    explicit MemoryLimit(qint64 bytes);
    ~MemoryLimit();
    Q_DISABLE_COPY(MemoryLimit)

private:
    rlimit before{};
};

} // namespace child

#endif
