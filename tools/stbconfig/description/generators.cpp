// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "generators.h"

namespace generators {

QStringList linesOf(const QString &text)
{
    const QString whole = text.trimmed();
    if (whole.isEmpty())
        return {};
    QStringList lines = whole.split('\n');
    for (QString &line : lines)
        line = output::printable(line.trimmed());
    return lines;
}

const QVariant *defaultOf(const Described &described, const output::Format &format)
{
    return described.defaultValue
            && !output::isMasked(described.setting, *described.defaultValue, format)
        ? &*described.defaultValue
        : nullptr;
}

} // namespace generators
