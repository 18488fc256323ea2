// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// A person who edits the files by hand must know these facts; docs/ini-files.md tells them by these names.

#include "support/qtdifferences.h"
#include "support/settingsfixture.h"

#include <QtCore/QSize>

using namespace stbconfig;
using ::testing::ElementsAre;

class QtIniSyntax : public SettingsFixture
{
protected:
    IStorableBackend &file() { return *customStorage(); }

    QByteArray rewritten(const char *content)
    {
        writeCustomFile(content);
        file().setValue("zz", "new", 1);
        restart();
        return contentOf(customFile());
    }
};

TEST_F(QtIniSyntax, CommentsAndBlankLinesAreLostWhenTheFileIsRewritten)
{
    EXPECT_EQ(rewritten("; one\n[a]\n; two\n\nx=1\n"), "[a]\nx=1\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniSyntax, SectionsAndEntriesAreSortedWhenTheFileIsRewritten)
{
    EXPECT_EQ(rewritten("[b]\ny=1\nx=2\n[a]\nz=3\n"), "[a]\nz=3\n\n[b]\nx=2\ny=1\n\n[zz]\nnew=1\n");
}

TEST_F(QtIniSyntax, ASemicolonStartsAComment)
{
    writeCustomFile("[a]\n  ; one=1\nx=1 ; two\ny=\"1 ; two\"\n");

    EXPECT_THAT(file().allKeys(), ElementsAre("a/x", "a/y"));
    EXPECT_THAT(file().value("a", "x"), IsText("1"));
    EXPECT_THAT(file().value("a", "y"), IsText("1 ; two"));
}

TEST_F(QtIniSyntax, AHashStartsNoComment)
{
    writeCustomFile("[a]\n# x=1\ny=#2\n");

    EXPECT_THAT(file().allKeys(), ElementsAre("a/# x", "a/y"));
    EXPECT_THAT(file().value("a", "y"), IsText("#2"));
    EXPECT_TRUE(file().isValid());
    restart();
    writeCustomFile("[a]\n# a remark\ny=2\n");
    EXPECT_THAT(file().value("a", "y"), IsText("2"));
    EXPECT_FALSE(file().isValid());
}

TEST_F(QtIniSyntax, BlanksAroundNamesAndValuesAreDropped)
{
    writeCustomFile("[ a ]\n  x  =  1  \ny = \" 2 \"\n");

    EXPECT_THAT(file().value("a", "x"), IsText("1"));
    EXPECT_THAT(file().value("a", "y"), IsText(" 2 "));
}

TEST_F(QtIniSyntax, ACommaMakesAListUnlessItIsQuoted)
{
    writeCustomFile("[a]\nx=1, 2\ny=\"1, 2\"\n");

    EXPECT_THAT(file().value("a", "x"), IsVariant(QStringList{"1", "2"}));
    EXPECT_THAT(file().value("a", "y"), IsText("1, 2"));
    EXPECT_EQ(file().value("a", "x").toString(), QString());
}

TEST_F(QtIniSyntax, ABackslashEscapesInsideAndOutsideOfQuotes)
{
    writeCustomFile("[a]\nx=C:\\new\\x41\ny=\"C:\\\\new\"\n");

    EXPECT_THAT(file().value("a", "x"), IsText("C:\newA"));
    EXPECT_THAT(file().value("a", "y"), IsText("C:\\new"));
}

TEST_F(QtIniSyntax, APercentSignEscapesInNamesAndNotInValues)
{
    writeCustomFile("[a%20b]\nx%2Fy=50%20\n");

    EXPECT_THAT(file().value("a b", "x/y"), IsText("50%20"));
    EXPECT_THAT(file().allKeys(), ElementsAre("a b/x/y"));
}

TEST_F(QtIniSyntax, AnEntryThatBeginsWithASlashIsListedAndCannotBeReached)
{
    writeCustomFile("[a]\n\\x=1\n%2Fy=2\n");

    EXPECT_THAT(file().allKeys(), ElementsAre("a//x", "a//y"));
    EXPECT_FALSE(file().contains("a", "/x"));
    EXPECT_FALSE(file().contains("a", "x"));
}

TEST_F(QtIniSyntax, OfARepeatedEntryTheLastOneCountsAndSectionsAreJoined)
{
    writeCustomFile("[a]\nx=1\n[b]\ny=2\n[a]\nx=3\nz=4\n");

    EXPECT_THAT(file().value("a", "x"), IsText("3"));
    EXPECT_THAT(file().allKeys(), ElementsAre("a/x", "a/z", "b/y"));
    file().remove("a", "z");
    restart();
    EXPECT_EQ(contentOf(customFile()), "[a]\nx=3\n\n[b]\ny=2\n");
}

TEST_F(QtIniSyntax, AnEntryWithoutAValueIsAnEmptyText)
{
    writeCustomFile("[a]\nx=\n");

    EXPECT_TRUE(file().contains("a", "x"));
    EXPECT_THAT(file().value("a", "x"), IsEmptyText());
}

TEST_F(QtIniSyntax, EveryWordButFalseAndZeroIsTrue)
{
    for (const char *word : {"true", "1", "yes", "on", "no", "off", "disabled", "2", "False "}) {
        SCOPED_TRACE(word);
        writeCustomFile((QByteArray("[a]\nx=\"") + word + "\"\n").constData());
        EXPECT_TRUE(file().value("a", "x").toBool());
        restart();
    }
    for (const char *word : {"false", "FALSE", "0", ""}) {
        SCOPED_TRACE(word);
        writeCustomFile((QByteArray("[a]\nx=\"") + word + "\"\n").constData());
        EXPECT_FALSE(file().value("a", "x").toBool());
        restart();
    }
}

TEST_F(QtIniSyntax, BytesBeyondAsciiAreReadAsLatin1OrUtf8)
{
    writeCustomFile("[a]\nlatin=\xE9\nutf=\xC3\xA9\n");

    EXPECT_THAT(file().value("a", "latin"), IsText(qtdifferences::iniFilesAreUtf8 ? "" : "é"));
    EXPECT_THAT(file().value("a", "utf"), IsText(qtdifferences::iniFilesAreUtf8 ? "é" : "Ã©"));
}

TEST_F(QtIniSyntax, TextBeyondAsciiIsWrittenAsEscapesOrUtf8)
{
    file().setValue("a", "x", QString::fromUtf8("é"));
    restart();

    EXPECT_EQ(contentOf(customFile()),
              qtdifferences::iniFilesAreUtf8 ? "[a]\nx=\xC3\xA9\n" : "[a]\nx=\\xe9\n");
}

TEST_F(QtIniSyntax, ASectionGeneralIsTheEmptyGroupAndPercentGeneralTheGroupOfThatName)
{
    file().setValue("General", "x", 1);
    file().setValue("", "x", 2);
    restart();

    EXPECT_EQ(contentOf(customFile()), "[General]\nx=2\n\n[%General]\nx=1\n");
}

TEST_F(QtIniSyntax, TypedValuesAreBuiltByWhoeverReadsThem)
{
    writeCustomFile(
        "[a]\nbytes=@ByteArray(1\\0\\x32)\nsize=@Size(2 3)\nat=@@Size(2 3)\nno=@Nothing(1)\n"
        "invalid=@Invalid()\n");

    EXPECT_THAT(file().value("a", "bytes"),
                IsVariant(QByteArray("1\0"
                                     "2",
                                     3)));
    EXPECT_THAT(file().value("a", "size"), IsVariant(QSize(2, 3)));
    EXPECT_THAT(file().value("a", "at"), IsText("@Size(2 3)"));
    EXPECT_THAT(file().value("a", "no"), IsText("@Nothing(1)"));
    EXPECT_THAT(file().value("a", "invalid"), IsInvalid());
    EXPECT_TRUE(file().contains("a", "invalid"));
}
