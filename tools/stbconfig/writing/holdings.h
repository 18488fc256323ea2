// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_HOLDINGS_H
#define STBCONFIG_TOOL_HOLDINGS_H

#include "entries.h"
#include "files.h"

namespace writing {

// What there is before a write.
struct Holdings
{
    Entries written; // by the file that is to be written
    Entries defaults;
};

/// What the files hold, told by a child: this process has not opened them then. Ends with CannotRead
/// if the written file, or the defaults if they are wanted, cannot be read as a whole, and with
/// NotSaved if the written file holds what no write from here could keep.
Holdings read(const Files &files, bool wantsDefaults);

} // namespace writing

#endif
