// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_WAY_H
#define STBCONFIG_TOOL_WAY_H

#include <QtCore/QString>

#include <optional>

#include <sys/types.h>

// Whoever owns a directory decides where a path through it leads.
struct Owner
{
    uid_t user;
    gid_t group;
    QString directory; // the directory, or the link
};

// Where a path leads, link by link.
struct Way
{
    QString end; // without links; what is missing is taken as it stands
    std::optional<Owner> foreigner; // the first on the way who is not root
    QString shared; // the first directory in which others can exchange what is next on the way
    bool isFree = false; // the file is missing, and others can make it
    int error = 0; // why the way ends before its end; 0 also where a part is missing
};

/// Follows the path inside the root, out of which neither an absolute link nor ".." leads.
Way follow(const QString &path, const QString &root = "/");

/// Returns the path in absolute form, links included. Looks nothing up.
QString absolute(const QString &path);

#endif
