// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/environment.h"
#include "support/files.h"
#include "support/matchers.h"
#include "support/recordinghandler.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/backends/backends_p.h>
#include <stbconfig/backends/variablename_p.h>

#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>

#include <gtest/gtest.h>

using namespace stbconfig;

TEST(BackendFactories, OpenTheFileTheyAreGiven)
{
    const ScratchDirectory scratch;
    const QString path = scratch.write("any name", "[Video]\noutput=hdmi\n");
    const auto file = createQtSettingsIniBackend(path, nullptr);

    EXPECT_THAT(file->value("Video", "output"), IsText("hdmi"));
    file->setValue("Video", "output", "scart");
    EXPECT_EQ(contentOf(path), "[Video]\noutput=hdmi\n");
}

TEST(BackendFactories, AFileIsWrittenWhenItsStorageIsDestroyed)
{
    const ScratchDirectory scratch;
    auto file = createQtSettingsIniBackend(scratch.path("file"), nullptr);
    file->setValue("Video", "output", "scart");
    file.reset();

    EXPECT_EQ(contentOf(scratch.path("file")), "[Video]\noutput=scart\n");
}

TEST(BackendFactories, AFileWithoutAHandlerRefusesInSilence)
{
    const ScratchDirectory scratch;
    const auto file = createQtSettingsIniBackend(scratch.unwritablePrefix() + "file", nullptr);
    file->setValue("Video", "output", "scart");
    file->remove("Video", "output");

    EXPECT_FALSE(file->contains("Video", "output"));
}

TEST(BackendFactories, EachEnvironmentIsASnapshotOfItsOwn)
{
    clearVariables();
    const auto before = createEnvironmentReader(nullptr);
    setVariable("STBAPP_VIDEO_OUTPUT", "hdmi");
    const auto after = createEnvironmentReader(nullptr);
    clearVariables();

    EXPECT_FALSE(before->contains("Video", "output"));
    EXPECT_THAT(after->value("Video", "output"), IsText("hdmi"));
}

TEST(BackendFactories, TheEnvironmentNeverReports)
{
    RecordingHandler handler;
    const auto environment = createEnvironmentReader(&handler);
    environment->value("no such", "variable");
    environment->contains("no such", "variable");

    EXPECT_THAT(handler.messages(), ::testing::IsEmpty());
}

TEST(BackendFactories, EachMemoryIsEmpty)
{
    const auto one = createDynamicMapStorage();
    one->setValue("Video", "output", "hdmi");

    EXPECT_THAT(createDynamicMapStorage()->allKeys(), ::testing::IsEmpty());
}

namespace {

// Says the rule in its plainest form, without the short cut for ASCII.
QString plainVariableName(const QString &group, const QString &key)
{
    return "STBAPP_" + group.toUpper() + "_" + key.toUpper();
}

QString randomText(QRandomGenerator &random, quint32 highestCharacter)
{
    QString text;
    for (auto size = random.bounded(8); size > 0; --size)
        text.append(QChar(ushort(random.bounded(highestCharacter + 1))));
    return text;
}

} // namespace

TEST(VariableName, IsTheUpperCasedPairForTextsOfEveryKind)
{
    const QString texts[] = {QString(),
                             "",
                             "Logging",
                             "responseLengthLimit",
                             "@AZ[`az{",
                             QString::fromUtf8("Видео"),
                             QString::fromUtf8("straße"),
                             QString::fromUtf8("ŉ"),
                             QString::fromUtf8("ﬁ"),
                             QString::fromUtf8("ıİiI"),
                             QString::fromUtf8("\U00010428"), // has an upper case beyond 16 bits
                             "a" + QString(QChar(0xd801)),
                             QString(QChar(0xdc28)) + "a",
                             QString(QChar::Null) + "a",
                             QString::fromUtf8("aé")};
    for (const QString &group : texts) {
        for (const QString &key : texts)
            EXPECT_EQ(variableName(group, key), plainVariableName(group, key));
    }
}

TEST(VariableName, IsTheUpperCasedPairForEveryCharacter)
{
    for (uint unicode = 0; unicode <= 0xffff; ++unicode) {
        const QString text(QChar{unicode});
        ASSERT_EQ(variableName(text, "k"), plainVariableName(text, "k")) << unicode;
        ASSERT_EQ(variableName("g", text), plainVariableName("g", text)) << unicode;
    }
}

TEST(VariableName, IsTheUpperCasedPairForRandomTexts)
{
    QRandomGenerator random(1);
    for (int i = 0; i < 20000; ++i) {
        const quint32 highest = i % 2 == 0 ? 0x17f : 0xffff;
        const QString group = randomText(random, highest);
        const QString key = randomText(random, highest);
        ASSERT_EQ(variableName(group, key), plainVariableName(group, key));
    }
}
