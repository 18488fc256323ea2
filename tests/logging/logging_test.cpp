// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <stbconfig/logsconfigwrapper.h>

#include <QtCore/QFile>

#include <limits>
#include <utility>

using namespace stbconfig;
using ::testing::IsEmpty;

class Logging : public SettingsFixture
{
protected:
    void TearDown() override { EXPECT_THAT(handler.messages(), IsEmpty()); }

    void inCustomFile(const char *key, const char *text)
    {
        hold(CustomConfPersistent, "Logging", key, text);
    }

    void inDefaultFile(const char *key, const char *text)
    {
        hold(StbappConfDefault, "Logging", key, text);
    }

    LogsConfigWrapper logging() { return LogsConfigWrapper(manager()); }

    void setCommandLineLevel(int level)
    {
        stbui::CmdLineArgs args;
        args.logLevel = level;
        manager().setCmdLineArgs(args);
    }
};

TEST_F(Logging, HasItsFallbacksWhenNothingIsConfigured)
{
    EXPECT_EQ(logging().level(), 0);
    EXPECT_EQ(logging().responseLengthLimit(), 0);
    EXPECT_FALSE(logging().jsonFormattingEnabled());
    EXPECT_FALSE(logging().imageRequestsEnabled());
}

TEST_F(Logging, NamesSixLevels)
{
    const QHash<QString, int> expected = {{"critical", 0}, {"error", 1}, {"warning", 2},
                                          {"info", 3},     {"debug", 4}, {"trace", 5}};

    EXPECT_EQ(LogsConfigWrapper::stringLevelToIntLevel(), expected);
}

TEST_F(Logging, GivesEachCallerALevelTableOfItsOwn)
{
    QHash<QString, int> mine = LogsConfigWrapper::stringLevelToIntLevel();
    mine.insert("verbose", 6);

    EXPECT_EQ(LogsConfigWrapper::stringLevelToIntLevel().size(), 6);
}

struct LevelText
{
    const char *text;
    int level;
};

void PrintTo(const LevelText &example, std::ostream *out) { *out << '"' << example.text << '"'; }

class StoredLevel : public Logging, public ::testing::WithParamInterface<LevelText>
{
};

INSTANTIATE_TEST_SUITE_P(
    Reads, StoredLevel,
    ::testing::Values(LevelText{"critical", 0}, LevelText{"error", 1}, LevelText{"warning", 2},
                      LevelText{"info", 3}, LevelText{"debug", 4}, LevelText{"trace", 5},
                      // names are compared exactly
                      LevelText{"DEBUG", 0}, LevelText{"Trace", 0}, LevelText{"\" trace\"", 0},
                      LevelText{"verbose", 0}, LevelText{"", 0},
                      // numbers
                      LevelText{"0", 0}, LevelText{"1", 1}, LevelText{"4", 4}, LevelText{"5", 5},
                      LevelText{"\" 4 \"", 4}, LevelText{"6", 1}, LevelText{"42", 1},
                      LevelText{"4294967295", 1},
                      // numbers beyond 32 bits wrap, beyond 64 bits they are none
                      LevelText{"4294967299", 3}, LevelText{"18446744073709551616", 0},
                      // texts that are no unsigned number
                      LevelText{"-1", 0}, LevelText{"4.5", 0}, LevelText{"0x4", 0},
                      LevelText{"4,5", 0}));

TEST_P(StoredLevel, FromTheCustomFile)
{
    inCustomFile("level", GetParam().text);

    EXPECT_EQ(logging().level(), GetParam().level);
}

TEST_P(StoredLevel, FromTheDefaultFile)
{
    inDefaultFile("level", GetParam().text);

    EXPECT_EQ(logging().level(), GetParam().level);
}

TEST_F(Logging, LevelComesFromTheCustomFileFirst)
{
    inCustomFile("level", "trace");
    inDefaultFile("level", "warning");

    EXPECT_EQ(logging().level(), 5);
}

TEST_F(Logging, LevelComesFromTheDefaultFileSecond)
{
    inDefaultFile("level", "warning");

    EXPECT_EQ(logging().level(), 2);
}

TEST_F(Logging, AnUnusableCustomLevelIsNotReplacedByTheDefaultFiles)
{
    inCustomFile("level", "bogus");
    inDefaultFile("level", "warning");

    EXPECT_EQ(logging().level(), 0);
}

TEST_F(Logging, AnEmptyCustomLevelIsNotReplacedByTheDefaultFiles)
{
    inCustomFile("level", "");
    inDefaultFile("level", "warning");

    EXPECT_EQ(logging().level(), 0);
}

TEST_F(Logging, ACommandLineLevelWinsOverTheStoredOnes)
{
    inCustomFile("level", "trace");
    for (int level = 0; level <= 5; ++level) {
        setCommandLineLevel(level);
        EXPECT_EQ(logging().level(), level);
    }
}

