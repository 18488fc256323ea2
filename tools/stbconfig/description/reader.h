// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_READER_H
#define STBCONFIG_TOOL_READER_H

#include "description.h"

#include <QtCore/QByteArray>

namespace description {

/// Tells whether a description can hold the text: every version of Qt must give back each of its
/// characters.
bool canHold(const QString &text);

/// Takes the JSON apart. Ends with CannotRead, and names the line and the column, if it is no JSON or
/// says something that a description cannot say.
Description read(const QByteArray &json, const QString &file);

} // namespace description

#endif
