// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SETTING_H
#define STBCONFIG_TOOL_SETTING_H

#include "arguments.h"

// The commands that change a setting share these.

/// Ends with Misuse if Qt would take the name for another one, and says for which.
void requireOwnName(const Setting &setting);

/// Says why the description forbids the name, or the value. Returns nothing if it does not, or if
/// the change is of a named storage. No text shows the value.
std::optional<Problem> forbiddenName(const Context &context, const Setting &setting,
                                     names::Nearest &nearest);
std::optional<Problem> forbiddenValue(const Context &context, const Setting &setting,
                                      const QVariant &value);

/// Returns the word. Ends with Misuse if it is empty, as an unset variable of a shell gives it: it
/// would match all settings.
QString patternOf(const QString &word, const QString &where);

/// Calls what tells more of a change. If that ends with a Failure, and the change is saved, the
/// Failure says so.
void tellOf(writing::Outcome outcome, const std::function<void()> &tell);

/// Says with -v how many settings of the written file change.
void tellCount(const Context &context, qsizetype count);

/// Stores the value in the written file, warns of what it hides or is misread as, and prints what
/// JSON or --dry-run want to know.
ExitStatus store(const Context &context, const Setting &setting, const QVariant &value,
                 const writing::Manner &manner);

#endif
