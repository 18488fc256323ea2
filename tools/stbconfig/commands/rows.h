// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_ROWS_H
#define STBCONFIG_TOOL_ROWS_H

#include "check/finding.h"
#include "output.h"
#include "session.h"

// What one command answers and the report repeats.
namespace rows {

QVector<output::Row> ofDifferences(const Session &session, const QString &glob,
                                   const output::Format &format);
QVector<output::Row> ofLogging(const Session &session, const output::Format &format);
output::Row ofFile(const QString &name, const QString &file, const QString &root);
output::Row withoutFile(const provenance::Facts &facts);
output::Row ofFinding(const check::Finding &finding);

} // namespace rows

#endif
