// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Writes any names and values to a file, destroys the manager and lets another one read the file.
// What comes back is what was written, but for what docs/ini-files.md lists.

#include "box.h"
#include "input.h"
#include "model.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

using namespace stbconfig;

namespace {

IStorableBackend &storage(const ConfigurationManager &manager, bool isNamed, const QString &name)
{
    return isNamed ? *manager.independentStorage(name)
                   : *manager.dynamicStorage(ConfigurationManager::CustomConfPersistent);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    Box box;
    MessageCollector handler;
    FileModel model;
    const bool isNamed = input.flag();
    const QString storageName = isNamed ? input.knownName() : QString();
    {
        const ConfigurationManager manager(box.persistentPrefix(), box.defaultPrefix(), &handler);
        IStorableBackend &file = storage(manager, isNamed, storageName);
        while (!input.isAtEnd()) {
            const bool isRemoved = input.byte() % 8 == 0;
            const auto [group, key] = input.pair();
            const QVariant value = isRemoved ? QVariant() : input.value();
            isRemoved ? file.remove(group, key) : file.setValue(group, key, value);
            if (!handler.take().isEmpty())
                continue;
            isRemoved ? model.remove(group, key) : model.setValue(group, key, value);
        }
    }
    box.move();
    const bool canBeWritten = storageName.size() < 255 && !storageName.contains(QChar());
    const FileModel expected = canBeWritten ? model.reread() : FileModel();
    const ConfigurationManager manager(box.persistentPrefix(), box.defaultPrefix(), &handler);
    const IReadableBackend &file = storage(manager, isNamed, storageName);
    expect(file.allKeys() == expected.allKeys(), "the names come back:",
           file.allKeys().join(", ") + " for " + expected.allKeys().join(", "));
    for (const auto &[name, value] : expected.all())
        expectSame(file.value("", name), value, "the value comes back:", name);
    expect(file.isValid(), "what was written can be read");
    return 0;
}
