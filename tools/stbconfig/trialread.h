// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_TRIALREAD_H
#define STBCONFIG_TOOL_TRIALREAD_H

#include <QtCore/QString>

/// Whether a process that reads the file dies of it, as hostile typed values ("@Variant(...)") can
/// make it. A child of ours finds out. False where there is no file.
bool endsItsReader(const QString &file);

#endif
