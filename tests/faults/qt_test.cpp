// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// The programs in qt/ still show their faults. If one does not any more, a new Qt has got better.

#include "support.h"

namespace {

int statusOf(const char *program)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(FAULTS_OF_QT + QString(program), {});
    EXPECT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return process.exitCode();
}

constexpr int isThere = 1;
const char *const advice =
    "0: this Qt has the fault no more; say so in docs/reliability.md, and keep "
    "the rows for older ones. 2: it could not be tried";

} // namespace

TEST(QtFaults, AFailedReadCountsAsAnEmptyFile)
{
    EXPECT_EQ(statusOf("failedread"), isThere) << advice;
}

TEST(QtFaults, AFullDiskEmptiesTheFile) { EXPECT_EQ(statusOf("fulldisk"), isThere) << advice; }

TEST(QtFaults, AFailedFlushIsIgnored) { EXPECT_EQ(statusOf("failedflush"), isThere) << advice; }

TEST(QtFaults, AChangeOfAnotherThreadIsForgottenAtTheEndOfAWriteBack)
{
    EXPECT_EQ(statusOf("forgottenchange"), isThere) << advice;
}
