// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_GENERATORS_H
#define STBCONFIG_TOOL_GENERATORS_H

#include "description.h"
#include "output.h"

struct Context;

// These functions print texts made of the files, or of the description of their settings. A text of
// the description ends no comment there, begins no markup and moves no cursor.
namespace generators {

/// Prints a description of what the files hold.
void draft(const Context &context);
/// Prints the defaults as a file, with a comment at each.
void conf(const Context &context);
/// Prints a page for a person.
void markdown(const Context &context);
/// Prints accessors for an application. Ends with Misuse if two settings would have one name there.
void header(const Context &context);

/// Returns a text of the description, each line safe to show and without blanks around it; nothing
/// if it is empty.
QStringList linesOf(const QString &text);
/// Returns the default that may be told; null if there is none.
const QVariant *defaultOf(const Described &described, const output::Format &format);

} // namespace generators

#endif
