// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_MATCHERS_H
#define STBCONFIG_TESTS_MATCHERS_H

#include "printers.h"

#include <gmock/gmock.h>

/// Matches a variant of exactly the type and value of @p expected: 3 is not "3".
MATCHER_P(IsVariant, expected, "")
{
    const QVariant wanted(expected);
    return arg.userType() == wanted.userType() && arg == wanted;
}

/// Matches a variant that holds the text, as a QString.
MATCHER_P(IsText, text, "")
{
    return arg.userType() == QMetaType::QString && arg.toString() == QString::fromUtf8(text);
}

MATCHER(IsInvalid, "") { return !arg.isValid(); }

/// Matches a variant that holds a null QString, which is not an invalid variant.
MATCHER(IsNullText, "") { return arg.userType() == QMetaType::QString && arg.toString().isNull(); }

/// Matches a variant that holds a QString which is empty, but not null.
MATCHER(IsEmptyText, "")
{
    return arg.userType() == QMetaType::QString && arg.toString().isEmpty()
        && !arg.toString().isNull();
}

#endif
