// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_POSITION_H
#define STBCONFIG_TOOL_POSITION_H

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include <optional>

// Where something stands in a text, as editors count: from 1, the column in characters.
struct Position
{
    int line = 1;
    int column = 1;
};

// Qt's JSON forgets where it has read what, so this looks for it once more.
namespace position {

using Offset = QByteArray::size_type;

/// Returns the place of the byte with this offset, or of the end of the UTF-8 text if the offset is
/// behind it.
Position of(const QByteArray &text, Offset offset);

/// The names of the members, and the indexes of the items, that lead to a value; from the outermost.
using Path = QStringList;

/// Returns where the value with this path begins, or the name of the member; there must be one. Qt
/// must accept the text, and no object of it may have two members of one name.
Offset ofValue(const QByteArray &json, const Path &path);
Offset ofName(const QByteArray &json, const Path &path);

/// Returns where the first member begins whose name its object has already. Qt drops one of the two
/// in silence.
std::optional<Offset> ofRepeatedName(const QByteArray &json);

} // namespace position

#endif
