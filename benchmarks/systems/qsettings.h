// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_QSETTINGS_H
#define STBCONFIG_BENCHMARKS_QSETTINGS_H

#include "../dataset.h"

#include <QtCore/QSettings>

/// One QSettings on one file that holds the effective settings: no layers at all.
class SingleQSettings
{
public:
    static constexpr const char *name = "QSettings";
    using Address = QString;

    explicit SingleQSettings(const DataSet &data)
        : settings(data.mergedFile(), QSettings::IniFormat)
    {}

    static Address address(const Probe &probe) { return QString(probe.group) + '/' + probe.key; }
    static std::string text(const QVariant &value) { return value.toString().toStdString(); }

    QVariant read(const Address &address) const { return settings.value(address, defaultValue); }

    static void persist(const DataSet &data, const QString &value)
    {
        QSettings settings(data.mergedFile(), QSettings::IniFormat);
        settings.setValue("Group03/key1", value);
        settings.sync();
    }

private:
    QSettings settings;
    const QVariant defaultValue{"the caller's default"};
};

#endif
