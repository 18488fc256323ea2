// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_ENVIRONMENT_H
#define STBCONFIG_TESTS_ENVIRONMENT_H

#include <QtCore/QProcessEnvironment>

inline void setVariable(const QByteArray &name, const QByteArray &text)
{
    qputenv(name.constData(), text);
}

/// Removes every variable that could be a setting, the developer's own included.
inline void clearVariables()
{
    const QStringList names = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &name : names) {
        if (name.startsWith("STBAPP_", Qt::CaseInsensitive))
            qunsetenv(name.toLocal8Bit().constData());
    }
}

#endif
