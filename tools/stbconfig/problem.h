// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_PROBLEM_H
#define STBCONFIG_TOOL_PROBLEM_H

#include <QtCore/QString>

// The exit statuses mean the same in every command.
enum ExitStatus { Done = 0, PlainNo = 1, Misuse = 2, CannotRead = 3, NotSaved = 4 };

// What a person is told, in one line: for failures, findings and obstacles alike.
struct Problem
{
    QString thing;
    QString whatHappened;
    QString whatToDo;

    QString line() const
    {
        return thing + ": " + whatHappened + (whatToDo.isEmpty() ? QString() : "; " + whatToDo);
    }
};

// What ends a command early. It is thrown, and caught where the command was started.
struct Failure
{
    ExitStatus status{};
    Problem problem;
};

inline Failure notSaved(const Problem &problem)
{
    return {NotSaved, {problem.thing, "not saved: " + problem.whatHappened, problem.whatToDo}};
}

inline Failure notSaved(const QString &file, const QString &what, const QString &remedy)
{
    return notSaved({file, what, remedy});
}

#endif
