// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Reads any bytes as custom.conf and, after the first NUL, as stbapp.conf. Every reader returns,
// and what one of them says agrees with what the others say.

#include "box.h"
#include "input.h"
#include "model.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

using namespace stbconfig;

namespace {

// Qt is not instrumented, so the fuzzer cannot see what its parser does. These counters show it what
// came of a file: it keeps the inputs that lead to something new.
__attribute__((used, section("__libfuzzer_extra_counters"))) std::uint8_t seen[256];

void see(uint kind, uint what) { seen[(kind * 64 + what % 64) % 256] = 1; }

void readAll(const ConfigurationManager &manager, ConfigurationManager::SettingsLocation location)
{
    const IReadableBackend &file = *manager.readOnlyStorage(location);
    // Qt parses a file section by section; the order of the questions must not change the answers.
    const QVariant before = file.value("Logging", "level");
    const QStringList names = file.allKeys();
    expectSame(file.value("Logging", "level"), before, "a value stays while others are read");

    const IReadableBackend &custom =
        *manager.readOnlyStorage(ConfigurationManager::CustomConfPersistent);
    const uint which = location == ConfigurationManager::CustomConfPersistent ? 0 : 1;
    see(which, static_cast<uint>(names.size()));
    see(2, which * 2 + file.isValid());
    for (const QString &name : names) {
        const int slash = name.lastIndexOf('/');
        const QString group = name.left(std::max(slash, 0));
        const QString key = name.mid(slash + 1);
        const QVariant value = file.value(group, key);
        see(3, static_cast<uint>(value.userType()));
        // A name with an empty part can stand in a file, but not be asked for.
        if (FileModel::entryName(group, key) != name)
            continue;
        expect(file.contains(group, key), "what is listed is held:", name);
        const IReadableBackend &winner = custom.contains(group, key) ? custom : file;
        expectSame(manager.value(group, key, "default"), winner.value(group, key),
                   "custom.conf wins over stbapp.conf:", name);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char *>(data), static_cast<int>(size));
    if (isPackedByQt(content))
        return 0;
    const int split = content.indexOf('\0');
    const Box box;
    Box::write(box.persistentPrefix() + "custom.conf", content.left(split));
    Box::write(box.defaultPrefix() + "stbapp.conf", split < 0 ? "" : content.mid(split + 1));

    MessageCollector handler;
    ConfigurationManager manager(box.persistentPrefix(), box.defaultPrefix(), &handler);
    readAll(manager, ConfigurationManager::CustomConfPersistent);
    readAll(manager, ConfigurationManager::StbappConfDefault);

    const LogsConfigWrapper logging(manager);
    expect(logging.level() >= 0 && logging.level() <= 5, "a level is one of six");
    see(3, 48 + static_cast<uint>(logging.level()));
    see(3, 54 + (logging.responseLengthLimit() != 0));
    see(3, 56 + logging.jsonFormattingEnabled());
    see(3, 58 + logging.imageRequestsEnabled());
    see(3, 60 + (manager.defaultLocale() != QLocale("ru")));
    expect(handler.take().isEmpty(), "nothing is reported when files are read");
    return 0;
}
