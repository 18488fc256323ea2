// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SOURCE_H
#define STBCONFIG_TOOL_SOURCE_H

#include "description.h"
#include "files.h"

namespace description {

// Which description the user wants.
struct Choice
{
    std::optional<QString> file; // replaces the one beside the defaults
    bool isNone = false;
};

/// Reads the chosen description; returns an empty one if there is none beside the defaults. If the
/// user has named a file, root reads it as the first other user on the way to it. Ends with
/// CannotRead.
Description load(const Choice &choice, const Files &files, bool asRoot);

/// Commands that cannot work without a description call this: it ends with CannotRead if there is
/// none, and with Misuse if the user wants none.
void require(const Description &description, const Choice &choice, const Files &files);

} // namespace description

#endif
