// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_RECORDINGHANDLER_H
#define STBCONFIG_TESTS_RECORDINGHANDLER_H

#include <stbconfig/errorhandler.h>

#include <QtCore/QMutex>
#include <QtCore/QStringList>

/// Keeps every message, from any thread.
class RecordingHandler final : public stbconfig::IErrorHandler
{
public:
    void handleError(const QString &message) override
    {
        const QMutexLocker locker(&mutex);
        received.append(message);
    }

    QStringList messages() const
    {
        const QMutexLocker locker(&mutex);
        return received;
    }

private:
    mutable QMutex mutex;
    QStringList received;
};

#endif
