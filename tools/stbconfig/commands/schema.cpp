// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "schema.h"
#include "arguments.h"
#include "commands.h"
#include "generators.h"

#include <QtCore/QMap>

namespace {

using Generator = void (*)(const Context &);

const QMap<QString, Generator> &generatorsByName()
{
    static const QMap<QString, Generator> all{{"new", generators::draft},
                                              {"conf", generators::conf},
                                              {"markdown", generators::markdown},
                                              {"header", generators::header}};
    return all;
}

Generator generatorNamed(const QString &word)
{
    const auto it = generatorsByName().constFind(word);
    if (it == generatorsByName().cend()) {
        throw Failure{
            Misuse,
            {word, "nothing that schema prints",
             names::suggestion(word, schema::outputs(), "use " + schema::outputs().join(", "))}};
    }
    return *it;
}

void noteSecrets(const Context &context)
{
    int count = 0;
    for (const Described &described : context.description.all()) {
        if (described.defaultValue
            && generators::defaultOf(described, context.arguments.format) == nullptr)
            ++count;
    }
    if (count != 0) {
        output::note({"schema", QString("defaults of secrets left out: %1").arg(count),
                      "add --show-secrets to print them"});
    }
}

ExitStatus print(const Context &context, Generator generator)
{
    // A draft needs no description: it may replace a bad one, or be the first.
    if (generator == generators::draft) {
        generator(context);
        return Done;
    }
    if (context.arguments.format.json)
        throw Failure{Misuse, {"schema", "prints no JSON but with new", "leave --json out"}};
    if (context.descriptionProblem)
        throw Failure{CannotRead, *context.descriptionProblem};
    description::require(context.description, context.arguments.description, context.files);
    generator(context);
    noteSecrets(context);
    return Done;
}

} // namespace

namespace schema {

QStringList outputs() { return generatorsByName().keys(); }

} // namespace schema

void addSchema(CommandLine &line)
{
    const auto generator = std::make_shared<Generator>();
    const Command command =
        line.addCommand("schema", "draft the description, or print a file made from it",
                        [generator](const Context &context) { return print(context, *generator); });
    command
        .addWord("output", "new, conf, markdown or header",
                 [generator](const QString &word) { *generator = generatorNamed(word); })
        .required();
    command.treatBadDescription(BadDescription::Found);
}
