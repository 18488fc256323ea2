// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// What becomes of files that nobody would write; docs/reliability.md tells it by these names.

#include "support/settingsfixture.h"

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QtIniContent : public SettingsFixture
{
protected:
    IStorableBackend &file() { return *customStorage(); }

    void write(const QByteArray &content) const { scratch.write("data/custom.conf", content); }

    // Returns the file after one more entry has been stored in it.
    QByteArray rewritten()
    {
        file().setValue("zz", "new", 1);
        restart();
        EXPECT_THAT(handler.messages(), IsEmpty());
        return contentOf(customFile());
    }
};

TEST_F(QtIniContent, ZeroBytesAreKept)
{
    write(QByteArray("[a]\nx=1") + '\0' + "2\ny=3\n");

    EXPECT_THAT(file().value("a", "x"), IsVariant(QString("1") + QChar() + '2'));
    EXPECT_EQ(rewritten(), "[a]\nx=@String(1\\0\\x32)\ny=3\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniContent, AFileOfZeroBytesAloneIsMalformedAndReplaced)
{
    write(QByteArray(4096, '\0'));

    EXPECT_THAT(file().allKeys(), IsEmpty());
    EXPECT_FALSE(file().isValid());
    EXPECT_EQ(rewritten(), "[zz]\nnew=1\n");
}

TEST_F(QtIniContent, LineEndsOfOtherSystemsAreReadAndReplaced)
{
    write("[a]\r\nx=1\r\ny=2\r\n");

    EXPECT_THAT(file().value("a", "x"), IsText("1"));
    EXPECT_TRUE(file().isValid());
    EXPECT_EQ(rewritten(), "[a]\nx=1\ny=2\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniContent, AByteOrderMarkIsPassedOverAndLost)
{
    write("\xEF\xBB\xBF[a]\nx=1\n");

    EXPECT_THAT(file().value("a", "x"), IsText("1"));
    EXPECT_EQ(rewritten(), "[a]\nx=1\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniContent, ALineWithoutAnEqualsSignMakesTheFileMalformedAndIsLost)
{
    write("[a]\nbroken\nx=1\n[b]\ny=2\n");

    EXPECT_THAT(file().allKeys(), ElementsAre("a/x", "b/y"));
    EXPECT_THAT(file().value("a", "x"), IsText("1"));
    EXPECT_THAT(file().value("b", "y"), IsText("2"));
    EXPECT_FALSE(file().isValid());
    EXPECT_EQ(rewritten(), "[a]\nx=1\n\n[b]\ny=2\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniContent, AFileThatIsCutOffKeepsWhatIsBeforeTheCut)
{
    write("[a]\nx=1\n[b]\ny=2\nlong");

    EXPECT_THAT(file().allKeys(), ElementsAre("a/x", "b/y"));
    EXPECT_FALSE(file().isValid());
    EXPECT_EQ(rewritten(), "[a]\nx=1\n\n[b]\ny=2\n\n[zz]\nnew=1\n");
}
