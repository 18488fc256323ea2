// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SCRATCH_H
#define STBCONFIG_TOOL_SCRATCH_H

#include "files.h"

#include <sys/types.h>

// A directory in TMPDIR that is closed to other users. It holds files for the library, which can
// read and write only what has a path. A process of its own makes the directory and removes it with
// all that is in it when the object is gone, even if this process is killed.
class Scratch
{
public:
    /// Ends with CannotRead if no directory can be made. Root, unless it is to trust other users'
    /// directories, takes none in which others could put a link in a file's place.
    explicit Scratch(bool asRoot);
    ~Scratch();
    Q_DISABLE_COPY(Scratch)

    /// Returns the files of a box without defaults, whose custom file is in the directory and may
    /// be missing.
    Files files() const;

private:
    QString directory;
    int line = -1; // the keeper waits until this end is closed
    pid_t keeper = -1;
};

#endif
