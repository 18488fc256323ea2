// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "box.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

QString freshPath()
{
    static const QTemporaryDir parent;
    static int runs = 0;
    return parent.filePath(QString::number(++runs));
}

} // namespace

void expect(bool isTrue, const char *fact, const QString &about)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "false: %s %s\n", fact, qUtf8Printable(about.left(1000)));
    std::abort();
}

Box::Box() : directory(freshPath())
{
    expect(QDir().mkpath(persistentPrefix()) && QDir().mkpath(defaultPrefix()),
           "the directories of a run can be made");
}

Box::~Box() { QDir(directory).removeRecursively(); }

void Box::write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    expect(file.open(QFile::WriteOnly) && file.write(content) == content.size(),
           "the files of a run can be written");
}

void Box::move()
{
    const QString before = std::exchange(directory, freshPath());
    expect(QDir().rename(before, directory), "the directories of a run can be moved");
}
