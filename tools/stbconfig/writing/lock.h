// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_LOCK_H
#define STBCONFIG_TOOL_LOCK_H

#include "problem.h"

#include <optional>

#include <sys/types.h>

// The lock beside a settings file, which Qt holds while it writes and for which it waits.
namespace lock {

struct Held
{
    QString holder; // "process 12"
    pid_t process; // of this machine; otherwise 0
    bool canGo; // it ends by itself, or Qt removes it within 30 seconds
    Problem problem;
};

/// Says what would hold a write of the file now; nothing if a write would not wait.
std::optional<Held> of(const QString &file);

} // namespace lock

#endif
