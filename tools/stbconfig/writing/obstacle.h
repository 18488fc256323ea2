// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_OBSTACLE_H
#define STBCONFIG_TOOL_OBSTACLE_H

#include "entries.h"
#include "problem.h"

#include <optional>

// Why a write would be lost, or would damage the file.
namespace obstacle {

struct Obstacle
{
    Problem problem;
    bool isEstimate; // --force overrides it
};

/// Says what is in the way of a new file of so many bytes in this one's place; a size of 0 asks for
/// the least room. Returns nothing if nothing is seen.
std::optional<Obstacle> of(const QString &file, qint64 size);

/// Returns how many bytes a file with these entries has at most.
qint64 sizeOf(const Entries &entries);

} // namespace obstacle

#endif
