// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QPoint>
#include <QtCore/QSize>

#include <limits>

using namespace stbconfig;
using ::testing::ElementsAre;

// Settings are written through one manager and read through another. Qt remembers, within one
// process, what it wrote to a path and read from it, so the file goes to a new path in between.
class QtPersistence : public SettingsFixture
{
protected:
    QVariant writtenAndReadBack(const QVariant &value)
    {
        customStorage()->setValue("Group", "key", value);
        restart();
        const QString directory = QString("moved %1/").arg(++moves);
        scratch.write(directory + "custom.conf", contentOf(customFile()));
        ConfigurationManager second(scratch.path(directory), defaultPrefix(), &handler);
        const IReadableBackend *file = second.readOnlyStorage(CustomConfPersistent);
        EXPECT_TRUE(file->contains("Group", "key"));
        EXPECT_TRUE(file->isValid());
        return file->value("Group", "key");
    }

private:
    int moves = 0;
};

TEST_F(QtPersistence, KeepsTexts)
{
    const QString texts[] = {"hdmi",
                             " leading and trailing ",
                             "a, b; c = \"d\" \\ e",
                             "two\nlines\tand\ra tab",
                             QString::fromUtf8("Ünï©ødé Привет 日本 😀"),
                             "@at the start",
                             "100%",
                             "true",
                             "[section]",
                             "# no comment"};
    for (const QString &text : texts)
        EXPECT_THAT(writtenAndReadBack(text), IsVariant(text));
}

TEST_F(QtPersistence, KeepsAnEmptyText) { EXPECT_THAT(writtenAndReadBack(""), IsEmptyText()); }

TEST_F(QtPersistence, ReturnsANullTextAsAnEmptyOne)
{
    EXPECT_THAT(writtenAndReadBack(QString()), IsEmptyText());
}

TEST_F(QtPersistence, ReturnsNumbersAsTexts)
{
    EXPECT_THAT(writtenAndReadBack(0), IsText("0"));
    EXPECT_THAT(writtenAndReadBack(-7), IsText("-7"));
    EXPECT_THAT(writtenAndReadBack(std::numeric_limits<qlonglong>::min()),
                IsText("-9223372036854775808"));
    EXPECT_THAT(writtenAndReadBack(std::numeric_limits<qulonglong>::max()),
                IsText("18446744073709551615"));
    EXPECT_EQ(writtenAndReadBack(0.1).toDouble(), 0.1);
}

TEST_F(QtPersistence, ReturnsBooleansAsTexts)
{
    EXPECT_THAT(writtenAndReadBack(true), IsText("true"));
    EXPECT_THAT(writtenAndReadBack(false), IsText("false"));
}

TEST_F(QtPersistence, KeepsListsOfTexts)
{
    const QStringList list = {"a", "", "b, c", QString::fromUtf8("ж")};

    EXPECT_THAT(writtenAndReadBack(list), IsVariant(list));
}

TEST_F(QtPersistence, ReturnsAListOfOneAsItsText)
{
    EXPECT_THAT(writtenAndReadBack(QStringList("alone")), IsText("alone"));
}

TEST_F(QtPersistence, ReturnsAnEmptyListAsAnInvalidValue)
{
    EXPECT_THAT(writtenAndReadBack(QStringList()), IsInvalid());
    EXPECT_THAT(writtenAndReadBack(QVariantList()), IsInvalid());
}

TEST_F(QtPersistence, ReturnsAListOfTextsNumbersAndBooleansAsTexts)
{
    EXPECT_THAT(writtenAndReadBack(QVariantList{"a", 7, true}),
                IsVariant(QStringList{"a", "7", "true"}));
}

TEST_F(QtPersistence, ReturnsTheNumbersOfAnyOtherListAsTextsInIt)
{
    const QVariantList list =
        writtenAndReadBack(QVariantList{7, QByteArray("bytes"), QVariant()}).toList();

    ASSERT_EQ(list.size(), 3);
    EXPECT_THAT(list.at(0), IsText("7"));
    EXPECT_THAT(list.at(1), IsVariant(QByteArray("bytes")));
    EXPECT_THAT(list.at(2), IsInvalid());
}

TEST_F(QtPersistence, KeepsAListOfOneThatIsNoListOfTexts)
{
    const QVariant list = writtenAndReadBack(QVariantList{7});

    EXPECT_THAT(list, IsVariant(QVariantList{7}));
    EXPECT_THAT(list.toList().value(0), IsVariant(7));
}

TEST_F(QtPersistence, ReturnsTextsOfWhichOneHoldsANulAsAListOfVariants)
{
    const QString nul(1, QChar());

    EXPECT_THAT(writtenAndReadBack(QStringList{nul, "b"}), IsVariant(QVariantList{nul, "b"}));
}

TEST_F(QtPersistence, ReturnsADateBeforeTheJulianDaysAsAnotherInsideAListOrMap)
{
    const QDateTime date({-5000, 1, 1}, {12, 30}, Qt::UTC);

    EXPECT_THAT(writtenAndReadBack(date), IsVariant(date));
    EXPECT_NE(writtenAndReadBack(QVariantList{date}), QVariant(QVariantList{date}));
    EXPECT_NE(writtenAndReadBack(QVariantMap{{"key", date}}), QVariant(QVariantMap{{"key", date}}));
}

TEST_F(QtPersistence, KeepsBytes)
{
    const QByteArray bytes("\0\x01\xff,;\"\n", 7);

    EXPECT_THAT(writtenAndReadBack(bytes), IsVariant(bytes));
}

