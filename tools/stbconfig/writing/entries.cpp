// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "entries.h"

#include "names.h"
#include "value.h"

#include <QtCore/QDataStream>

namespace entries {
namespace {

bool isEqual(const QVariant &a, const QVariant &b)
{
    return value::fingerprint(a) == value::fingerprint(b);
}

// Qt writes what stands before the first "/" as a section, and a backslash for each "/" behind it.
// A backslash at the name's end makes the "=" a part of the name.
bool isStable(const QString &name)
{
    const QString group = Setting::named(name).group;
    return !name.startsWith('/') && !name.endsWith('/') && groupAsRead(group) == group;
}

// Leaves a value empty whose type only the application knows: nothing of it can be told or
// compared.
QVariant known(const QVariant &value)
{
    if (value.userType() == QMetaType::QString || value.userType() == QMetaType::QStringList)
        return value;
    QVariant copy;
    QDataStream stream(value::fingerprint(value));
    stream >> copy;
    return stream.status() == QDataStream::Ok ? value : QVariant();
}

} // namespace

Entries of(const stbconfig::IReadableBackend &storage)
{
    Entries entries;
    const QStringList all = storage.allKeys();
    for (const QString &name : all) {
        const Setting setting = Setting::named(name);
        entries.insert(name,
                       names::asStored(name) == name
                           ? known(storage.value(setting.group, setting.key))
                           : QVariant());
    }
    return entries;
}

QStringList differences(const Entries &expected, const Entries &found, const QSet<QString> &changed)
{
    QStringList result;
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        const auto other = found.constFind(it.key());
        const bool isSame = other != found.cend()
            && (changed.contains(it.key()) ? value::isSame(*it, *other) : isEqual(*it, *other));
        if (!isSame)
            result.append(it.key());
    }
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        if (!expected.contains(it.key()))
            result.append(it.key());
    }
    return result;
}

QString groupAsRead(const QString &group)
{
    const QString general = "General"; // [%General] in a file, for [General] means no group
    return group.compare(general, Qt::CaseInsensitive) == 0 ? general : group;
}

QString nameAsRead(const QString &name)
{
    const Setting stored = Setting::named(names::asStored(name));
    return Setting{groupAsRead(stored.group), stored.key}.name();
}

QStringList unstable(const Entries &entries)
{
    QStringList result;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (!isStable(it.key()) || !isEqual(value::asRead(*it), *it))
            result.append(it.key());
    }
    return result;
}

} // namespace entries
