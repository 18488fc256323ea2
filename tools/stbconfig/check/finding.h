// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_FINDING_H
#define STBCONFIG_TOOL_FINDING_H

#include "problem.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace check {

// All findings there are. Their names and severities stand in finding.cpp, in this order.
enum class Id {
    Malformed,
    Unreadable,
    EndsReader,
    BadDescription,
    WriteLost,
    LeftOverLock,
    ForeignOwner,
    ReadableSecret,
    Missing,
    Prefix,
    HashLine,
    Comment,
    NonAscii,
    TypedValue,
    UnquotedComma,
    CutValue,
    OpenQuote,
    Duplicate,
    CaseOnly,
    SharedVariable,
    UnknownVariable,
    ShadowedVariable,
    EmptyVariable,
    LoggingVariable,
    LoggingValue,
    BooleanWord,
    CLocale,
    BadValue,
    UnknownSetting,
    OldName,
    MigratedName,
    NoDefault,
    Redundant
};

enum class Severity { Note, Warning, Error };

struct Finding
{
    Id id;
    Problem problem;
};

using Findings = QVector<Finding>;

/// Returns the names of all findings.
QStringList idNames();
QString nameOf(Id id);
Severity severityOf(Id id);
QString nameOf(Severity severity);
/// Tells whether it means that a file cannot be read as a whole; the description is such a file.
bool isOfReading(Id id);

/// Ends with Misuse if there is no such finding, or severity.
Id idNamed(const QString &word);
Severity severityNamed(const QString &word);

} // namespace check

#endif
