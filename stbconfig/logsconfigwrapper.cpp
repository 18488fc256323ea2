// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "logsconfigwrapper.h"

#include "backendinterfaces.h"
#include "configurationmanager.h"
#include "logsconfigwrapper_p.h"

namespace stbconfig {
namespace {

constexpr uint levelCount = 6;
constexpr int errorLevel = 1;

// These are functions, so that loading the library constructs nothing for them.
QString loggingGroup() { return QStringLiteral("Logging"); }
QString levelKey() { return QStringLiteral("level"); }
QString responseLengthLimitKey() { return QStringLiteral("responseLengthLimit"); }
QString jsonFormattingEnabledKey() { return QStringLiteral("jsonFormattingEnabled"); }
QString imageRequestsEnabledKey() { return QStringLiteral("imageRequestsEnabled"); }

} // namespace

LogsConfigWrapperPrivate::LogsConfigWrapperPrivate(LogsConfigWrapper *q,
                                                   ConfigurationManager &manager)
    : q_ptr(q), configurationManager(manager)
{}

// These never return null: the manager's constructor files a storage under both locations.
LogsConfigWrapperPrivate::Storages LogsConfigWrapperPrivate::storages() const
{
    return {configurationManager.dynamicStorage(ConfigurationManager::CustomConfPersistent),
            configurationManager.readOnlyStorage(ConfigurationManager::StbappConfDefault)};
}

// Returns the custom value if there is one, whatever it holds, else the default file's.
QVariant LogsConfigWrapperPrivate::storedValue(const QString &key) const
{
    const auto [custom, defaults] = storages();
    const bool isCustom = custom->contains(loggingGroup(), key);
    return (isCustom ? custom : defaults)->value(loggingGroup(), key);
}

int LogsConfigWrapperPrivate::getIntValue(const QString &key) const
{
    const auto [custom, defaults] = storages();
    if (custom->contains(loggingGroup(), key)) {
        bool isNumber = false;
        const int number = custom->value(loggingGroup(), key).toInt(&isNumber);
        if (isNumber)
            return number;
    }
    return defaults->value(loggingGroup(), key).toInt();
}

bool LogsConfigWrapperPrivate::getBoolValue(const QString &key) const
{
    return storedValue(key).toBool();
}

int LogsConfigWrapperPrivate::level() const
{
    // Compared as unsigned numbers, so that one comparison rejects negative levels too.
    const auto commandLineLevel = static_cast<uint>(configurationManager.cmdLineArgs().logLevel);
    if (commandLineLevel < levelCount)
        return static_cast<int>(commandLineLevel);

    const QVariant stored = storedValue(levelKey());
    const QString name = stored.toString();
    // stringLevelToIntLevel() makes a new table for every caller; nothing keeps one.
    if (LogsConfigWrapper::stringLevelToIntLevel().contains(name))
        return LogsConfigWrapper::stringLevelToIntLevel().value(name);

    // A word that is no level reads as 0 and a number that is no level as 1. They differ on
    // purpose.
    const uint number = stored.toUInt();
    return number < levelCount ? static_cast<int>(number) : errorLevel;
}

template <typename T>
void LogsConfigWrapperPrivate::setValue(const QString &key, T value)
{
    configurationManager.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue(loggingGroup(), key, QVariant(value));
}

LogsConfigWrapper::LogsConfigWrapper(ConfigurationManager &manager)
    : d_ptr(new LogsConfigWrapperPrivate(this, manager))
{}

LogsConfigWrapper::~LogsConfigWrapper() = default;

int LogsConfigWrapper::level() const
{
    Q_D(const LogsConfigWrapper);
    return d->level();
}

void LogsConfigWrapper::setLevel(int level)
{
    Q_D(LogsConfigWrapper);
    d->setValue(levelKey(), level);
}

int LogsConfigWrapper::responseLengthLimit() const
{
    Q_D(const LogsConfigWrapper);
    return d->getIntValue(responseLengthLimitKey());
}

void LogsConfigWrapper::setResponseLengthLimit(int limit)
{
    Q_D(LogsConfigWrapper);
    d->setValue(responseLengthLimitKey(), limit);
}

bool LogsConfigWrapper::jsonFormattingEnabled() const
{
    Q_D(const LogsConfigWrapper);
    return d->getBoolValue(jsonFormattingEnabledKey());
}

void LogsConfigWrapper::setJsonFormattingEnabled(bool enabled)
{
    Q_D(LogsConfigWrapper);
    d->setValue(jsonFormattingEnabledKey(), enabled);
}

bool LogsConfigWrapper::imageRequestsEnabled() const
{
    Q_D(const LogsConfigWrapper);
    return d->getBoolValue(imageRequestsEnabledKey());
}

void LogsConfigWrapper::setImageRequestsEnabled(bool enabled)
{
    Q_D(LogsConfigWrapper);
    d->setValue(imageRequestsEnabledKey(), enabled);
}

QHash<QString, int> LogsConfigWrapper::stringLevelToIntLevel()
{
    QHash<QString, int> levels;
    levels.reserve(levelCount);
    levels.insert(QStringLiteral("critical"), 0);
    levels.insert(QStringLiteral("error"), errorLevel);
    levels.insert(QStringLiteral("warning"), 2);
    levels.insert(QStringLiteral("info"), 3);
    levels.insert(QStringLiteral("debug"), 4);
    levels.insert(QStringLiteral("trace"), 5);
    return levels;
}

} // namespace stbconfig
