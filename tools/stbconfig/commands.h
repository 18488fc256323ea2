// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_COMMANDS_H
#define STBCONFIG_TOOL_COMMANDS_H

#include "options.h"

// One command per file. Each returns its exit status or throws a Failure.
ExitStatus check(const Options &options);
ExitStatus completion();
ExitStatus diff(const Options &options);
ExitStatus explain(const Options &options);
ExitStatus get(const Options &options);
ExitStatus list(const Options &options);
ExitStatus locale(const Options &options);
ExitStatus locations(const Options &options);
ExitStatus logging(const Options &options);
ExitStatus set(const Options &options);
ExitStatus unset(const Options &options);

// Not for people: a fresh process that tells what a file really holds, see writing.cpp.
ExitStatus readBack(const Options &options);

#endif
