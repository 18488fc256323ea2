// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_CHECKS_H
#define STBCONFIG_TOOL_CHECKS_H

#include "finding.h"
#include "session.h"

struct Context;

// What is looked at, in this order. Each adds what it finds.
namespace check {

/// All of it.
Findings findAll(const Context &context);

void prefixes(const Places &places, Findings &findings);
/// The files without the library: what they are, their lines, owners, locks and the way to write
/// them. Returns those that the library can open without harm.
QStringList files(const Files &files, Findings &findings);
/// What the library makes of the harmless files.
void storages(const Session &session, const QStringList &harmless, Findings &findings);
void settingNames(const Session &session, Findings &findings);
void variables(const Session &session, Findings &findings);
void values(const Session &session, Findings &findings);

/// What is wrong with a text that stands for the setting, wherever it is held.
void text(const Setting &setting, const QString &text, const QString &place, const QString &remedy,
          Findings &findings);

} // namespace check

#endif
