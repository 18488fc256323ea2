// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "allocations.h"

#include <cstddef>
#include <malloc.h>

// Stands in front of the C library's allocator and counts the calls of one thread.

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
void __libc_free(void *memory);
}

namespace {

Allocations total{0, 0};

void *counted(void *memory)
{
    ++total.count;
    total.liveBytes += static_cast<long>(malloc_usable_size(memory));
    return memory;
}

void forget(void *memory) { total.liveBytes -= static_cast<long>(malloc_usable_size(memory)); }

} // namespace

extern "C" {

void *malloc(std::size_t size) { return counted(__libc_malloc(size)); }

void *calloc(std::size_t count, std::size_t size) { return counted(__libc_calloc(count, size)); }

void *realloc(void *memory, std::size_t size)
{
    forget(memory);
    return counted(__libc_realloc(memory, size));
}

void free(void *memory)
{
    forget(memory);
    __libc_free(memory);
}
}

Allocations Allocations::now() { return total; }
