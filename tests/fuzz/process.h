// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_PROCESS_H
#define STBCONFIG_TESTS_FUZZ_PROCESS_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>

/// How the command is started.
struct Start
{
    QList<QByteArray> words; // without the program's name
    QList<QByteArray> variables; // NAME=VALUE
    QByteArray input;
    QString directory; // the working directory
    bool isTerminal = false; // where it prints
};

/// How the command ended, and what it printed until then.
struct End
{
    bool isInTime = false;
    int status = -1; // or the negative number of a signal
    QByteArray printed;
    QByteArray said;
};

/// Runs the command, and ends it if it takes longer than any command may.
End run(const Start &start);

/// Returns the words and variables as a person would type them in a shell.
QByteArray asShell(const Start &start);

/// Runs the work in a forked process, which leaves nothing behind in this one, and returns its
/// result; nothing if it dies.
QByteArray inChild(const std::function<QByteArray()> &work);

/// Becomes the command, in one of two ways: see commandinside.cpp and commandoutside.cpp.
[[noreturn]] void beCommand(QList<QByteArray> words);
/// This is called in the process that has run the command, once that is over.
void takeCoverage();
/// This is called in a new process, so that a failure ends that process and no other.
void forgetFuzzer();
/// Ends a forked process.
[[noreturn]] void leave(int status);

#endif
