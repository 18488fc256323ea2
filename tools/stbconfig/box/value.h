// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_VALUE_H
#define STBCONFIG_TOOL_VALUE_H

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <optional>

namespace value {

/// Returns every character of it, a byte order mark and NUL included; nothing if it is not UTF-8.
std::optional<QString> fromUtf8(const QByteArray &bytes);

enum class Type { Text, Int, Bool, List };

QString nameOf(Type type);

bool isList(const QVariant &value);

/// Returns the texts that a file would keep, so that values of different types compare.
QStringList texts(const QVariant &value);

/// Returns the text that an application's toString() gives. A value that has none gives its type
/// and what it holds, as the files write it, "@Size(1 2)", so that it is not taken for an empty
/// text.
QString text(const QVariant &value);
/// Tells whether text() had to name the type.
bool hasNoText(const QVariant &value);

/// Returns the value as an application's conversion sees it; nothing if that wants a number and it
/// is none.
std::optional<QVariant> converted(const QVariant &value, Type type);
/// Returns the number as a person means it. Returns nothing if 32 bits cannot hold it; Qt would
/// take the last 32.
std::optional<int> wholeNumber(const QVariant &value);

/// Returns what a file gives back for the value: a number becomes a text there, and so does a list
/// of one.
QVariant asRead(const QVariant &value);
/// Tells whether a file gives back the same for both.
bool isSame(const QVariant &a, const QVariant &b);

/// Tells whether a text in it looks like a secret whatever its setting is called: a password in an
/// address, "password=..." in a line that a file's open quote took in, a private key.
bool holdsSecret(const QVariant &value);

/// Returns everything about the value, to compare what was read with what was read before.
QByteArray fingerprint(const QVariant &value);

} // namespace value

#endif
