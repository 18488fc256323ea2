// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_LOGGINGREADER_H
#define STBCONFIG_TOOL_LOGGINGREADER_H

#include "session.h"

#include <optional>

// What the library's own readers make of a setting: they do not simply take the winner.
namespace loggingreader {

/// Returns the keys of the group "Logging" that the library reads.
QStringList keys();
QStringList levels();
bool reads(const Setting &setting);

/// Returns what the reader takes for this key, where no command line gives a level.
QVariant effective(const Session &session, const QString &key);
/// Returns the file that the reader takes it from, or null if none holds it.
const provenance::Answer *origin(const QVector<provenance::Answer> &answers, const QString &key);
/// Returns the word for a level, and nothing for the other keys.
QString meaning(const QString &key, const QVariant &effective);
/// Says why the reader would misread the text, and what to write instead. Returns nothing if it
/// reads it as it is meant, or does not read this setting.
std::optional<Problem> misreading(const Setting &setting, const QString &text);

} // namespace loggingreader

#endif
