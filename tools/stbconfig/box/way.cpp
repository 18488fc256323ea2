// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "way.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QList>

#include <array>
#include <cerrno>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Next { OfRoot, OfAnother, MissingFile, MissingDirectory };

// Paths stay bytes here, because a name that is no UTF-8 must not become another.
QList<QByteArray> parts(const QByteArray &path)
{
    QList<QByteArray> result = path.split('/');
    result.removeAll(QByteArray());
    return result;
}

class Walk
{
public:
    Walk(const QString &path, const QString &root)
        : top(root == "/" ? QByteArray() : QFile::encodeName(root)), here(top),
          rest(parts(QFile::encodeName(path)))
    {}

    Way toItsEnd()
    {
        while (!rest.isEmpty())
            step(rest.takeFirst());
        way.end = here.isEmpty() ? "/" : QFile::decodeName(here);
        return way;
    }

private:
    void step(const QByteArray &name)
    {
        if (name == ".")
            return;
        if (name == "..") {
            if (here != top)
                here.truncate(here.lastIndexOf('/'));
            return;
        }
        const QByteArray next = here + '/' + name;
        struct stat status = {};
        if (lstat(next.constData(), &status) != 0) {
            if (errno != ENOENT && way.error == 0)
                way.error = errno;
            noteShared(rest.isEmpty() ? Next::MissingFile : Next::MissingDirectory);
            here = next; // what is missing holds no link
            return;
        }
        noteShared(status.st_uid == 0 ? Next::OfRoot : Next::OfAnother);
        if (S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode))
            noteOwner(next, status);
        if (S_ISLNK(status.st_mode))
            takeLink(next);
        else
            here = next;
    }

    void takeLink(const QByteArray &link)
    {
        constexpr int mostLinks = 40; // the kernel's limit
        std::array<char, PATH_MAX> target{};
        const ssize_t length = readlink(link.constData(), target.data(), target.size());
        const int error = length < 0 ? errno : ELOOP;
        if (length < 0 || ++links > mostLinks) {
            way.error = error;
            rest.clear();
            return;
        }
        const QByteArray path(target.data(), static_cast<int>(length));
        if (path.startsWith('/'))
            here = top;
        rest = parts(path) + rest;
    }

    void noteOwner(const QByteArray &path, const struct stat &status)
    {
        if (status.st_uid != 0 && !way.foreigner)
            way.foreigner = Owner{status.st_uid, status.st_gid, QFile::decodeName(path)};
    }

    // In a sticky directory, others can exchange what does not belong to root. Root can make a missing
    // file there before they do, but a missing directory may be theirs by then.
    void noteShared(Next next)
    {
        struct stat status = {};
        if (!way.shared.isEmpty() || lstat(here.isEmpty() ? "/" : here.constData(), &status) != 0)
            return;
        const bool canOthersWrite = (status.st_mode & S_IWOTH) != 0
            || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != 0);
        if (!canOthersWrite)
            return;
        const bool isSticky = (status.st_mode & S_ISVTX) != 0;
        way.isFree = isSticky && next == Next::MissingFile;
        if (!way.isFree && !(isSticky && next == Next::OfRoot))
            way.shared = here.isEmpty() ? "/" : QFile::decodeName(here);
    }

    Way way;
    QByteArray top;
    QByteArray here;
    QList<QByteArray> rest;
    int links = 0;
};

} // namespace

QString absolute(const QString &path)
{
    return path.startsWith('/') ? path : QDir::currentPath() + '/' + path;
}

Way follow(const QString &path, const QString &root) { return Walk(path, root).toItsEnd(); }
