// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "loggingreader.h"

#include <stbconfig/logsconfigwrapper.h>

#include <algorithm>

using stbconfig::ConfigurationManager;
using stbconfig::LogsConfigWrapper;

namespace loggingreader {

QStringList keys()
{
    return {names::level, names::responseLengthLimit, names::jsonFormattingEnabled,
            names::imageRequestsEnabled};
}

QStringList levels()
{
    const QHash<QString, int> numbers = LogsConfigWrapper::stringLevelToIntLevel();
    QStringList words = numbers.keys();
    std::sort(words.begin(), words.end(),
              [&numbers](const QString &a, const QString &b) { return numbers[a] < numbers[b]; });
    return words;
}

bool reads(const Setting &setting)
{
    return setting.group == names::loggingGroup && keys().contains(setting.key);
}

QVariant effective(const Session &session, const QString &key)
{
    const LogsConfigWrapper reader(session.manager());
    if (key == names::level)
        return reader.level();
    if (key == names::responseLengthLimit)
        return reader.responseLengthLimit();
    return key == names::jsonFormattingEnabled ? reader.jsonFormattingEnabled()
                                               : reader.imageRequestsEnabled();
}

const provenance::Answer *origin(const QVector<provenance::Answer> &answers, const QString &key)
{
    const auto &custom = provenance::of(answers, ConfigurationManager::CustomConfPersistent);
    const auto &defaults = provenance::of(answers, ConfigurationManager::StbappConfDefault);
    // The default file answers in place of a custom value only where that is to be a number and is
    // none.
    bool isTaken = custom.isHeld;
    if (isTaken && key == names::responseLengthLimit)
        custom.value.toInt(&isTaken);
    return isTaken ? &custom : defaults.isHeld ? &defaults : nullptr;
}

QString meaning(const QString &key, const QVariant &effective)
{
    return key == names::level ? levels().value(effective.toInt()) : QString();
}

std::optional<Problem> misreading(const Setting &setting, const QString &text)
{
    if (!reads(setting))
        return {};
    const auto problem = [&setting](const QString &what, const QString &remedy) {
        return Problem{setting.name(), what, remedy};
    };
    bool isNumber = false;
    if (setting.key == names::level) {
        const uint number = text.toUInt(&isNumber);
        if (levels().contains(text) || (isNumber && number < 6))
            return {};
        return problem(isNumber ? "reads as error" : "reads as critical",
                       "use " + levels().join(", ") + " or 0 to 5");
    }
    if (setting.key == names::responseLengthLimit) {
        static_cast<void>(text.toInt(&isNumber));
        if (isNumber)
            return {};
        return problem("is no number and would be skipped", "use a whole number");
    }
    if (QStringList{"true", "false", "1", "0"}.contains(text))
        return {};
    return problem(QVariant(text).toBool() ? "reads as true" : "reads as false",
                   "use true or false");
}

} // namespace loggingreader
