// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "value.h"

#include "names.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace value {
namespace {

QString withType(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return "@Invalid()";
    case QMetaType::QByteArray:
        return "@ByteArray()";
    case QMetaType::QSize:
        return QString("@Size(%1 %2)").arg(value.toSize().width()).arg(value.toSize().height());
    case QMetaType::QPoint:
        return QString("@Point(%1 %2)").arg(value.toPoint().x()).arg(value.toPoint().y());
    case QMetaType::QRect: {
        const QRect area = value.toRect();
        return QString("@Rect(%1 %2 %3 %4)")
            .arg(area.x())
            .arg(area.y())
            .arg(area.width())
            .arg(area.height());
    }
    default:
        return QString("@Variant(%1)").arg(value.typeName());
    }
}

// A list within a list keeps its type, because Qt writes its own notation for it.
QVariant itemAsRead(const QVariant &item)
{
    switch (item.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return item.toString();
#if QT_VERSION_MAJOR >= 6 // Qt 6 writes UTF-8, and takes some U+FEFF for its mark
    case QMetaType::QString:
        return QString::fromUtf8(item.toString().toUtf8()).remove(QChar(QChar::ByteOrderMark));
#endif
    default:
        return item;
    }
}

// Qt writes a text with NUL as it writes types.
bool isPlainText(const QVariant &item)
{
    return item.userType() == QMetaType::QString && !item.toString().contains(QChar::Null);
}

// Judges the word before "=" or ":" as the name of a setting. First looks whether there can be any,
// which is quick.
bool assignsSecret(const QString &text)
{
    static const QRegularExpression any("pass|secret|token|credential|key|pin|psk|pwd|auth",
                                        QRegularExpression::CaseInsensitiveOption);
    if (!any.match(text).hasMatch())
        return false;
    static const QRegularExpression assignment("([\\p{L}\\p{N}_. -]{1,64})[\"']?[ \\t]*[=:]");
    auto found = assignment.globalMatch(text);
    while (found.hasNext()) {
        if (Setting{{}, found.next().captured(1)}.isSecret())
            return true;
    }
    return false;
}

bool looksSecret(const QString &text)
{
    static const QRegularExpression known(
        "//[^/?#@\\s]*:[^/?#@\\s]*@|PRIVATE KEY|\\b(Bearer|Basic) ");
    return known.match(text).hasMatch() || assignsSecret(text);
}

} // namespace

std::optional<QString> fromUtf8(const QByteArray &bytes)
{
    // A blank goes first, because Qt would drop a byte order mark at the beginning.
    const QByteArray whole = ' ' + bytes;
    const QString taken = QString::fromUtf8(whole.constData(), whole.size());
    return taken.toUtf8() == whole ? std::optional(taken.mid(1)) : std::nullopt;
}

QString nameOf(Type type)
{
    return type == Type::Int ? "int"
        : type == Type::Bool ? "bool"
        : type == Type::List ? "list"
                             : "text";
}

bool isList(const QVariant &value)
{
    return value.userType() == QMetaType::QStringList
        || value.userType() == QMetaType::QVariantList;
}

QStringList texts(const QVariant &value)
{
    if (!isList(value))
        return {text(value)};
    QStringList result;
    const QVariantList items = value.toList();
    for (const QVariant &item : items)
        result.append(isList(item) ? withType(item) : text(item));
    return result;
}

QString text(const QVariant &value)
{
    return hasNoText(value) ? withType(value) : value.toString();
}

bool hasNoText(const QVariant &value)
{
    return value.userType() != QMetaType::QString && value.toString().isEmpty();
}

std::optional<QVariant> converted(const QVariant &value, Type type)
{
    switch (type) {
    case Type::Text:
        return value.toString();
    case Type::Int: {
        bool isNumber = false;
        const int number = value.toInt(&isNumber);
        return isNumber ? std::optional<QVariant>(number) : std::nullopt;
    }
    case Type::Bool:
        return value.toBool();
    case Type::List:
        return value.toStringList();
    }
    return {};
}

std::optional<int> wholeNumber(const QVariant &value)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    return isNumber && value.toLongLong() == number ? std::optional(number) : std::nullopt;
}

QVariant asRead(const QVariant &value)
{
    if (!isList(value))
        return itemAsRead(value);
    QVariantList items = value.toList();
    if (items.isEmpty())
        return {};
    if (items.size() == 1 && value.userType() == QMetaType::QStringList)
        return items.first();
    if (items.size() == 1)
        return value;
    for (QVariant &item : items)
        item = itemAsRead(item);
    if (!std::all_of(items.cbegin(), items.cend(), isPlainText))
        return items;
    return QVariant(items).toStringList();
}

bool isSame(const QVariant &a, const QVariant &b)
{
    return fingerprint(asRead(a)) == fingerprint(asRead(b));
}

bool holdsSecret(const QVariant &value)
{
    const QStringList all = texts(value);
    return std::any_of(all.cbegin(), all.cend(), looksSecret);
}

QByteArray fingerprint(const QVariant &value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    QVariant told = value;
    if (value.userType() == QMetaType::QStringList) {
        QStringList items = value.toStringList();
        // A file gives back some empty texts of a list as null ones.
        for (QString &item : items) {
            if (item.isNull())
                item = "";
        }
        told = items;
    }
    stream << told;
    return bytes;
}

} // namespace value
