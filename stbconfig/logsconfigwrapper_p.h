// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_LOGSCONFIGWRAPPER_P_H
#define STBCONFIG_LOGSCONFIGWRAPPER_P_H

#include <QtCore/QVariant>

namespace stbconfig {

class ConfigurationManager;
class IReadableBackend;
class LogsConfigWrapper;

class LogsConfigWrapperPrivate
{
    Q_DISABLE_COPY(LogsConfigWrapperPrivate)

public:
    LogsConfigWrapperPrivate(LogsConfigWrapper *q, ConfigurationManager &manager);

    // The three reading rules differ in when they turn to the default file, and boxes in the field
    // rely on that. A number turns to it also when the custom value is no number; a boolean and the
    // level do so only when there is no custom value.
    int getIntValue(const QString &key) const;
    bool getBoolValue(const QString &key) const;
    int level() const;

    template <typename T>
    void setValue(const QString &key, T value);

    LogsConfigWrapper *const q_ptr;
    ConfigurationManager &configurationManager;

private:
    struct Storages
    {
        const IReadableBackend *custom;
        const IReadableBackend *defaults;
    };

    Storages storages() const;
    QVariant storedValue(const QString &key) const;
};

} // namespace stbconfig

#endif
