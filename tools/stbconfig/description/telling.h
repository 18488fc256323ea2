// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_TELLING_H
#define STBCONFIG_TOOL_TELLING_H

#include "description.h"
#include "output.h"

// What the commands say of a setting that is described.
namespace description {

// A setting as it was asked for, what is described of it, and what it is now.
struct Told
{
    Setting setting;
    const Described *described = nullptr; // null if nothing; an older name shares today's
    const QVariant *value = nullptr; // null if nobody holds it
};

Told told(const Description &description, const Setting &setting, const QVariant *value);

/// Returns lines for a person, each of less than 80 columns.
QStringList lines(const Told &told, const output::Format &format);
/// Returns an object for a program; null if nothing is described.
QJsonValue json(const Told &told, const output::Format &format);
/// Returns fields for a script: the default, what is allowed, and the description's text.
QStringList fields(const Told &told, const output::Format &format);

} // namespace description

#endif
