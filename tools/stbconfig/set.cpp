// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"
#include "writing.h"

using stbconfig::ConfigurationManager;

namespace {

QVariant typedValue(const Options &options)
{
    const auto refuse = [&options](const char *what, const char *remedy) {
        throw Failure{Misuse, settingOf(options.address),
                      QLatin1Char('"') + output::shown(options.address, options.value, options)
                          + QLatin1String("\" is ") + QLatin1String(what),
                      QString::fromLatin1(remedy)};
    };
    if (options.type == QLatin1String("int")) {
        bool isNumber = false;
        const int number = options.value.toInt(&isNumber);
        if (!isNumber)
            refuse("no number", "give a whole number of 32 bits");
        return number;
    }
    if (options.type == QLatin1String("bool")) {
        if (options.value != QLatin1String("true") && options.value != QLatin1String("false"))
            refuse("no boolean", "give true or false");
        return options.value == QLatin1String("true");
    }
    if (options.type == QLatin1String("list"))
        return options.value.split(QLatin1Char(','));
    return options.value;
}

} // namespace

ExitStatus set(const Options &options)
{
    const auto &[group, key] = options.address;
    const QVariant value = typedValue(options);
    {
        const Session session(options);
        const stbconfig::IReadableBackend *storage = session.namedStorage(NotSaved);
        if (!storage) {
            storage = session.readable(ConfigurationManager::CustomConfPersistent);
            requireReadable(session.customFile(), *storage);
        }
        if (storage->contains(group, key) && texts(storage->value(group, key)) == texts(value)) {
            if (options.verbose)
                output::note(settingOf(options.address), QStringLiteral("unchanged"));
            return Done;
        }
    }
    const QString shown = output::shown(options.address, value, options);
    writing::save(options,
                  [&options, &value](stbconfig::IStorableBackend &storage) {
                      storage.setValue(options.address.group, options.address.key, value);
                  },
                  {{options.address, value}});
    if (options.dryRun)
        output::line(QLatin1String("would set ") + settingOf(options.address)
                     + QLatin1String(" to ") + shown);
    return Done;
}
