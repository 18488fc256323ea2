// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Files that nobody would write, and files that are too large.

#include "support.h"

#include <QtCore/QFile>

using ::testing::IsEmpty;

class ContentFaults : public FaultsFixture
{
protected:
    void writeFile(const QByteArray &content) const { scratch.write("data/custom.conf", content); }

    // Returns the file after an application has read all of it and has changed it.
    QByteArray rewritten(const QByteArray &content) const
    {
        writeFile(content);
        Application application;
        open(application);
        application.ask({"keys"});
        application.set("zz", "new", "1");
        application.exit();
        return contentOf(customFile());
    }
};

TEST_F(ContentFaults, ZeroBytesAreKept)
{
    EXPECT_EQ(rewritten(QByteArray("[a]\nx=1") + '\0' + "2\ny=3\n"),
              "[a]\nx=@String(1\\0\\x32)\ny=3\n\n[zz]\nnew=1\n");
}

TEST_F(ContentFaults, AFileOfZeroBytesAloneIsMalformed)
{
    writeFile(QByteArray(4096, '\0'));
    Application application;
    openAndChange(application);

    EXPECT_FALSE(application.isValid());
    EXPECT_THAT(application.reports(), IsEmpty());
    application.exit();
    EXPECT_EQ(onDisk("Video", "output"), "scart");
}

TEST_F(ContentFaults, LineEndsOfOtherSystemsAreReplaced)
{
    EXPECT_EQ(rewritten("[a]\r\nx=1\r\n"), "[a]\nx=1\n\n[zz]\nnew=1\n");
}

TEST_F(ContentFaults, AByteOrderMarkIsLost)
{
    EXPECT_EQ(rewritten("\xEF\xBB\xBF[a]\nx=1\n"), "[a]\nx=1\n\n[zz]\nnew=1\n");
}

TEST_F(ContentFaults, SectionsOfOneNameAreJoined)
{
    EXPECT_EQ(rewritten("[a]\nx=1\n[b]\ny=2\n[a]\nx=3\n"), "[a]\nx=3\n\n[b]\ny=2\n\n[zz]\nnew=1\n");
}

TEST_F(ContentFaults, ALineWithoutAnEqualsSignIsDroppedByTheNextWrite)
{
    EXPECT_EQ(rewritten("[a]\nbroken\nx=1\n"), "[a]\nx=1\n\n[zz]\nnew=1\n");
}

TEST_F(ContentFaults, AFileThatIsCutOffKeepsWhatIsBeforeTheCut)
{
    EXPECT_EQ(rewritten("[a]\nx=1\n[b]\ny=2\nlong"), "[a]\nx=1\n\n[b]\ny=2\n\n[zz]\nnew=1\n");
}

class SizeFaults : public FaultsFixture
{
};

TEST_F(SizeFaults, ALargeValueIsReadAndWritten)
{
    const int size = (isLongForm() ? 100 : 10) * 1024 * 1024;
    writeCustomFile("");
    {
        QFile file(customFile());
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write("[Large]\nvalue=" + QByteArray(size, 'x') + '\n'), size + 15);
    }
    Application application;
    openAndChange(application);

    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_EQ(QFile(customFile()).size(), size + 15 + 22);
    Application fresh;
    open(fresh);
    EXPECT_EQ(fresh.ask({"length", "Large", "value"}), size);
}

TEST_F(SizeFaults, ManyEntriesAreReadAndWritten)
{
    const int count = isLongForm() ? 1000000 : 100000;
    QByteArray content = "[Many]\n";
    for (int i = 0; i < count; ++i)
        content += 'k' + QByteArray::number(i) + "=1\n";
    scratch.write("data/custom.conf", content);
    Application application;
    openAndChange(application);

    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(application.ask({"keys"}), count + 1);
    application.exit();
    EXPECT_EQ(onDisk("Many", QString("k%1").arg(count - 1)), "1");
    EXPECT_EQ(onDisk("Video", "output"), "scart");
}
