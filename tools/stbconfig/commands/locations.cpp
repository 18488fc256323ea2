// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "fileproblem.h"
#include "rows.h"

#include <QtCore/QFileInfo>

namespace {

QString inWords(const QFileInfo &info, const QFileInfo &directory, bool hasLock)
{
    QStringList words;
    if (info.exists()) {
        words << QString("%1 bytes").arg(info.size())
              << (info.isReadable() ? "readable" : "not readable")
              << (info.isWritable() ? "writable" : "not writable");
    } else {
        words << "no such file";
    }
    if (!directory.isDir() || !directory.isWritable())
        words << "directory not writable";
    if (hasLock)
        words << "left-over lock";
    return words.join(", ");
}

ExitStatus locations(const Context &context)
{
    const Files &files = context.files;
    QVector<output::Row> rows;
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            rows.append(rows::ofFile(provenance::locationName(facts.location), files.fileOf(facts),
                                     files.root()));
    }
    const QStringList names = files.storageNames();
    for (const QString &name : names)
        rows.append(rows::ofFile(name, files.storageFile(name), files.root()));
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (!facts.hasFile())
            rows.append(rows::withoutFile(facts));
    }
    output::lines(rows, context.arguments.format);
    return Done;
}

} // namespace

namespace rows {

output::Row ofFile(const QString &name, const QString &file, const QString &root)
{
    const QFileInfo info(file);
    const QFileInfo directory(info.absolutePath());
    const QFileInfo lock(file + names::lockSuffix);
    const bool hasLock = lock.exists() || lock.isSymLink();
    const auto problem = fileproblem::ofOpening(file, root);
    const QString state = problem ? problem->whatHappened : inWords(info, directory, hasLock);
    return {QJsonObject{{"name", name},
                        {"file", file},
                        {"exists", info.exists()},
                        {"readable", !problem && info.isReadable()},
                        {"writable", !problem && info.isWritable()},
                        {"directoryWritable", directory.isDir() && directory.isWritable()},
                        {"size", info.size()},
                        {"lock", hasLock},
                        {"problem", problem ? QJsonValue(problem->whatHappened) : QJsonValue()}},
            {output::padded(output::safe(name), 28) + output::safe(file),
             QString(28, ' ') + output::safe(state)},
            {name, state, file}};
}

output::Row withoutFile(const provenance::Facts &facts)
{
    const QString name = provenance::locationName(facts.location);
    return {QJsonObject{{"name", name}, {"note", facts.text}},
            {output::padded(name, 28) + facts.text},
            {name, facts.text, QString()}};
}

} // namespace rows

void addLocations(CommandLine &line)
{
    const Command command =
        line.addCommand("locations", "show the locations and their files", locations);
    command.addRecords();
}
