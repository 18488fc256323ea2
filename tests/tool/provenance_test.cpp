// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <provenance.h>

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

using stbconfig::ConfigurationManager;

namespace {

constexpr ConfigurationManager::SettingsLocation holders[] = {
    ConfigurationManager::CustomConfPersistent, ConfigurationManager::TemporaryApplicationStorage,
    ConfigurationManager::EnvironmentVariables, ConfigurationManager::StbappConfDefault};

void writeFile(const QString &path, const char *value)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("[Video]\noutput=") + value + "\n");
}

class EverySubset : public testing::TestWithParam<unsigned>
{
};

TEST_P(EverySubset, WinnerIsWhatTheManagerAnswers)
{
    const auto holds = [](unsigned holder) { return (GetParam() >> holder & 1U) != 0; };
    const QTemporaryDir directory;
    const QString prefix = directory.path() + QLatin1Char('/');
    if (holds(0))
        writeFile(prefix + QLatin1String("custom.conf"), "custom");
    if (holds(3))
        writeFile(prefix + QLatin1String("stbapp.conf"), "defaults");
    qunsetenv("STBAPP_VIDEO_OUTPUT");
    if (holds(2))
        qputenv("STBAPP_VIDEO_OUTPUT", "environment");
    const ConfigurationManager manager(prefix, prefix, nullptr);
    const QString group = QStringLiteral("Video");
    const QString key = QStringLiteral("output");
    if (holds(1)) {
        manager.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage)
            ->setValue(group, key, QStringLiteral("memory"));
    }

    const auto answers = provenance::ask(manager, Setting{group, key});
    const auto *winner = provenance::winner(answers);

    EXPECT_EQ(winner ? winner->value : QVariant(), manager.value(group, key, QVariant()));
    ASSERT_EQ(answers.size(), 5);
    for (unsigned holder = 0; holder < 4; ++holder) {
        const auto &answer = answers.at(static_cast<int>(holder));
        EXPECT_EQ(answer.location, holders[holder]);
        EXPECT_EQ(answer.isHeld, holds(holder));
    }
}

INSTANTIATE_TEST_SUITE_P(Provenance, EverySubset, testing::Range(0U, 16U));

} // namespace
