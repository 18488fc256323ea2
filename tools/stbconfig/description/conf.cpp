// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "exchange.h"
#include "generators.h"

namespace generators {
namespace {

QByteArray comment(const QString &line)
{
    return line.isEmpty() ? QByteArray(";\n") : "; " + line.toUtf8() + '\n';
}

QByteArray commentsOf(const Described &described)
{
    QStringList lines = linesOf(described.text);
    lines += "allowed: " + linesOf(description::allowed(described)).join(' ');
    const QStringList since = linesOf(described.since);
    if (!since.isEmpty())
        lines += "since " + since.join(' ');
    QByteArray result;
    for (const QString &line : qAsConst(lines))
        result += comment(line);
    return result;
}

} // namespace

void conf(const Context &context)
{
    Entries entries;
    QSet<QString> commented;
    for (const Described &described : context.description.all()) {
        const QString name = described.setting.name();
        const QVariant *byDefault = defaultOf(described, context.arguments.format);
        // A file has no empty list, but where nothing is held, the application takes its default.
        const QVariant held = byDefault ? value::asRead(*byDefault) : QVariant();
        entries.insert(name, held.isValid() ? held : QVariant(""));
        if (!held.isValid())
            commented.insert(name);
    }
    // The library writes the text itself, so that it quotes and escapes what it will read.
    const QByteArray text = exchange::written(entries, context.arguments.places.asRoot);
    std::optional<QString> group; // of the entry before
    exchange::print(exchange::withComments(text, [&](const QString &name) {
        const Described &described = *context.description.find(Setting::named(name));
        const QByteArray gap = described.setting.group == group ? "\n" : "";
        group = described.setting.group;
        return gap + commentsOf(described) + (commented.contains(name) ? ";" : "");
    }));
}

} // namespace generators
