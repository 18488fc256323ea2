// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "commands.h"
#include "session.h"

namespace {

struct GetOptions
{
    Words words;
    std::optional<QString> defaultValue;
    std::optional<provenance::Location> from;
    std::optional<value::Type> as;
    StorageChoice storage;
};

void print(const Context &context, const GetOptions &own, const QVariant &found,
           const QString &origin)
{
    const Setting setting = own.words.setting();
    // This is the one place that shows a secret on purpose.
    output::Format open = context.arguments.format;
    open.showSecrets = true;
    const auto converted = own.as ? value::converted(found, *own.as) : found;
    if (!converted) {
        throw Failure{Misuse,
                      {setting.name(), "no number: " + output::shown(setting, found, {}),
                       "read it --as text"}};
    }
    if (open.json) {
        output::object({{"group", setting.group},
                        {"key", setting.key},
                        {"value", output::json(setting, *converted, open)},
                        {"origin", origin}});
    } else {
        output::bare(value::texts(*converted), open);
    }
}

ExitStatus get(const Context &context, const GetOptions &own)
{
    const Setting setting = own.words.setting();
    requireStorage(context.files, own.storage.mayCreate, CannotRead);
    const Session session(context.files);
    QStringList known;
    if (context.files.storage()) {
        session.requireReadableStorage();
        const auto &storage = session.written();
        if (storage.contains(setting.group, setting.key)) {
            print(context, own, storage.value(setting.group, setting.key),
                  context.files.writtenFile());
            return Done;
        }
        known = storage.allKeys();
    } else {
        session.requireReadableFiles();
        const auto answers = session.ask(setting);
        for (const auto &answer : answers) {
            if (answer.isHeld && (!own.from || *own.from == answer.location)) {
                print(context, own, answer.value, provenance::locationName(answer.location));
                return Done;
            }
        }
        known = session.settings();
    }
    if (own.defaultValue) {
        print(context, own, *own.defaultValue, "--default");
        return Done;
    }
    output::note(notSet(setting, known, "set it, or give --default"));
    return PlainNo;
}

} // namespace

void addGet(CommandLine &line)
{
    const auto own = std::make_shared<GetOptions>();
    const Command command = line.addCommand(
        "get", "print a value", [own](const Context &context) { return get(context, *own); });
    command.addWords(own->words).required();
    command.addWord("--default", "what to print if it is not set",
                    [own](const QString &word) { own->defaultValue = word; });
    const Option from = command.addLocation(own->from);
    command.addType("--as", own->as);
    command.addStorage(own->storage).excludes(from);
    command.addRecords();
}