TEST_F(QtPersistence, KeepsSizesAndPoints)
{
    EXPECT_THAT(writtenAndReadBack(QSize(1920, 1080)), IsVariant(QSize(1920, 1080)));
    EXPECT_THAT(writtenAndReadBack(QPoint(-1, 2)), IsVariant(QPoint(-1, 2)));
}

TEST_F(QtPersistence, KeepsMapsAndDates)
{
    const QVariantMap map = {{"name", "news"}, {"number", 7}};
    const QDateTime date({2026, 11, 20}, {12, 30}, Qt::UTC);

    EXPECT_THAT(writtenAndReadBack(map), IsVariant(map));
    EXPECT_THAT(writtenAndReadBack(date), IsVariant(date));
}

TEST_F(QtPersistence, ReturnsAnInvalidValueAsAnInvalidOneThatIsHeld)
{
    EXPECT_THAT(writtenAndReadBack(QVariant()), IsInvalid());
}

TEST_F(QtPersistence, KeepsNamesOfAnyCharacters)
{
    struct Name
    {
        QString group;
        QString key;
    };
    const Name names[] = {{"a b", "c d"},
                          {"A=B", "c;d#e\"f"},
                          {QString::fromUtf8("Видео"), QString::fromUtf8("выход")},
                          {"100%", "%41"},
                          {"[x]", "y\nz"}};
    for (const Name &name : names)
        customStorage()->setValue(name.group, name.key, name.key);
    restart();
    scratch.write("moved/custom.conf", contentOf(customFile()));
    ConfigurationManager second(scratch.path("moved/"), defaultPrefix(), nullptr);

    for (const Name &name : names)
        EXPECT_THAT(second.value(name.group, name.key, {}), IsVariant(name.key));
}

TEST_F(QtPersistence, ReturnsTheGroupGeneralInThisSpellingOnly)
{
    customStorage()->setValue("GENERAL", "x", 1);
    customStorage()->setValue("GENERAL", "y", 2);
    customStorage()->setValue("general", "x", 3);
    restart();
    scratch.write("moved/custom.conf", contentOf(customFile()));
    const ConfigurationManager second(scratch.path("moved/"), defaultPrefix(), nullptr);
    const IReadableBackend *file = second.readOnlyStorage(CustomConfPersistent);

    EXPECT_THAT(file->allKeys(), ElementsAre("General/x", "General/y"));
    EXPECT_THAT(file->value("General", "x"), IsText("3"));
}

TEST_F(QtPersistence, LosesAStorageWhoseNameIsTooLongForAFile)
{
    const QString name(256, 'x');
    IStorableBackend *storage = manager().independentStorage(name);
    storage->setValue("Video", "output", "hdmi");
    EXPECT_THAT(storage->value("Video", "output"), IsText("hdmi"));
    EXPECT_TRUE(storage->isValid());
    restart();

    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
    EXPECT_THAT(QDir(persistentPrefix()).entryList(QDir::Files | QDir::Hidden),
                ::testing::IsEmpty());
}

TEST_F(QtPersistence, KeepsTheEntriesThatWereNotChanged)
{
    writeCustomFile("[Audio]\nvolume=7\n[Video]\noutput=hdmi\nrate=50\n");
    customStorage()->setValue("Video", "output", "scart");
    restart();

    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\nrate=50\n");
}

TEST_F(QtPersistence, ASecondManagerSeesAChangeBeforeItIsWritten)
{
    ConfigurationManager second(persistentPrefix(), defaultPrefix(), nullptr);
    customStorage()->setValue("Video", "output", "scart");

    EXPECT_THAT(second.value("Video", "output", {}), IsText("scart"));
}

TEST_F(QtPersistence, AWriteReplacesTheFileAsAWhole)
{
    writeCustomFile("[Video]\noutput=hdmi\n");
    QFile before(customFile());
    ASSERT_TRUE(before.open(QIODevice::ReadOnly));
    customStorage()->setValue("Video", "output", "scart");
    restart();

    EXPECT_EQ(before.readAll(), "[Video]\noutput=hdmi\n");
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
    EXPECT_THAT(QDir(persistentPrefix()).entryList(QDir::Files | QDir::Hidden),
                ElementsAre("custom.conf"));
}

TEST_F(QtPersistence, KeepsWhatOthersWroteMeanwhile)
{
    writeCustomFile("[Video]\noutput=hdmi\nrate=50\n");
    customStorage()->setValue("Video", "output", "scart");
    writeCustomFile("[Video]\noutput=vga\nrate=60\n[Audio]\nvolume=7\n");
    restart();

    EXPECT_EQ(contentOf(customFile()), "[Audio]\nvolume=7\n\n[Video]\noutput=scart\nrate=60\n");
}

TEST_F(QtPersistence, SeesWhatOthersWroteWhenItWritesItself)
{
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    writeCustomFile("[Video]\nrate=50\n");
    EXPECT_THAT(valueOf("Video", "rate"), IsText("50"));

    writeCustomFile("[Video]\nrate=60.0\n");
    QCoreApplication::processEvents();
    EXPECT_THAT(valueOf("Video", "rate"), IsText("50"));

    customStorage()->setValue("Video", "output", "scart");
    QCoreApplication::processEvents();
    EXPECT_THAT(valueOf("Video", "rate"), IsText("60.0"));
}
