// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_SCHEMA_H
#define STBCONFIG_TESTS_FUZZ_SCHEMA_H

#include <QtCore/QJsonValue>
#include <QtCore/QString>

/// Tells whether the value is what the schema "NAME.json" of the command's folder describes.
bool fitsSchema(const QJsonValue &value, const QString &name);

#endif
