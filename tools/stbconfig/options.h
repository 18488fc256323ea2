// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_OPTIONS_H
#define STBCONFIG_TOOL_OPTIONS_H

#include <QtCore/QString>

#include <optional>

// The exit statuses mean the same in every command.
enum ExitStatus { Done = 0, PlainNo = 1, Misuse = 2, CannotRead = 3, NotSaved = 4 };

// What ends a command early: one line on stderr and the status.
struct Failure
{
    ExitStatus status;
    QString thing;
    QString whatHappened;
    QString whatToDo;
};

struct Address
{
    QString group;
    QString key;
};

struct Options
{
    QString program; // as this process was called
    QString persistentPrefix;
    QString defaultsPrefix;
    QString root;
    std::optional<QString> environmentFile;
    std::optional<int> pid;
    bool noEnvironment = false;
    bool json = false;
    bool nullSeparated = false;
    bool showSecrets = false;
    bool verbose = false;

    // Each command reads those it declares.
    Address address;
    QString value;
    QString type;
    QString glob;
    QString loggingName;
    std::optional<QString> defaultValue;
    std::optional<QString> from;
    std::optional<QString> group;
    std::optional<QString> storage;
    bool create = false;
    bool dryRun = false;
    bool keysOnly = false;
    bool origin = false;
    bool redundant = false;
};

#endif
