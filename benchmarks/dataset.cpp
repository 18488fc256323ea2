// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "dataset.h"

#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <algorithm>

namespace {

constexpr int keysPerGroup = 10;

QString groupName(int number) { return QString("Group%1").arg(number, 2, 10, QChar('0')); }
QString keyName(int number) { return QString("key%1").arg(number); }

bool isCustom(int group, int key) { return (key == 1 && group < 29) || (key == 4 && group == 5); }

QList<DataSet::Entry> entriesOf(int key)
{
    QList<DataSet::Entry> entries{{groupName(5), keyName(4)}};
    for (int group = 0; group < 4; ++group)
        entries.append({groupName(group), keyName(key)});
    return entries;
}

bool holds(const QList<DataSet::Entry> &entries, const QString &group, const QString &key)
{
    return std::any_of(entries.begin(), entries.end(), [&](const DataSet::Entry &entry) {
        return entry.group == group && entry.key == key;
    });
}

const char *winnerOf(int group, int key)
{
    if (isCustom(group, key))
        return "from the custom file";
    if (holds(DataSet::heldInMemory(), groupName(group), keyName(key)))
        return "from memory";
    if (holds(DataSet::heldInEnvironment(), groupName(group), keyName(key)))
        return "from the environment";
    return "from the default file";
}

// Writes an entry for each pair to which textOf() gives a text.
template <typename TextOf>
void write(const QString &path, int groups, TextOf textOf)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    QTextStream out(&file);
    for (int group = 0; group < groups; ++group) {
        out << '[' << groupName(group) << "]\n";
        for (int key = 0; key < keysPerGroup; ++key) {
            if (const char *text = textOf(group, key))
                out << keyName(key) << '=' << text << '\n';
        }
    }
    out << "[Logging]\nlevel=debug\n";
}

} // namespace

DataSet::DataSet(int groups)
{
    write(defaultFile(), groups, [](int, int) { return "from the default file"; });
    write(customFile(), qMin(groups, 40), [](int group, int key) -> const char * {
        return isCustom(group, key) ? "from the custom file" : nullptr;
    });
    write(mergedFile(), groups, winnerOf);
    for (const Entry &entry : heldInEnvironment()) {
        const QString name = "STBAPP_" + entry.group.toUpper() + '_' + entry.key.toUpper();
        qputenv(name.toLatin1().constData(), "from the environment");
    }
}

QList<DataSet::Entry> DataSet::heldInEnvironment() { return entriesOf(2); }
QList<DataSet::Entry> DataSet::heldInMemory() { return entriesOf(3); }
