// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_COMPLETION_H
#define STBCONFIG_TOOL_COMPLETION_H

#include <QtCore/QStringList>

namespace completion {

/// Lists the shells that there is a script for.
QStringList shells();

} // namespace completion

#endif
