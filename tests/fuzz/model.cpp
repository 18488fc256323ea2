// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "model.h"

#include "box.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <iterator>

namespace {

// Qt takes 1 and "1" for equal.
bool isSameInside(const QVariant &one, const QVariant &other)
{
    if (one.userType() != other.userType() || one != other)
        return false;
    if (one.userType() != QMetaType::QVariantList)
        return true;
    const QVariantList list = one.toList();
    const QVariantList otherList = other.toList();
    return std::equal(list.begin(), list.end(), otherList.begin(), isSameInside);
}

bool isSame(const QVariant &one, const QVariant &other)
{
    return isSameInside(one, other)
        && (one.userType() != QMetaType::QString
            || one.toString().isNull() == other.toString().isNull());
}

QVariant valueOf(const std::map<QString, QVariant> &entries, const QString &name)
{
    const auto found = entries.find(name);
    return found == entries.end() ? QVariant() : found->second;
}

QByteArray variableName(const QString &group, const QString &key)
{
    return ("STBAPP_" + group.toUpper() + "_" + key.toUpper()).toLocal8Bit();
}

bool isStoredAsText(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QString:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

QVariant rereadSingle(const QVariant &value)
{
    return isStoredAsText(value) ? QVariant("" + value.toString()) : value;
}

QVariant rereadList(const QVariantList &list)
{
    if (list.isEmpty())
        return {};
    QVariantList values;
    bool areTexts = true;
    for (const QVariant &value : list) {
        values.append(rereadSingle(value));
        areTexts = areTexts && isStoredAsText(value) && !value.toString().contains(QChar());
    }
    return areTexts ? QVariant(QVariant(values).toStringList()) : QVariant(values);
}

QVariant rereadValue(const QVariant &value)
{
    if (value.userType() == QMetaType::QStringList) {
        const QStringList texts = value.toStringList();
        return texts.size() == 1 ? rereadSingle(texts.first()) : rereadList(value.toList());
    }
    if (value.userType() == QMetaType::QVariantList && value.toList().size() != 1)
        return rereadList(value.toList());
    return rereadSingle(value);
}

QString rereadName(const QString &name)
{
    const int slash = name.indexOf('/');
    const bool isInGeneral = name.left(slash).compare("general", Qt::CaseInsensitive) == 0;
    return slash != -1 && isInGeneral ? "General" + name.mid(slash) : name;
}

} // namespace

void expectSame(const QVariant &actual, const QVariant &expected, const char *fact,
                const QString &about)
{
    if (isSame(actual, expected))
        return;
    QString text;
    QDebug(&text) << about << actual << "instead of" << expected;
    expect(false, fact, text);
}

QString FileModel::entryName(const QString &group, const QString &key)
{
    return (group + '/' + key).split('/', Qt::SkipEmptyParts).join('/');
}

bool FileModel::contains(const QString &group, const QString &key) const
{
    return entries.count(entryName(group, key)) != 0;
}

QVariant FileModel::value(const QString &group, const QString &key) const
{
    return valueOf(entries, entryName(group, key));
}

QStringList FileModel::allKeys() const
{
    QStringList result;
    for (const auto &entry : entries)
        result.append(entry.first);
    return result;
}

void FileModel::setValue(const QString &group, const QString &key, const QVariant &value)
{
    entries[entryName(group, key)] = value;
}

void FileModel::remove(const QString &group, const QString &key)
{
    const QString name = entryName(group, key);
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool isRemoved =
            name.isEmpty() || entry->first == name || entry->first.startsWith(name + '/');
        entry = isRemoved ? entries.erase(entry) : std::next(entry);
    }
}

FileModel FileModel::reread() const
{
    FileModel result;
    for (const auto &entry : entries)
        result.entries[rereadName(entry.first)] = rereadValue(entry.second);
    return result;
}

bool MemoryModel::contains(const QString &group, const QString &key) const
{
    return entries.count({group, key}) != 0;
}

QVariant MemoryModel::value(const QString &group, const QString &key) const
{
    const auto found = entries.find({group, key});
    return found == entries.end() ? QVariant() : found->second;
}

QStringList MemoryModel::allKeys() const
{
    QStringList result;
    for (const auto &entry : entries)
        result.append(QString("%1/%2").arg(entry.first.first).arg(entry.first.second));
    return result;
}

void MemoryModel::setValue(const QString &group, const QString &key, const QVariant &value)
{
    entries[{group, key}] = value;
}

void MemoryModel::remove(const QString &group, const QString &key) { entries.erase({group, key}); }

bool EnvironmentModel::contains(const QString &group, const QString &key) const
{
    return variables.count(variableName(group, key)) != 0;
}

QVariant EnvironmentModel::value(const QString &group, const QString &key) const
{
    const auto found = variables.find(variableName(group, key));
    return found == variables.end() ? QString() : "" + QString::fromLocal8Bit(found->second);
}

void EnvironmentModel::setVariable(const QString &group, const QString &key, const QString &text)
{
    const QByteArray name = variableName(group, key);
    const QByteArray bytes = text.toLocal8Bit();
    if (!name.contains('\0') && !name.contains('=') && !bytes.contains('\0'))
        variables[name] = bytes;
}
