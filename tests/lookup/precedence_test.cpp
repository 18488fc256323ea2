// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

#include <bitset>

using namespace stbconfig;

class Lookup : public SettingsFixture
{
};

TEST_F(Lookup, CustomFileShadowsTemporaryStorage)
{
    hold(CustomConfPersistent, "Video", "output", "hdmi");
    hold(TemporaryApplicationStorage, "Video", "output", "scart");

    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(Lookup, TemporaryStorageShadowsTheEnvironment)
{
    hold(TemporaryApplicationStorage, "Video", "output", "scart");
    hold(EnvironmentVariables, "Video", "output", "component");

    EXPECT_THAT(valueOf("Video", "output"), IsText("scart"));
}

TEST_F(Lookup, EnvironmentShadowsTheDefaultFile)
{
    hold(EnvironmentVariables, "Video", "output", "component");
    hold(StbappConfDefault, "Video", "output", "hdmi");

    EXPECT_THAT(valueOf("Video", "output"), IsText("component"));
}

// Which storages hold the setting: bit i for the i-th location of the precedence.
class LookupOverEverySubset : public SettingsFixture, public ::testing::WithParamInterface<unsigned>
{
};

TEST_P(LookupOverEverySubset, FirstHolderInThePrecedenceWins)
{
    struct Holder
    {
        Location location;
        const char *text;
    };
    const Holder precedence[] = {{CustomConfPersistent, "custom"},
                                 {TemporaryApplicationStorage, "temporary"},
                                 {EnvironmentVariables, "environment"},
                                 {StbappConfDefault, "file"}};
    const char *winner = "default";
    for (unsigned i = 4; i-- > 0;) {
        if (std::bitset<4>(GetParam()).test(i)) {
            hold(precedence[i].location, "Video", "output", precedence[i].text);
            winner = precedence[i].text;
        }
    }

    EXPECT_THAT(valueOf("Video", "output"), IsText(winner));
    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(AllSixteen, LookupOverEverySubset, ::testing::Range(0U, 16U));

TEST_F(Lookup, ReturnsTheCallersDefaultUnchangedWhenNobodyHoldsTheSetting)
{
    EXPECT_THAT(manager().value("Video", "output", 7), IsVariant(7));
    EXPECT_THAT(manager().value("Video", "output", QString("hdmi")), IsText("hdmi"));
    EXPECT_THAT(manager().value("Video", "output", QStringList({"a", "b"})),
                IsVariant(QStringList({"a", "b"})));
}

TEST_F(Lookup, ReturnsAnInvalidDefaultAsAnInvalidValue)
{
    EXPECT_THAT(manager().value("Video", "output", QVariant()), IsInvalid());
}

TEST_F(Lookup, DoesNotReportASettingThatNobodyHolds)
{
    valueOf("Video", "output");

    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
}

TEST_F(Lookup, AnInvalidValueInMemoryShadowsTheDefaultFile)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    temporaryStorage()->setValue("Video", "output", QVariant());

    EXPECT_THAT(valueOf("Video", "output"), IsInvalid());
}

TEST_F(Lookup, TheCustomFileShadowsAnInvalidValueInMemory)
{
    hold(CustomConfPersistent, "Video", "output", "hdmi");
    temporaryStorage()->setValue("Video", "output", QVariant());

    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(Lookup, AnEmptyTextShadows)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    hold(EnvironmentVariables, "Video", "output", "");

    EXPECT_THAT(valueOf("Video", "output"), IsEmptyText());
}

TEST_F(Lookup, SeesAChangeAtOnce)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));

    customStorage()->setValue("Video", "output", "scart");
    EXPECT_THAT(valueOf("Video", "output"), IsText("scart"));

    customStorage()->remove("Video", "output");
    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(Lookup, KeepsGroupAndKeyApart)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");

    EXPECT_THAT(valueOf("output", "Video"), IsText("default"));
    EXPECT_THAT(valueOf("Audio", "output"), IsText("default"));
    EXPECT_THAT(valueOf("Video", "volume"), IsText("default"));
}

TEST_F(Lookup, DoesNotLookIntoIndependentStorages)
{
    manager().independentStorage("ravel")->setValue("Video", "output", "hdmi");

    EXPECT_THAT(valueOf("Video", "output"), IsText("default"));
}

TEST_F(Lookup, StillAsksAFileThatIsMalformed)
{
    writeDefaultFile("[Video]\noutput=hdmi\nno equals sign here\n");

    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
    EXPECT_FALSE(defaults()->isValid());
}

TEST_F(Lookup, WorksOnAConstManager)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");
    const ConfigurationManager &readOnly = manager();

    EXPECT_THAT(readOnly.value("Video", "output", QVariant()), IsText("hdmi"));
}
