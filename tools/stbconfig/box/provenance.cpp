// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "provenance.h"

#include "problem.h"

#include <stbconfig/backendinterfaces.h>

#include <QtCore/QMetaEnum>

#include <algorithm>
#include <iterator>

namespace provenance {

const Facts &factsOf(Location location)
{
    return *std::find_if(std::cbegin(byPrecedence), std::cend(byPrecedence),
                         [location](const Facts &facts) { return facts.location == location; });
}

QVector<Answer> ask(const ConfigurationManager &manager, const Setting &setting)
{
    const QSet<Location> locations = manager.readOnlyStorages() + manager.dynamicStorages();
    QVector<Answer> answers;
    for (const Facts &facts : byPrecedence) {
        const Location location = facts.location;
        Answer answer{location, locations.contains(location), false, {}};
        if (answer.hasStorage) {
            const auto *storage = manager.readOnlyStorage(location);
            answer.isHeld = storage->contains(setting.group, setting.key);
            if (answer.isHeld)
                answer.value = storage->value(setting.group, setting.key);
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

const Answer &of(const QVector<Answer> &answers, Location location)
{
    return *std::find_if(answers.cbegin(), answers.cend(),
                         [location](const Answer &answer) { return answer.location == location; });
}

QString locationName(Location location)
{
    return QMetaEnum::fromType<ConfigurationManager::SettingsLocation>().valueToKey(location);
}

QStringList locationNames()
{
    QStringList result;
    for (const Facts &facts : byPrecedence)
        result.append(locationName(facts.location));
    return result;
}

Location locationNamed(const QString &word)
{
    for (const Facts &facts : byPrecedence) {
        const Location location = facts.location;
        if (!word.isEmpty() && locationName(location).startsWith(word, Qt::CaseInsensitive))
            return location;
    }
    // The names are long, so the word is compared with their beginnings.
    QStringList beginnings;
    const QStringList all = locationNames();
    for (const QString &name : all)
        beginnings.append(name.left(word.size()));
    const auto nearest = beginnings.indexOf(names::nearest(word, beginnings));
    throw Failure{Misuse,
                  {word, "no such location",
                   nearest < 0 ? "use the beginning of " + all.join(", ")
                               : "did you mean " + all[nearest] + "?"}};
}

} // namespace provenance
