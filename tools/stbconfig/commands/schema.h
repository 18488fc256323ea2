// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SCHEMA_H
#define STBCONFIG_TOOL_SCHEMA_H

#include <QtCore/QStringList>

namespace schema {

/// What the command schema prints, as it is asked for.
QStringList outputs();

} // namespace schema

#endif
