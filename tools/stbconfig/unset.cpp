// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"
#include "writing.h"

using stbconfig::ConfigurationManager;

namespace {

// A redundant setting gives the same value when it is gone, whichever location answers then.
bool isRedundant(const Session &session, const Address &address)
{
    const auto answers = provenance::ask(session.manager(), address.group, address.key);
    const QStringList own = texts(answers.first().value);
    bool isInDefaults = false;
    for (const auto &answer : answers) {
        if (answer.isHeld && texts(answer.value) != own)
            return false;
        if (answer.isHeld && answer.location == ConfigurationManager::StbappConfDefault)
            isInDefaults = true;
    }
    return isInDefaults;
}

QVector<Address> chosen(const Session &session, const stbconfig::IReadableBackend &storage,
                        const Options &options)
{
    QVector<Address> addresses;
    const QStringList settings = storage.allKeys();
    for (const QString &setting : settings) {
        const Address address = addressOf(setting);
        const bool isChosen = options.redundant ? isRedundant(session, address)
            : options.group ? setting.startsWith(*options.group + QLatin1Char('/'))
                            : false;
        if (isChosen)
            addresses.append(address);
    }
    const auto &[group, key] = options.address;
    if (!options.redundant && !options.group && storage.contains(group, key))
        addresses.append(options.address);
    return addresses;
}

} // namespace

ExitStatus unset(const Options &options)
{
    const bool isSingle = !options.redundant && !options.group;
    // To Qt, an empty group means the whole file.
    if (options.group && options.group->isEmpty()) {
        throw Failure{Misuse, QStringLiteral("unset"), QStringLiteral("an empty group"),
                      QStringLiteral("name the group")};
    }
    QVector<Address> addresses;
    {
        const Session session(options);
        const stbconfig::IReadableBackend *storage = session.namedStorage(NotSaved);
        if (!storage) {
            session.requireReadableFiles();
            storage = session.readable(ConfigurationManager::CustomConfPersistent);
        }
        addresses = chosen(session, *storage, options);
        if (addresses.isEmpty() && !options.redundant) {
            output::complain(isSingle ? settingOf(options.address) : *options.group,
                             QLatin1String("not set in ") + session.writtenFile(),
                             QStringLiteral("see where it is set with explain"));
            return PlainNo;
        }
    }
    if (addresses.isEmpty()) {
        if (options.verbose)
            output::note(QStringLiteral("unset"), QStringLiteral("nothing is redundant"));
        return Done;
    }

    QVector<writing::Expectation> expected;
    for (const Address &address : qAsConst(addresses))
        expected.append({address, QVariant()});
    writing::save(
        options,
        [&addresses, &options](stbconfig::IStorableBackend &storage) {
            // As a whole, because Qt cannot address every key that a file written by hand can hold.
            if (options.group) {
                storage.remove(*options.group, QString());
                return;
            }
            for (const Address &address : qAsConst(addresses))
                storage.remove(address.group, address.key);
        },
        expected);

    const Session session(options);
    for (const Address &address : qAsConst(addresses)) {
        if (options.dryRun) {
            output::line(QLatin1String("would unset ") + settingOf(address));
            continue;
        }
        if (options.storage) {
            output::line(settingOf(address) + QLatin1String(" is now not set"));
            continue;
        }
        const auto answers = provenance::ask(session.manager(), address.group, address.key);
        const auto *winner = provenance::winner(answers);
        output::line(
            settingOf(address)
            + (winner ? QLatin1String(" is now ") + output::shown(address, winner->value, options)
                       + QLatin1String(" from ") + provenance::locationName(winner->location)
                      : QStringLiteral(" is now not set")));
    }
    return Done;
}
