// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_ENVIRONMENT_H
#define STBCONFIG_TOOL_ENVIRONMENT_H

#include "problem.h"

#include <QtCore/QString>

#include <functional>

// Whose variables the command looks at.
struct EnvironmentChoice
{
    enum Source { OfThisShell, None, File, Process };

    Source source = OfThisShell;
    QString file;
    int process = 0;

    /// Tells whether the user has said whose they are.
    bool isNamed() const { return source != OfThisShell; }
    /// Names the owner for a person, as in "this shell".
    QString owner() const;
};

namespace environment {

using Tell = std::function<void(const Problem &)>;

/// Puts the chosen variables in the place of this process's. Call this before the manager is
/// made, because that takes its copy then. Says which lines of a file it ignores. Ends with
/// CannotRead if it cannot read the variables.
void choose(const EnvironmentChoice &choice, const Tell &tell);

} // namespace environment

#endif
