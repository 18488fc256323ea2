// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SETTING_H
#define STBCONFIG_TOOL_SETTING_H

#include "arguments.h"

// What the commands share that change a setting.

/// Ends with Misuse if Qt would take the name for another one, and says for which.
void requireOwnName(const Setting &setting);

/// Stores the value in the written file, warns of what it hides or is misread as, and prints what
/// JSON or --dry-run want to know.
ExitStatus store(const Context &context, const Setting &setting, const QVariant &value,
                 const writing::Manner &manner);

#endif
