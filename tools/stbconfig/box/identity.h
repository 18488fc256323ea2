// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_IDENTITY_H
#define STBCONFIG_TOOL_IDENTITY_H

#include "files.h"

// In a directory of another user, root would read and write wherever that user's links lead.
namespace identity {

/// If this process is root, and a directory on the way to one of the files belongs to another
/// user, becomes that user for good. Thus the command also sees what the application sees.
void becomeOwner(const Files &files);
void becomeOwner(const QStringList &files);

/// Says for an error as whom this process works in root's place; empty if it has not changed.
QString remark();

QString userName(uid_t user);

} // namespace identity

#endif
