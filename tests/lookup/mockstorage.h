// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_MOCKSTORAGE_H
#define STBCONFIG_TESTS_MOCKSTORAGE_H

#include <stbconfig/backendinterfaces.h>

#include <gmock/gmock.h>

/// A storage whose calls a test prescribes.
class MockStorage : public stbconfig::IStorableBackend
{
public:
    MOCK_METHOD(bool, isValid, (), (const, override));
    MOCK_METHOD(bool, contains, (const QString &, const QString &), (const, override));
    MOCK_METHOD(QVariant, value, (const QString &, const QString &), (const, override));
    MOCK_METHOD(QStringList, allKeys, (), (const, override));
    MOCK_METHOD(void, setValue, (const QString &, const QString &, const QVariant &), (override));
    MOCK_METHOD(void, remove, (const QString &, const QString &), (override));
};

#endif
