// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_LAYOUT_H
#define STBCONFIG_TOOL_LAYOUT_H

#include <QtCore/QDataStream>
#include <QtCore/QStringList>
#include <QtCore/QVector>

// Fits the report's text into the columns that every line has, and its settings into few lines.
namespace layout {

/// Returns at most so many columns of the text; a longer one ends in its length: "abc…(120)".
QString cut(const QString &text, int room);

/// Returns the text as indented lines, from the second one on further. Parts a word that no line
/// has room for.
QStringList wrapped(const QString &text, int indent = 0);

struct Item
{
    QString group;
    QString key;
    QString mark; // who holds it, and how it differs from the default
    QString value; // all of them safe to show
    QString defaultValue; // if it differs
};

QDataStream &operator<<(QDataStream &stream, const Item &item);
QDataStream &operator>>(QDataStream &stream, Item &item);

/// Returns the items, in their order, in at most so many lines if they can be made that short.
QStringList settings(const QVector<Item> &items, QStringList::size_type most);

} // namespace layout

#endif