TEST_F(Logging, ACommandLineLevelOutsideZeroToFiveIsIgnored)
{
    inCustomFile("level", "trace");
    for (const int level :
         {-1, 6, 7, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        setCommandLineLevel(level);
        EXPECT_EQ(logging().level(), 5) << level;
    }
}

TEST_F(Logging, StoringALevelLeavesTheCommandLineInForce)
{
    setCommandLineLevel(2);
    logging().setLevel(5);
    EXPECT_EQ(logging().level(), 2);
    EXPECT_EQ(manager().cmdLineArgs().logLevel, 2);

    setCommandLineLevel(-1);
    EXPECT_EQ(logging().level(), 5);
}

TEST_F(Logging, StoresAnyLevel)
{
    logging().setLevel(9);

    EXPECT_THAT(customStorage()->value("Logging", "level"), IsVariant(9));
    EXPECT_EQ(logging().level(), 1);
}

TEST_F(Logging, ANegativeNumberCountsAsALargeOneUntilItIsReadFromTheFile)
{
    logging().setLevel(-1);
    EXPECT_EQ(logging().level(), 1);
    restart();

    scratch.write("moved/custom.conf", contentOf(customFile()));
    ConfigurationManager second(scratch.path("moved/"), defaultPrefix(), nullptr);
    EXPECT_EQ(LogsConfigWrapper(second).level(), 0);
}

TEST_F(Logging, LimitComesFromTheCustomFileFirst)
{
    inCustomFile("responseLengthLimit", "1024");
    inDefaultFile("responseLengthLimit", "512");

    EXPECT_EQ(logging().responseLengthLimit(), 1024);
}

TEST_F(Logging, LimitComesFromTheDefaultFileSecond)
{
    inDefaultFile("responseLengthLimit", "512");

    EXPECT_EQ(logging().responseLengthLimit(), 512);
}

TEST_F(Logging, ACustomLimitThatIsNoNumberIsReplacedByTheDefaultFiles)
{
    inCustomFile("responseLengthLimit", "abc");
    inDefaultFile("responseLengthLimit", "512");

    EXPECT_EQ(logging().responseLengthLimit(), 512);
}

TEST_F(Logging, AnEmptyCustomLimitIsReplacedByTheDefaultFiles)
{
    inCustomFile("responseLengthLimit", "");
    inDefaultFile("responseLengthLimit", "512");

    EXPECT_EQ(logging().responseLengthLimit(), 512);
}

TEST_F(Logging, ACustomLimitOfZeroIsNotReplaced)
{
    inCustomFile("responseLengthLimit", "0");
    inDefaultFile("responseLengthLimit", "512");

    EXPECT_EQ(logging().responseLengthLimit(), 0);
}

TEST_F(Logging, ALimitThatIsNowhereANumberIsZero)
{
    inCustomFile("responseLengthLimit", "abc");
    inDefaultFile("responseLengthLimit", "def");

    EXPECT_EQ(logging().responseLengthLimit(), 0);
}

TEST_F(Logging, ALimitBeyond32BitsWraps)
{
    inCustomFile("responseLengthLimit", "4294967808");
    inDefaultFile("responseLengthLimit", "1024");

    EXPECT_EQ(logging().responseLengthLimit(), 512);
}

TEST_F(Logging, ALimitCanBeNegative)
{
    inCustomFile("responseLengthLimit", "-1");

    EXPECT_EQ(logging().responseLengthLimit(), -1);
}

// The two switches are read and written alike.
struct Switch
{
    const char *key;
    bool (LogsConfigWrapper::*isEnabled)() const;
    void (LogsConfigWrapper::*setEnabled)(bool);
};

void PrintTo(const Switch &setting, std::ostream *out) { *out << setting.key; }

class LoggingSwitch : public Logging, public ::testing::WithParamInterface<Switch>
{
protected:
    bool isEnabled() { return (logging().*GetParam().isEnabled)(); }
    void setEnabled(bool enabled) { (logging().*GetParam().setEnabled)(enabled); }
};

INSTANTIATE_TEST_SUITE_P(
    For, LoggingSwitch,
    ::testing::Values(Switch{"jsonFormattingEnabled", &LogsConfigWrapper::jsonFormattingEnabled,
                             &LogsConfigWrapper::setJsonFormattingEnabled},
                      Switch{"imageRequestsEnabled", &LogsConfigWrapper::imageRequestsEnabled,
                             &LogsConfigWrapper::setImageRequestsEnabled}),
    [](const auto &test) { return test.param.key; });

TEST_P(LoggingSwitch, ComesFromTheCustomFileFirst)
{
    inCustomFile(GetParam().key, "false");
    inDefaultFile(GetParam().key, "true");

    EXPECT_FALSE(isEnabled());
}

TEST_P(LoggingSwitch, ComesFromTheDefaultFileSecond)
{
    inDefaultFile(GetParam().key, "true");

    EXPECT_TRUE(isEnabled());
}

TEST_P(LoggingSwitch, AnEmptyCustomTextIsNotReplacedByTheDefaultFiles)
{
    inCustomFile(GetParam().key, "");
    inDefaultFile(GetParam().key, "true");

    EXPECT_FALSE(isEnabled());
}

TEST_P(LoggingSwitch, EveryOtherWordIsTrue)
{
    const std::pair<const char *, bool> words[] = {{"true", true},   {"1", true},      {"no", true},
                                                   {"off", true},    {"bogus", true},  {"0", false},
                                                   {"false", false}, {"FALSE", false}, {"", false}};
    for (const auto &[word, isTrue] : words) {
        customStorage()->setValue("Logging", GetParam().key, word);
        EXPECT_EQ(isEnabled(), isTrue) << word;
    }
}

TEST_P(LoggingSwitch, IsStoredAsABoolean)
{
    for (const bool enabled : {true, false}) {
        setEnabled(enabled);
        EXPECT_THAT(customStorage()->value("Logging", GetParam().key), IsVariant(enabled));
        EXPECT_EQ(isEnabled(), enabled);
    }
    EXPECT_EQ(customStorage()->allKeys(), QStringList(QString("Logging/") + GetParam().key));
}

TEST_F(Logging, NumbersAreStoredAsIntegers)
{
    logging().setLevel(4);
    logging().setResponseLengthLimit(-512);

    EXPECT_THAT(customStorage()->value("Logging", "level"), IsVariant(4));
    EXPECT_THAT(customStorage()->value("Logging", "responseLengthLimit"), IsVariant(-512));
    EXPECT_EQ(logging().level(), 4);
    EXPECT_EQ(logging().responseLengthLimit(), -512);
}

TEST_F(Logging, IsWrittenToTheCustomFileAlone)
{
    const char *defaults = "; kept as it is\n[Logging]\nlevel=warning\n";
    writeDefaultFile(defaults);
    logging().setLevel(4);
    logging().setResponseLengthLimit(512);
    logging().setJsonFormattingEnabled(true);
    logging().setImageRequestsEnabled(false);
    EXPECT_THAT(temporaryStorage()->allKeys(), IsEmpty());
    restart();

    EXPECT_EQ(contentOf(customFile()),
              "[Logging]\nimageRequestsEnabled=false\njsonFormattingEnabled=true\nlevel=4\n"
              "responseLengthLimit=512\n");
    EXPECT_EQ(contentOf(defaultFile()), defaults);
}

TEST_F(Logging, IgnoresTheEnvironmentAndTheTemporaryStorage)
{
    for (const Location location : {EnvironmentVariables, TemporaryApplicationStorage}) {
        hold(location, "Logging", "level", "trace");
        hold(location, "Logging", "responseLengthLimit", "512");
        hold(location, "Logging", "jsonFormattingEnabled", "true");
        hold(location, "Logging", "imageRequestsEnabled", "true");
    }

    EXPECT_EQ(logging().level(), 0);
    EXPECT_EQ(logging().responseLengthLimit(), 0);
    EXPECT_FALSE(logging().jsonFormattingEnabled());
    EXPECT_FALSE(logging().imageRequestsEnabled());
}

TEST_F(Logging, CachesNothing)
{
    LogsConfigWrapper wrapper(manager());
    EXPECT_EQ(wrapper.level(), 0);

    customStorage()->setValue("Logging", "level", "debug");
    customStorage()->setValue("Logging", "responseLengthLimit", "512");
    customStorage()->setValue("Logging", "jsonFormattingEnabled", "true");

    EXPECT_EQ(wrapper.level(), 4);
    EXPECT_EQ(wrapper.responseLengthLimit(), 512);
    EXPECT_TRUE(wrapper.jsonFormattingEnabled());
}

TEST_F(Logging, TwoWrappersOfOneManagerShareTheSettings)
{
    LogsConfigWrapper one(manager());
    LogsConfigWrapper other(manager());
    one.setLevel(3);

    EXPECT_EQ(other.level(), 3);
}

TEST_F(Logging, SettingsOutliveTheWrapper)
{
    {
        LogsConfigWrapper wrapper(manager());
        wrapper.setLevel(3);
    }

    EXPECT_THAT(valueOf("Logging", "level"), IsVariant(3));
}

TEST_F(SettingsFixture, LoggingReportsARefusedWriteThroughTheStoragesHandler)
{
    const QString prefix = scratch.unwritablePrefix();
    ConfigurationManager unwritable(prefix, defaultPrefix(), &handler);
    LogsConfigWrapper(unwritable).setLevel(3);

    EXPECT_THAT(handler.messages(),
                ::testing::ElementsAre("unable to write " + prefix + "custom.conf"));
}
