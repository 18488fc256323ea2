// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "layout.h"

#include "output.h"

#include <algorithm>
#include <iterator>

namespace layout {
namespace {

struct Density
{
    bool isLineEach; // each setting has a line, and its name with the group
    bool isGroupOnLine; // each group begins a line
    bool hasDefaults;
    int value; // columns of a value, and of a name
    int name;
};

// The densities go from what reads best to what is shortest.
constexpr Density densities[] = {
    {true, false, true, 72, 48},   {false, true, true, 40, 40},   {false, false, true, 24, 40},
    {false, false, false, 16, 32}, {false, false, false, 10, 20}, {false, false, false, 7, 12},
};

QString cutName(const QString &name, int room)
{
    return output::columns(name) > room ? output::shortened(name, room - 1) + QChar(0x2026) : name;
}

QString textOf(const Item &item, const Density &density)
{
    constexpr int least = 6;
    const QString full = item.group.isEmpty() ? item.key : item.group + '/' + item.key;
    const QString name =
        item.mark + ' ' + cutName(density.isLineEach ? full : item.key, density.name) + '=';
    const bool hasDefault = density.hasDefaults && !item.defaultValue.isEmpty();
    const int left = output::widest - output::columns(name) - 4; // the indent, and blanks
    const int room = std::clamp(hasDefault ? left / 2 - 2 : left, least, density.value);
    return name + cut(item.value, room)
        + (hasDefault ? " (" + cut(item.defaultValue, room) + ')' : QString());
}

// Puts items side by side, each as a whole.
class Flow
{
public:
    void add(const QString &text)
    {
        const bool fits = output::columns(lines.value(lines.size() - 1)) + output::columns(text) + 2
            < output::widest;
        if (lines.isEmpty() || !fits)
            begin(text);
        else
            lines.last() += "  " + text;
    }

    void begin(const QString &text) { lines.append("  " + text); }

    QStringList lines;
};

QStringList laidOut(const QVector<Item> &items, const Density &density)
{
    Flow flow;
    QString group;
    for (const Item &item : items) {
        const QString text = textOf(item, density);
        if (density.isLineEach) {
            flow.begin(text);
            continue;
        }
        if (item.group != group) {
            const QString head = '[' + cutName(item.group, density.name) + ']';
            density.isGroupOnLine ? flow.begin(head) : flow.add(head);
        }
        group = item.group;
        flow.add(text);
    }
    return flow.lines;
}

} // namespace

QString cut(const QString &text, int room)
{
    if (output::columns(text) <= room)
        return text;
    const QString end = QChar(0x2026) + QString("(%1)").arg(text.size());
    return output::shortened(text, std::max(room - output::columns(end), 1)) + end;
}

QStringList wrapped(const QString &text, int indent)
{
    const QString further(indent + 2, ' ');
    QStringList lines;
    QString current(indent, ' ');
    bool isBegun = false;
    const QStringList words = text.split(' ');
    for (QString word : words) {
        if (isBegun && output::columns(current) + 1 + output::columns(word) > output::widest) {
            lines.append(current);
            current = further;
            isBegun = false;
        }
        current += isBegun ? " " : "";
        while (output::columns(current) + output::columns(word) > output::widest) {
            const QString part = output::shortened(word, output::widest - output::columns(current));
            lines.append(current + part);
            word.remove(0, part.size());
            current = further;
        }
        current += word;
        isBegun = true;
    }
    lines.append(current);
    return lines;
}

QDataStream &operator<<(QDataStream &stream, const Item &item)
{
    return stream << item.group << item.key << item.mark << item.value << item.defaultValue;
}

// cppcheck-suppress constParameter ; it is read into
QDataStream &operator>>(QDataStream &stream, Item &item)
{
    return stream >> item.group >> item.key >> item.mark >> item.value >> item.defaultValue;
}

QStringList settings(const QVector<Item> &items, QStringList::size_type most)
{
    QStringList lines;
    for (const Density &density : densities) {
        lines = laidOut(items, density);
        if (lines.size() <= most)
            break;
    }
    return lines;
}

} // namespace layout
