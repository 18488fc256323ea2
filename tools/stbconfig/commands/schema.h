// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SCHEMA_H
#define STBCONFIG_TOOL_SCHEMA_H

#include <QtCore/QStringList>

namespace schema {

/// Lists what the command schema prints, by the words that ask for it.
QStringList outputs();

} // namespace schema

#endif
