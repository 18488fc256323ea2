// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <QtCore/QByteArray>

#include <gtest/gtest.h>

#include <iostream>

// A suite whose name begins with "Qt" holds what Qt does by itself. Its failure says so, because whoever
// builds with a new Qt would look for the mistake in the library.

namespace {

class QtFacts : public ::testing::EmptyTestEventListener
{
    void OnTestEnd(const ::testing::TestInfo &test) override
    {
        if (test.result()->Failed() && QByteArray(test.test_suite_name()).startsWith("Qt"))
            std::cout << "This is a fact of Qt's. If only suites of this kind fail, Qt "
                      << qVersion() << " has changed it, and not the library.\n";
    }
};

[[maybe_unused]] const bool isListening = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new QtFacts);
    return true;
}();

} // namespace
