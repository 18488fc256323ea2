// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_HOLDINGS_H
#define STBCONFIG_TOOL_HOLDINGS_H

#include "entries.h"
#include "files.h"

namespace writing {

// What the files hold before a write.
struct Holdings
{
    Entries written; // in the file that is to be written
    Entries defaults; // in the files of the image
    // The names of entries that may be of a type which only the application can write.
    QStringList foreign;
    QStringList foreignDefaults;
};

/// Lets a child tell what the files hold, so that this process does not open them. Ends with
/// CannotRead if the written file, or the defaults if they are wanted, cannot be read as a whole.
Holdings inspect(const Files &files, bool wantsDefaults);

/// Does the same for a write that is to keep these entries. Also ends with NotSaved if the written file is
/// no file, or holds what no write from here could keep.
Holdings read(const Files &files, bool wantsDefaults);

/// Ends with NotSaved if the write would have to keep one of these entries.
void requireKeepable(const Files &files, const QStringList &foreign);

} // namespace writing

#endif
