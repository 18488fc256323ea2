// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "files.h"

#include "printers.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

ScratchDirectory::ScratchDirectory() { EXPECT_TRUE(directory.isValid()) << "no scratch directory"; }

QString ScratchDirectory::write(const QString &name, const QByteArray &content) const
{
    QString file = path(name);
    EXPECT_TRUE(QDir().mkpath(QFileInfo(file).path()));
    QFile written(file);
    EXPECT_TRUE(written.open(QFile::WriteOnly)) << "cannot open " << file.toStdString();
    EXPECT_EQ(written.write(content), content.size());
    return file;
}

QString ScratchDirectory::unwritablePrefix() const { return write("not-a-directory", {}) + '/'; }

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << "cannot open " << path.toStdString();
    return file.readAll();
}
