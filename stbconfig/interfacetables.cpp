// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "backendinterfaces.h"
#include "errorhandler.h"

// Emits the virtual tables and the type information of the interfaces. Their destructors are
// inline, so no source owns the tables, and an optimiser drops them from a library in which every
// derived class is final. Applications that derive from an interface or use dynamic_cast need
// exactly one copy, the library's.

namespace stbconfig {
namespace {

// The optimiser must assume that this reads the object under construction, and so cannot drop the
// interface's table that was stored into it just before.
struct Witness
{
    Witness() { asm volatile("" ::: "memory"); }
};

// The class is abstract because nobody instantiates it. "used" keeps the constructor although
// nobody calls it; clang 14 crashes if that is defaulted.
template <typename Interface>
struct Anchor : Interface, Witness
{
    [[gnu::used]] Anchor() {} // NOLINT(modernize-use-equals-default)
};

template struct Anchor<IErrorHandler>;
template struct Anchor<IReadableBackend>;
template struct Anchor<IStorableBackend>;

} // namespace
} // namespace stbconfig
