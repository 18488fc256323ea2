// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

using namespace stbconfig;

class DefaultLocale : public SettingsFixture
{
};

TEST_F(DefaultLocale, IsRussianWhenNothingIsConfigured)
{
    EXPECT_EQ(manager().defaultLocale(), QLocale("ru"));
    EXPECT_EQ(manager().defaultLocale().language(), QLocale::Russian);
}

TEST_F(DefaultLocale, ComesFromTheDefaultFile)
{
    hold(StbappConfDefault, "Profile", "locale", "de_AT");

    EXPECT_EQ(manager().defaultLocale(), QLocale(QLocale::German, QLocale::Austria));
}

TEST_F(DefaultLocale, CustomFileWinsOverTheDefaultFile)
{
    hold(StbappConfDefault, "Profile", "locale", "de_AT");
    hold(CustomConfPersistent, "Profile", "locale", "fr_CA");

    EXPECT_EQ(manager().defaultLocale(), QLocale(QLocale::French, QLocale::Canada));
}

TEST_F(DefaultLocale, ComesFromTheEnvironment)
{
    hold(EnvironmentVariables, "Profile", "locale", "pl_PL");

    EXPECT_EQ(manager().defaultLocale(), QLocale(QLocale::Polish, QLocale::Poland));
}

TEST_F(DefaultLocale, IsLookedUpAnewAtEachCall)
{
    EXPECT_EQ(manager().defaultLocale(), QLocale("ru"));

    temporaryStorage()->setValue("Profile", "locale", "it_IT");

    EXPECT_EQ(manager().defaultLocale(), QLocale(QLocale::Italian, QLocale::Italy));
}

TEST_F(DefaultLocale, AnEmptyTextIsNotReplacedByRussian)
{
    hold(EnvironmentVariables, "Profile", "locale", "");

    EXPECT_EQ(manager().defaultLocale(), QLocale(QString()));
    EXPECT_EQ(manager().defaultLocale().language(), QLocale::C);
}

TEST_F(DefaultLocale, AnUnknownTextIsNotReplacedByRussian)
{
    hold(StbappConfDefault, "Profile", "locale", "no such locale");

    EXPECT_EQ(manager().defaultLocale().language(), QLocale::C);
}

TEST_F(DefaultLocale, TakesTheTextOfAValueOfAnotherType)
{
    temporaryStorage()->setValue("Profile", "locale", QByteArray("uk_UA"));
    EXPECT_EQ(manager().defaultLocale(), QLocale(QLocale::Ukrainian, QLocale::Ukraine));

    temporaryStorage()->setValue("Profile", "locale", 7);
    EXPECT_EQ(manager().defaultLocale().language(), QLocale::C);
}

TEST_F(DefaultLocale, DependsOnTheExactSpellingOfItsSetting)
{
    hold(StbappConfDefault, "profile", "locale", "de_AT");
    hold(StbappConfDefault, "Profile", "Locale", "de_AT");

    EXPECT_EQ(manager().defaultLocale(), QLocale("ru"));
}

TEST_F(DefaultLocale, LeavesTheProcessLocaleAlone)
{
    hold(StbappConfDefault, "Profile", "locale", "de_AT");
    const QLocale before;

    manager().defaultLocale();

    EXPECT_EQ(QLocale(), before);
}
