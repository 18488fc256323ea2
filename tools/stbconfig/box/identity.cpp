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

// One for the process, which has one user.
QString &remarkForErrors()
{
    static QString text; // cppcheck-suppress unassignedVariable ; by the caller
    return text;
}

// Takes the groups from the system's list of users; for a user who is not in it, the directory's
// group.
bool takeGroups(const Owner &owner)
{
    const passwd *entry = getpwuid(owner.user);
    return entry
        ? initgroups(entry->pw_name, entry->pw_gid) == 0
            && setresgid(entry->pw_gid, entry->pw_gid, entry->pw_gid) == 0
        : setgroups(0, nullptr) == 0 && setresgid(owner.group, owner.group, owner.group) == 0;
}

void become(const Owner &owner)
{
    if (geteuid() != 0)
        return;
    if (!takeGroups(owner) || setresuid(owner.user, owner.user, owner.user) != 0) {
        const QString error = std::strerror(errno); // the look-up of the user's name may change it
        throw Failure{CannotRead,
                      {owner.directory,
                       "belongs to " + userName(owner.user) + ", whom root cannot become: " + error,
                       "work as that user, or add --as-root if you trust the directory"}};
    }
    child::dieWithParent();
    remarkForErrors() = QString(" for %1, who owns %2 and whom root therefore works as")
                            .arg(userName(owner.user), owner.directory);
}

} // namespace

QString userName(uid_t user)
{
    const passwd *entry = getpwuid(user);
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString("user %1").arg(user);
}

void becomeOwner(const Files &files)
{
    if (files.foreigner())
        become(*files.foreigner());
    else
        becomeOwner(files.openedAtOnce());
}

void becomeOwner(const QStringList &files)
{
    for (const QString &file : files) {
        if (const auto owner = follow(absolute(file)).foreigner) {
            become(*owner);
            return;
        }
    }
}

QString remark() { return remarkForErrors(); }

} // namespace identity
