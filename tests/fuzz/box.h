// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_BOX_H
#define STBCONFIG_TESTS_FUZZ_BOX_H

#include <stbconfig/errorhandler.h>

#include <QtCore/QStringList>

#include <utility>

/// Ends the process, which is how a fuzzer learns of a failure, and says which fact was false.
void expect(bool isTrue, const char *fact, const QString &about = {});

/// The directories of one run. No two runs of a process have the same: Qt remembers what it has read
/// from a path, and written to it.
class Box
{
public:
    Box();
    ~Box();
    Q_DISABLE_COPY(Box)

    QString persistentPrefix() const { return directory + "/data/"; }
    QString defaultPrefix() const { return directory + "/etc/"; }

    /// Returns the path of the box, or of something in it.
    QString path(const QString &name = {}) const
    {
        return directory + (name.isEmpty() ? "" : "/") + name;
    }

    static void write(const QString &path, const QByteArray &content);

    /// Gives the files another path, so that Qt reads them anew.
    void move();

private:
    QString directory;
};

class MessageCollector final : public stbconfig::IErrorHandler
{
public:
    void handleError(const QString &message) override { received.append(message); }

    /// Returns what was reported since the last call.
    QStringList take() { return std::exchange(received, {}); }

private:
    QStringList received;
};

#endif
