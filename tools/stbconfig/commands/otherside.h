// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_OTHERSIDE_H
#define STBCONFIG_TOOL_OTHERSIDE_H

#include "entries.h"
#include "exchange.h"
#include "files.h"
#include "session.h"

// What this box is compared with: a file of settings, another box's directory or an unpacked image.
namespace otherside {

// Like is compared with like: what the other side does not hold is not asked of this one.
enum Compared { CustomFile, BothFiles, AllThatAnswer };

struct Side
{
    Compared compared{};
    std::optional<exchange::Text> text; // of a file, which is not yet taken apart
    Entries entries; // otherwise
};

/// Reads the other side, which is a place of its own: root reads it as the first other user on the
/// way to its files, whoever this box's files belong to. Ends with CannotRead.
Side look(const QString &path, const Places &places);

/// Returns what is compared of a session. Unless all that answer are wanted, the session must have
/// no variables.
Entries entriesOf(const Session &session, Compared compared);

/// Returns the entries of the other side. Ends with CannotRead if its text cannot be taken apart.
Entries entriesOf(const Side &side, bool asRoot);

} // namespace otherside

#endif
