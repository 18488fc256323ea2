// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <provenance.h>

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QFile>
#include <QtCore/QMetaEnum>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

using provenance::Facts;
using provenance::Keeper;
using stbconfig::ConfigurationManager;

namespace {

constexpr bool hasStorage(const Facts &facts) { return facts.keeper != Keeper::Nobody; }

// Those without a storage come last, so these are the first rows.
const auto holders = std::count_if(std::cbegin(provenance::byPrecedence),
                                   std::cend(provenance::byPrecedence), hasStorage);

void writeFile(const QString &path, const QString &value)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Video]\noutput=" + value.toUtf8() + "\n");
}

TEST(Locations, EachOfTheManagerHasOneRowThatSaysWhetherItHasAStorage)
{
    const ConfigurationManager manager({}, {}, nullptr);
    const auto all = manager.readOnlyStorages() + manager.dynamicStorages();
    QStringList rows;
    for (const Facts &facts : provenance::byPrecedence) {
        rows.append(provenance::locationName(facts.location));
        EXPECT_EQ(hasStorage(facts), all.contains(facts.location)) << qPrintable(rows.last());
    }
    rows.sort();

    QStringList locations;
    const auto enumeration = QMetaEnum::fromType<provenance::Location>();
    for (int i = 0; i < enumeration.keyCount(); ++i)
        locations.append(enumeration.key(i));
    locations.sort();
    EXPECT_EQ(rows, locations);
}

TEST(Locations, ThoseWithoutAStorageComeLast)
{
    EXPECT_TRUE(std::is_partitioned(std::cbegin(provenance::byPrecedence),
                                    std::cend(provenance::byPrecedence), hasStorage));
}

class EverySubset : public testing::TestWithParam<unsigned>
{
};

TEST_P(EverySubset, WinnerIsWhatTheManagerAnswers)
{
    const auto holds = [](qsizetype holder) { return (GetParam() >> holder & 1U) != 0; };
    const QTemporaryDir directory;
    const QString persistent = directory.path() + QLatin1String("/persistent-");
    const QString defaults = directory.path() + QLatin1String("/defaults-");
    const Setting setting{QStringLiteral("Video"), QStringLiteral("output")};
    qunsetenv("STBAPP_VIDEO_OUTPUT");
    const auto valueOf = [](const Facts &facts) {
        return provenance::locationName(facts.location);
    };
    for (qsizetype holder = 0; holder < holders; ++holder) {
        const Facts &facts = provenance::byPrecedence[holder];
        if (!holds(holder))
            continue;
        if (facts.hasFile()) {
            writeFile((facts.keeper == Keeper::WrittenFile ? persistent : defaults)
                          + QLatin1String(facts.text),
                      valueOf(facts));
        } else if (facts.keeper == Keeper::Variables) {
            qputenv("STBAPP_VIDEO_OUTPUT", valueOf(facts).toUtf8());
        }
    }
    const ConfigurationManager manager(persistent, defaults, nullptr);
    for (qsizetype holder = 0; holder < holders; ++holder) {
        const Facts &facts = provenance::byPrecedence[holder];
        if (holds(holder) && facts.keeper == Keeper::Memory) {
            manager.dynamicStorage(facts.location)
                ->setValue(setting.group, setting.key, valueOf(facts));
        }
    }

    const auto answers = provenance::ask(manager, setting);
    const auto *winner = provenance::winner(answers);

    EXPECT_EQ(winner ? winner->value : QVariant(),
              manager.value(setting.group, setting.key, QVariant()));
    ASSERT_EQ(answers.size(), std::size(provenance::byPrecedence));
    for (qsizetype holder = 0; holder < holders; ++holder) {
        const auto &answer = answers.at(static_cast<int>(holder));
        EXPECT_EQ(answer.location, provenance::byPrecedence[holder].location);
        EXPECT_EQ(answer.isHeld, holds(holder));
    }
}

INSTANTIATE_TEST_SUITE_P(Provenance, EverySubset, testing::Range(0U, 1U << holders));

} // namespace
