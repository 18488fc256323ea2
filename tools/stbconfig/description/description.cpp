// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "description.h"

#include <algorithm>
#include <cstdlib>

Description::Description(const QString &file, const QVector<Described> &all)
    : m_file(file), m_all(all)
{
    std::sort(m_all.begin(), m_all.end(), [](const Described &a, const Described &b) {
        return a.setting.name() < b.setting.name();
    });
    for (int i = 0; i < m_all.size(); ++i) {
        const Described &described = qAsConst(m_all)[i];
        m_byName.insert(described.setting.name(), i);
        for (const OldName &old : described.was)
            m_byOldName.insert(old.setting.name(), i);
    }
}

QStringList Description::names() const
{
    QStringList result;
    for (const Described &described : m_all)
        result.append(described.setting.name());
    return result;
}

QSet<QString> Description::secrets() const
{
    QSet<QString> result;
    for (const Described &described : m_all) {
        // A secret stays a secret under a new name that does not say so.
        const bool wasSecret =
            std::any_of(described.was.cbegin(), described.was.cend(),
                        [](const OldName &old) { return old.setting.isSecret(); });
        if (!described.isSecret && !wasSecret)
            continue;
        result.insert(described.setting.name());
        for (const OldName &old : described.was)
            result.insert(old.setting.name());
    }
    return result;
}

const Described *Description::find(const Setting &setting) const
{
    const auto it = m_byName.constFind(setting.name());
    return it == m_byName.cend() ? nullptr : &m_all[*it];
}

const Described *Description::findOld(const Setting &setting) const
{
    const auto it = m_byOldName.constFind(setting.name());
    return it == m_byOldName.cend() ? nullptr : &m_all[*it];
}

const Described *Description::findByAnyName(const Setting &setting) const
{
    const Described *today = find(setting);
    return today ? today : findOld(setting);
}

namespace description {
namespace {

QString defaultText(const Described &described)
{
    return described.defaultValue ? described.defaultValue->toString() : QString();
}

// A list of thousands of values would hide the line that it stands in.
QString joined(const QStringList &values)
{
    constexpr int most = 12;
    const QStringList first = values.mid(0, most);
    return values.size() <= most ? values.join(", ") : first.join(", ") + ", and others";
}

std::optional<Breach> breachOfItem(const Described &described, const QString &item,
                                   const QString &what)
{
    if (described.values.isEmpty() || described.values.contains(item))
        return {};
    const QString nearest = names::nearest(item, described.values);
    return Breach{what + joined(described.values),
                  nearest.isEmpty() ? defaultText(described) : nearest};
}

std::optional<Breach> breachOfNumber(const Described &described, const QVariant &value)
{
    const auto number = value::isList(value) ? std::nullopt : value::wholeNumber(value);
    if (!number)
        return Breach{"is no whole number of 32 bits", defaultText(described)};
    const int given = *number;
    if (described.minimum && given < *described.minimum) {
        const QString minimum = QString::number(*described.minimum);
        return Breach{"is below the minimum, " + minimum, minimum};
    }
    if (described.maximum && given > *described.maximum) {
        const QString maximum = QString::number(*described.maximum);
        return Breach{"is above the maximum, " + maximum, maximum};
    }
    if (described.values.isEmpty() || described.values.contains(QString::number(given)))
        return {};
    const auto distance = [given](const QString &text) {
        return std::llabs(static_cast<long long>(text.toInt()) - given);
    };
    return Breach{"is none of " + joined(described.values),
                  *std::min_element(described.values.cbegin(), described.values.cend(),
                                    [&](const QString &a, const QString &b) {
                                        return distance(a) < distance(b);
                                    })};
}

// An application takes everything but a few words for true, even "no".
std::optional<Breach> breachOfBoolean(const QVariant &value)
{
    static const QStringList falseWords{"", "no", "off", "disabled"};
    static const QStringList words{"true", "false", "1", "0"};
    const QString text = value::isList(value) ? QString() : value::text(value).toLower();
    if (words.contains(text))
        return {};
    return Breach{"is neither true nor false", falseWords.contains(text) ? "false" : "true"};
}

} // namespace

std::optional<Breach> breachOf(const Described &described, const QVariant &value)
{
    switch (described.type) {
    case value::Type::Int:
        return breachOfNumber(described, value);
    case value::Type::Bool:
        return breachOfBoolean(value);
    case value::Type::List: {
        if (value.isValid() && !value::isList(value) && value::hasNoText(value))
            return Breach{"is no list", {}};
        // A file gives back an empty list as an invalid value.
        const QStringList items = value.isValid() ? value::texts(value) : QStringList();
        for (const QString &item : items) {
            if (auto breach = breachOfItem(described, item, "has an item that is none of "))
                return breach;
        }
        return {};
    }
    case value::Type::Text:
        break;
    }
    if (value::isList(value))
        return Breach{"is a list, and not one text", {}};
    if (value::hasNoText(value))
        return Breach{"is no text", defaultText(described)};
    return breachOfItem(described, value::text(value), "is none of ");
}

QString remedy(const Breach &breach, const Described &described, bool isSecret)
{
    return breach.nearest.isEmpty() || isSecret ? "allowed is " + allowed(described)
                                                : "use " + breach.nearest;
}

std::optional<Problem> unknownName(const Description &description, const Setting &setting,
                                   names::Nearest &nearest)
{
    const QString name = setting.name();
    if (!description.exists() || description.find(setting) != nullptr
        || names::ofTheLibrary().contains(name))
        return {};
    if (const Described *today = description.findOld(setting)) {
        return Problem{name, "an older name of " + today->setting.name(),
                       "use " + today->setting.name()};
    }
    return Problem{name, "not described in " + description.file(),
                   names::suggestion(name, nearest, "correct the name, or describe it")};
}

QString allowed(const Described &described)
{
    switch (described.type) {
    case value::Type::Int: {
        if (!described.values.isEmpty())
            return joined(described.values);
        QString result = "a whole number";
        if (described.minimum && described.maximum)
            return result
                + QString(" from %1 to %2").arg(*described.minimum).arg(*described.maximum);
        if (described.minimum)
            return result + QString(", at least %1").arg(*described.minimum);
        if (described.maximum)
            return result + QString(", at most %1").arg(*described.maximum);
        return result;
    }
    case value::Type::Bool:
        return "true or false";
    case value::Type::List:
        return described.values.isEmpty() ? "a list" : "a list of " + joined(described.values);
    case value::Type::Text:
        break;
    }
    return described.values.isEmpty() ? "a text" : joined(described.values);
}

} // namespace description
