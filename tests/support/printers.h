// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_PRINTERS_H
#define STBCONFIG_TESTS_PRINTERS_H

#include <QtCore/QDebug>
#include <QtCore/QLocale>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <ostream>

// How GoogleTest shows Qt's types in a failure. Found by argument-dependent look-up, and therefore
// in the global namespace as the types are.

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
