// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef THROWAWAYBOX_H
#define THROWAWAYBOX_H

#include <QtCore/QFile>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QTemporaryDir>

// A box for one test. It has files of its own, which vanish with it, and hides the developer's variables.
class ThrowAwayBox
{
public:
    explicit ThrowAwayBox(const QByteArray &defaults = {}, const QByteArray &custom = {})
    {
        const QStringList names = QProcessEnvironment::systemEnvironment().keys();
        for (const QString &name : names) {
            if (name.startsWith("STBAPP_"))
                qunsetenv(name.toLocal8Bit().constData());
        }
        write("stbapp.conf", defaults);
        write("custom.conf", custom);
    }

    // Returns the path that serves as both prefixes of a manager.
    QString prefix() const { return m_directory.path() + '/'; }

    // Returns what the next start would find. The manager must be gone, or its event loop have turned.
    QByteArray customFile() const
    {
        QFile file(prefix() + "custom.conf");
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    void write(const QString &name, const QByteArray &content) const
    {
        QFile file(prefix() + name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("%s: cannot be written", qPrintable(file.fileName()));
    }

    QTemporaryDir m_directory;
};

#endif
