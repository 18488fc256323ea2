// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_ALLOCATIONS_H
#define STBCONFIG_BENCHMARKS_ALLOCATIONS_H

/// What this process has allocated since its start, and how much of that is not yet freed.
struct Allocations
{
    long count;
    long liveBytes;

    static Allocations now();
};

#endif
