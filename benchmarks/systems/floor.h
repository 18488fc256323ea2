// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_FLOOR_H
#define STBCONFIG_BENCHMARKS_FLOOR_H

#include "../dataset.h"

#include <QtCore/QMap>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QSettings>
#include <QtCore/QStringBuilder>
#include <QtCore/QVariant>

/**
 * Shows what the library's contract costs at least. It makes exactly the calls that the contract
 * demands, in straight lines, and forms each name in one allocation. It has no manager, no registry,
 * no lock and no virtual call.
 */
class Floor
{
public:
    static constexpr const char *name = "floor";

    explicit Floor(const DataSet &data)
        : environment(new QProcessEnvironment(QProcessEnvironment::systemEnvironment())),
          custom(new QSettings(data.customFile(), QSettings::IniFormat)),
          defaults(new QSettings(data.defaultFile(), QSettings::IniFormat)),
          independent(new QSettings(data.prefix() + "ravel.db", QSettings::IniFormat))
    {
        for (const DataSet::Entry &entry : DataSet::heldInMemory())
            memory[entry.group][entry.key] = "from memory";
    }

    struct Address
    {
        QString group;
        QString key;
    };

    static Address address(const Probe &probe) { return {probe.group, probe.key}; }
    static std::string text(const QVariant &value) { return value.toString().toStdString(); }

    QVariant read(const Address &address) const
    {
        QVariant result = defaultValue;
        if (defaults->contains(settingsKey(address)))
            result = defaults->value(settingsKey(address));
        if (environment->contains(variableName(address)))
            result = environment->value(variableName(address));
        if (isInMemory(address))
            result = memory.constFind(address.group)->value(address.key);
        if (custom->contains(settingsKey(address)))
            result = custom->value(settingsKey(address));
        return result;
    }

    QVariant readDefaultFile(const Address &address) const
    {
        return defaults->value(settingsKey(address));
    }

    void setInMemory(const Address &address, const QVariant &value)
    {
        memory[address.group][address.key] = value;
    }

    int level() const
    {
        const Address level{QStringLiteral("Logging"), QStringLiteral("level")};
        const QVariant stored = custom->contains(settingsKey(level))
            ? custom->value(settingsKey(level))
            : defaults->value(settingsKey(level));
        const QString word = stored.toString();
        if (levels().contains(word))
            return levels().value(word);
        return stored.toInt();
    }

private:
    static QString settingsKey(const Address &address)
    {
        return address.group % QLatin1Char('/') % address.key;
    }

    // The settings of the data set have ASCII names.
    static QString variableName(const Address &address)
    {
        static constexpr char16_t prefix[] = u"STBAPP_";
        constexpr int prefixSize = 7;
        QString variable(prefixSize + address.group.size() + 1 + address.key.size(),
                         Qt::Uninitialized);
        QChar *out = variable.data();
        for (int i = 0; i < prefixSize; ++i)
            *out++ = prefix[i];
        for (const QChar character : address.group)
            *out++ = upperCased(character);
        *out++ = '_';
        for (const QChar character : address.key)
            *out++ = upperCased(character);
        return variable;
    }

    static QChar upperCased(QChar character)
    {
        const ushort unicode = character.unicode();
        return QChar(ushort(unicode >= 'a' && unicode <= 'z' ? unicode - 32 : unicode));
    }

    bool isInMemory(const Address &address) const
    {
        const auto keys = memory.constFind(address.group);
        return keys != memory.constEnd() && keys->contains(address.key);
    }

    static QHash<QString, int> levels()
    {
        QHash<QString, int> result;
        result.reserve(6);
        result.insert(QStringLiteral("critical"), 0);
        result.insert(QStringLiteral("error"), 1);
        result.insert(QStringLiteral("warning"), 2);
        result.insert(QStringLiteral("info"), 3);
        result.insert(QStringLiteral("debug"), 4);
        result.insert(QStringLiteral("trace"), 5);
        return result;
    }

    const QScopedPointer<const QProcessEnvironment> environment;
    const QScopedPointer<QSettings> custom;
    const QScopedPointer<QSettings> defaults;
    const QScopedPointer<QSettings> independent;
    QMap<QString, QMap<QString, QVariant>> memory;
    const QVariant defaultValue{"the caller's default"};
};

#endif
