// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/environment.h"
#include "support/settingsfixture.h"

using namespace stbconfig;

class Environment : public SettingsFixture
{
};

TEST_F(Environment, ReadsAVariableNamedByGroupAndKeyInUpperCase)
{
    setVariable("STBAPP_LOGGING_LEVEL", "debug");

    EXPECT_TRUE(environment()->contains("Logging", "level"));
    EXPECT_THAT(environment()->value("Logging", "level"), IsText("debug"));
    EXPECT_THAT(environment()->value("LOGGING", "LEVEL"), IsText("debug"));
}

TEST_F(Environment, PutsNoSeparatorBetweenTheWordsOfAKey)
{
    setVariable("STBAPP_LOGGING_RESPONSELENGTHLIMIT", "512");
    setVariable("STBAPP_LOGGING_RESPONSE_LENGTH_LIMIT", "other");

    EXPECT_THAT(environment()->value("Logging", "responseLengthLimit"), IsText("512"));
}

TEST_F(Environment, KeepsTheSeparatorOfAnEmptyName)
{
    setVariable("STBAPP__LOCALE", "no group");
    setVariable("STBAPP_PROFILE_", "no key");
    setVariable("STBAPP__", "neither");

    EXPECT_THAT(environment()->value("", "locale"), IsText("no group"));
    EXPECT_THAT(environment()->value("Profile", ""), IsText("no key"));
    EXPECT_THAT(environment()->value("", ""), IsText("neither"));
    EXPECT_THAT(environment()->value(QString(), QString()), IsText("neither"));
}

TEST_F(Environment, ReplacesNoCharacterOfAName)
{
    setVariable("STBAPP_A B/C.D-E_F[`{9", "odd");

    EXPECT_THAT(environment()->value("a b/c.d-e", "f[`{9"), IsText("odd"));
}

TEST_F(Environment, TwoSettingsCanShareAVariable)
{
    setVariable("STBAPP_A_B_C", "shared");

    EXPECT_THAT(environment()->value("a_b", "c"), IsText("shared"));
    EXPECT_THAT(environment()->value("a", "b_c"), IsText("shared"));
}

TEST_F(Environment, UpperCasesNamesBeyondAscii)
{
    setVariable("STBAPP_ВИДЕО_ВЫХОД", "hdmi");
    setVariable("STBAPP_STRASSE_ÉTÉ", "summer");

    EXPECT_THAT(environment()->value("Видео", "выход"), IsText("hdmi"));
    EXPECT_THAT(environment()->value("straße", "été"), IsText("summer"));
}

TEST_F(Environment, DoesNotFindAVariableInLowerCase)
{
    setVariable("stbapp_logging_level", "debug");

    EXPECT_FALSE(environment()->contains("Logging", "level"));
    EXPECT_FALSE(environment()->contains("logging", "level"));
}

TEST_F(Environment, DoesNotFindAVariableWithoutThePrefix)
{
    setVariable("LOGGING_LEVEL", "debug");

    EXPECT_FALSE(environment()->contains("Logging", "level"));
    qunsetenv("LOGGING_LEVEL");
}

TEST_F(Environment, AnEmptyVariableIsHeldAndNotNull)
{
    setVariable("STBAPP_LOGGING_LEVEL", "");

    EXPECT_TRUE(environment()->contains("Logging", "level"));
    EXPECT_THAT(environment()->value("Logging", "level"), IsEmptyText());
}

TEST_F(Environment, AnAbsentVariableIsANullText)
{
    EXPECT_FALSE(environment()->contains("Logging", "level"));
    EXPECT_THAT(environment()->value("Logging", "level"), IsNullText());
}

TEST_F(Environment, PassesItsTextsOnAsTheyAre)
{
    setVariable("STBAPP_TEXT_NUMBER", "42");
    setVariable("STBAPP_TEXT_SPACED", "  a, \"b\" = c  ");
    setVariable("STBAPP_TEXT_CYRILLIC", "Привет");

    EXPECT_THAT(environment()->value("text", "number"), IsText("42"));
    EXPECT_THAT(environment()->value("text", "spaced"), IsText("  a, \"b\" = c  "));
    EXPECT_THAT(environment()->value("text", "cyrillic"), IsText("Привет"));
}

TEST_F(Environment, AVariableIsATextWhateverItHolds)
{
    for (const char *text : {"@Variant(\\0\\0\\0\\x11\\0\\0\\0\\x3q:r)", "@ByteArray(1)",
                             "@Invalid()", "a, b", "\"quoted\"", "\\x41"}) {
        setVariable("STBAPP_A_X", text);
        EXPECT_THAT(valueOf("a", "x"), IsText(text));
        restart();
    }
}

TEST_F(Environment, ListsEveryVariableOfTheProcessUnderItsOwnName)
{
    setVariable("STBAPP_LOGGING_LEVEL", "debug");
    setVariable("stbapp_lower", "also listed");
    const QStringList names = environment()->allKeys();

    EXPECT_THAT(
        names,
        ::testing::UnorderedElementsAreArray(QProcessEnvironment::systemEnvironment().keys()));
    EXPECT_THAT(names, ::testing::IsSupersetOf({"STBAPP_LOGGING_LEVEL", "stbapp_lower", "PATH"}));
}

TEST_F(Environment, CannotBeWritten)
{
    EXPECT_EQ(dynamic_cast<IStorableBackend *>(environment()), nullptr);
}
