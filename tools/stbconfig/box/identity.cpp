// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "identity.h"

#include "child.h"
#include "problem.h"
#include "way.h"

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace identity {
namespace {

// Of this process, as the user is.
QString &remarkForErrors()
{
    static QString text; // cppcheck-suppress unassignedVariable ; by the caller
    return text;
}

// The groups that the system's list of users gives; for a user who is in no list, the directory's.
bool takeGroups(const Owner &owner)
{
    const passwd *entry = getpwuid(owner.user);
    return entry
        ? initgroups(entry->pw_name, entry->pw_gid) == 0
            && setresgid(entry->pw_gid, entry->pw_gid, entry->pw_gid) == 0
        : setgroups(0, nullptr) == 0 && setresgid(owner.group, owner.group, owner.group) == 0;
}

} // namespace

QString userName(uid_t user)
{
    const passwd *entry = getpwuid(user);
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString("user %1").arg(user);
}

void becomeOwner(const Files &files)
{
    if (geteuid() != 0)
        return;
    const QStringList opened = files.openedAtOnce();
    for (const QString &file : opened) {
        const std::optional<Owner> owner = follow(absolute(file)).foreigner;
        if (!owner)
            continue;
        if (!takeGroups(*owner) || setresuid(owner->user, owner->user, owner->user) != 0) {
            throw Failure{CannotRead,
                          {owner->directory,
                           "belongs to " + userName(owner->user)
                               + ", whom root cannot become: " + std::strerror(errno),
                           "work as that user, or add --as-root if you trust the directory"}};
        }
        child::dieWithParent();
        remarkForErrors() = QString(" for %1, who owns %2 and whom root therefore works as")
                                .arg(userName(owner->user), owner->directory);
        return;
    }
}

QString remark() { return remarkForErrors(); }

} // namespace identity
