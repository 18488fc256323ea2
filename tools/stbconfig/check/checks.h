// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_CHECKS_H
#define STBCONFIG_TOOL_CHECKS_H

#include "description.h"
#include "finding.h"
#include "session.h"

#include <QtCore/QMap>

struct Context;

// These are the parts of a check, in their order. Each adds what it finds.
namespace check {

/// Runs all of them.
Findings findAll(const Context &context);

void prefixes(const Places &places, Findings &findings);
/// Looks at the files without the library: what they are, their lines, owners, locks and the way to
/// write them. The description says which entries are meant to be lists. Returns the files that the
/// library can open without harm.
QStringList files(const Files &files, const Description &description, Findings &findings);
/// Look at what the library makes of the harmless files.
void storages(const Session &session, const QStringList &harmless, Findings &findings);
void settingNames(const Session &session, Findings &findings);
void variables(const Session &session, const Description &description, Findings &findings);
void values(const Session &session, const Description &description, Findings &findings);
/// Holds everything that is set against the description.
void againstDescription(const Session &session, const Context &context, Findings &findings);

/// Finds what is wrong with a text that stands for the setting, wherever it is held; where there is
/// a description, that says it better.
void text(const Setting &setting, const QString &text, const QString &place, const QString &remedy,
          const Description &description, Findings &findings);

/// Lists the settings that each variable may stand for. Older names are among them where no setting
/// of today has that variable.
QMap<QString, QStringList> meaningsOfVariables(const Session &session,
                                               const Description &description);

} // namespace check

#endif
