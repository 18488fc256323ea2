// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "finding.h"

#include "names.h"

namespace check {
namespace {

struct Kind
{
    const char *name;
    Severity severity;
};

constexpr Kind kinds[] = {
    {"malformed", Severity::Error},
    {"unreadable", Severity::Error},
    {"ends-reader", Severity::Error},
    {"bad-description", Severity::Error},
    {"write-lost", Severity::Error},
    {"left-over-lock", Severity::Warning},
    {"foreign-owner", Severity::Warning},
    {"readable-secret", Severity::Warning},
    {"missing", Severity::Note},
    {"prefix", Severity::Warning},
    {"hash-line", Severity::Warning},
    {"comment", Severity::Warning},
    {"non-ascii", Severity::Warning},
    {"typed-value", Severity::Warning},
    {"unquoted-comma", Severity::Warning},
    {"cut-value", Severity::Warning},
    {"open-quote", Severity::Warning},
    {"duplicate", Severity::Warning},
    {"case-only", Severity::Warning},
    {"shared-variable", Severity::Warning},
    {"unknown-variable", Severity::Warning},
    {"shadowed-variable", Severity::Warning},
    {"empty-variable", Severity::Warning},
    {"logging-variable", Severity::Warning},
    {"logging-value", Severity::Warning},
    {"boolean-word", Severity::Warning},
    {"c-locale", Severity::Warning},
    {"bad-value", Severity::Warning},
    {"unknown-setting", Severity::Warning},
    {"old-name", Severity::Warning},
    {"migrated-name", Severity::Note},
    {"no-default", Severity::Note},
    {"redundant", Severity::Note},
};

const Kind &kindOf(Id id) { return kinds[static_cast<int>(id)]; }

constexpr Severity severities[] = {Severity::Error, Severity::Warning, Severity::Note};

} // namespace

QStringList idNames()
{
    QStringList result;
    for (const Kind &kind : kinds)
        result.append(kind.name);
    return result;
}

QString nameOf(Id id) { return kindOf(id).name; }

Severity severityOf(Id id) { return kindOf(id).severity; }

QString nameOf(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Note:
        break;
    }
    return "note";
}

bool isOfReading(Id id)
{
    return id == Id::Malformed || id == Id::Unreadable || id == Id::EndsReader
        || id == Id::BadDescription;
}

Id idNamed(const QString &word)
{
    const QStringList all = idNames();
    const auto id = all.indexOf(word);
    if (id >= 0)
        return static_cast<Id>(id);
    throw Failure{Misuse,
                  {word, "no such finding", names::suggestion(word, all, "see man stbconfig")}};
}

Severity severityNamed(const QString &word)
{
    QStringList all;
    for (const Severity severity : severities) {
        if (word == nameOf(severity))
            return severity;
        all.append(nameOf(severity));
    }
    throw Failure{
        Misuse, {word, "no such severity", names::suggestion(word, all, "use " + all.join(", "))}};
}

} // namespace check
