// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/printers.h"

#include <stbconfig/backends/variablename_p.h>

#include <QtCore/QRandomGenerator>

#include <gtest/gtest.h>

using namespace stbconfig;

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
