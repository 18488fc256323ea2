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
    std::optional<QString> file; // in place of the one beside the defaults
    bool isNone = false;
};

/// Reads the one that was chosen; an empty one if there is none beside the defaults. Root reads a
/// file that was named as the first other user on the way to it. Ends with CannotRead.
Description load(const Choice &choice, const Files &files, bool asRoot);

/// For a command that is nothing without one: ends with CannotRead if there is none, and with Misuse
/// if the user wants none.
void require(const Description &description, const Choice &choice, const Files &files);

} // namespace description

#endif
