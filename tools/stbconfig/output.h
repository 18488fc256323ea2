// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_OUTPUT_H
#define STBCONFIG_TOOL_OUTPUT_H

#include "options.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtCore/QVector>

// What the commands print, and how: for a person, for a shell or as JSON.
namespace output {

/// One line on stdout.
void line(const QString &text);
void record(const QString &text, const Options &options);
/// One line on stderr.
void complain(const QString &thing, const QString &whatHappened, const QString &whatToDo);
void note(const QString &thing, const QString &text);

void json(const QJsonObject &object);
void json(const QJsonArray &array);

/// A text, or an array for a list; masked like shown().
QJsonValue jsonValue(const Address &address, const QVariant &value, const Options &options);

/// A value for a person: in one line, lists as "a, b", secrets as asterisks.
QString shown(const Address &address, const QVariant &value, const Options &options);
/// The same for scripts: line breaks stay, because the record ends in NUL.
QString plain(const QVariant &value);

bool isSecret(const QString &key);
QString bold(const QString &text);

/// Rows in columns; on a terminal, the last column is cut where the line ends.
void table(const QVector<QStringList> &rows);

} // namespace output

#endif
