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

// The part of this box that is compared: the same part that the other side gives.
enum Compared { CustomFile, BothFiles, AllThatAnswer };

struct Side
{
    Compared compared{};
    std::optional<exchange::Text> text; // what a file holds, not yet taken apart
    Entries entries; // what any other side holds
};

/// Reads the other side. Root reads it as the first other user on the way to its files, no matter to
/// whom this box's files belong. Ends with CannotRead.
Side look(const QString &path, const Places &places);

/// Returns what is compared of a session. Unless all that answer are wanted, the session must have
/// no variables.
Entries entriesOf(const Session &session, Compared compared);

/// Returns the entries of the other side. Ends with CannotRead if its text cannot be taken apart.
Entries entriesOf(const Side &side, bool asRoot);

} // namespace otherside

#endif
