// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"

#include <cstdio>

namespace {

const char script[] =
#include "completion.bash.inc"
    ;

} // namespace

ExitStatus completion()
{
    std::fputs(script, stdout);
    return Done;
}
