// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_VALUE_H
#define STBCONFIG_TOOL_VALUE_H

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <optional>

namespace value {

/// Every character of it, a byte order mark and NUL included; nothing if it is not UTF-8.
std::optional<QString> fromUtf8(const QByteArray &bytes);

enum class Type { Text, Int, Bool, List };

QString nameOf(Type type);

bool isList(const QVariant &value);

/// A value as the texts that a file would keep, so that values of different types compare.
QStringList texts(const QVariant &value);

/// The text that an application's toString() gives; for a value that has none, its type and what it
/// holds in the way of the files, "@Size(1 2)", so that it is not taken for an empty text.
QString text(const QVariant &value);
/// Whether text() had to name the type.
bool hasNoText(const QVariant &value);

/// The value as an application's conversion sees it; nothing if it is no number.
std::optional<QVariant> converted(const QVariant &value, Type type);
/// The number as a person means it; nothing if 32 bits cannot hold it, of which Qt takes the last.
std::optional<int> wholeNumber(const QVariant &value);

/// What a file gives back for the value: a number is a text there, and a list of one too.
QVariant asRead(const QVariant &value);
/// Whether a file gives back the same for both.
bool isSame(const QVariant &a, const QVariant &b);

/// Whether a text in it looks like a secret whatever its setting is called: a password in an address,
/// "password=..." in a line that a file's open quote took in, a private key.
bool holdsSecret(const QVariant &value);

/// Everything about the value, for comparing what was read with what was read before.
QByteArray fingerprint(const QVariant &value);

} // namespace value

#endif
