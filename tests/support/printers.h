// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_PRINTERS_H
#define STBCONFIG_TESTS_PRINTERS_H

#include <QtCore/QDebug>
#include <QtCore/QLocale>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <ostream>

// GoogleTest shows Qt's types in a failure with these. It finds them by argument-dependent look-up, so
// they stand in the global namespace, as the types do.

template <typename T>
void printDebugText(const T &value, std::ostream *out)
{
    QString text;
    QDebug(&text).nospace() << value;
    *out << text.toStdString();
}

inline void PrintTo(const QString &text, std::ostream *out)
{
    if (text.isNull())
        *out << "null ";
    printDebugText(text, out);
}

inline void PrintTo(const QVariant &value, std::ostream *out) { printDebugText(value, out); }
inline void PrintTo(const QLocale &locale, std::ostream *out) { printDebugText(locale, out); }

#endif
