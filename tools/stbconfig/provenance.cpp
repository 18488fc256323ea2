// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "provenance.h"

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QMetaEnum>

#include <algorithm>

using stbconfig::ConfigurationManager;

namespace provenance {
namespace {

constexpr Location byPrecedence[] = {
    ConfigurationManager::CustomConfPersistent, ConfigurationManager::TemporaryApplicationStorage,
    ConfigurationManager::EnvironmentVariables, ConfigurationManager::StbappConfDefault,
    ConfigurationManager::DhcpOptionsConf};

} // namespace

QVector<Answer> ask(const ConfigurationManager &manager, const QString &group, const QString &key)
{
    const QSet<Location> locations = manager.readOnlyStorages() + manager.dynamicStorages();
    QVector<Answer> answers;
    for (const Location location : byPrecedence) {
        Answer answer{location, locations.contains(location), false, {}};
        if (answer.hasStorage) {
            const auto *storage = manager.readOnlyStorage(location);
            answer.isHeld = storage->contains(group, key);
            if (answer.isHeld)
                answer.value = storage->value(group, key);
        }
        answers.append(answer);
    }
    return answers;
}

const Answer *winner(const QVector<Answer> &answers)
{
    const auto it = std::find_if(answers.cbegin(), answers.cend(),
                                 [](const Answer &answer) { return answer.isHeld; });
    return it == answers.cend() ? nullptr : &*it;
}

QString locationName(Location location)
{
    return QString::fromLatin1(
        QMetaEnum::fromType<ConfigurationManager::SettingsLocation>().valueToKey(location));
}

QString variableName(const QString &group, const QString &key)
{
    return QStringLiteral("STBAPP_") + group.toUpper() + QLatin1Char('_') + key.toUpper();
}

} // namespace provenance
