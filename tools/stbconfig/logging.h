// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_LOGGING_H
#define STBCONFIG_TOOL_LOGGING_H

#include "session.h"

// The settings that the library's logging reader reads by rules of its own.
namespace loggingsettings {

QStringList names();
/// What the reader takes; invalid for a setting it does not read.
QVariant effective(const Session &session, const QString &name);
/// Which file the reader takes it from, or null if none holds it.
const provenance::Answer *origin(const QVector<provenance::Answer> &answers, const QString &name);
/// The word for a level, otherwise nothing.
QString meaning(const QString &name, const QVariant &effective);
/// Why the reader would misread the text; empty if it reads it as it is meant.
QString misreading(const QString &name, const QString &text);

} // namespace loggingsettings

#endif
