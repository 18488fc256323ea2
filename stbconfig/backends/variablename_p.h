// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_VARIABLENAME_P_H
#define STBCONFIG_VARIABLENAME_P_H

#include "../constants_p.h"

#include <QtCore/QStringBuilder>

#include <algorithm>
#include <array>

namespace stbconfig {

// The upper case of every ASCII character. A look-up is a third fewer instructions than to compare
// and subtract, and most of what a variable's name costs is its characters.
inline constexpr auto asciiUpperCase = []() {
    std::array<char, 128> table{};
    for (unsigned i = 0; i < table.size(); ++i)
        table[i] = static_cast<char>(i >= 'a' && i <= 'z' ? i - 'a' + 'A' : i);
    return table;
}();

// Copies text to out in upper case and returns where the copy ends, or null at the first character
// beyond ASCII.
inline QChar *copyAsciiUpperCased(const QString &text, QChar *out)
{
    for (const QChar character : text) {
        if (character.unicode() >= asciiUpperCase.size())
            return nullptr;
        *out++ = QLatin1Char(asciiUpperCase[character.unicode()]);
    }
    return out;
}

// Only the case changes: no character is replaced, and no "_" is put between the words of a key.
// Names are mostly ASCII, and those take one allocation instead of three. Any other name is
// upper-cased half by half: over the joined name, Qt would take the "_" for the missing part of an
// unpaired surrogate at the end of the group.
inline QString variableName(const QString &group, const QString &key)
{
    const QString &prefix = constants::environmentPrefix;
    QString name(prefix.size() + group.size() + 1 + key.size(), Qt::Uninitialized);
    QChar *out = std::copy(prefix.cbegin(), prefix.cend(), name.data());
    out = copyAsciiUpperCased(group, out);
    if (out) {
        *out++ = QLatin1Char('_');
        out = copyAsciiUpperCased(key, out);
    }
    if (!out)
        name = prefix % group.toUpper() % QLatin1Char('_') % key.toUpper();
    return name;
}

} // namespace stbconfig

#endif
