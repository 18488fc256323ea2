// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Does any sequence of operations on all storages of one manager. After each of them every storage,
// the merged lookup and the logging settings are what a simple model says.

#include "box.h"
#include "input.h"
#include "model.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

#include <QtCore/QFileInfo>

#include <map>
#include <vector>

#include <unistd.h>

using namespace stbconfig;

namespace {

/// The process's environment while this object lives.
class Environment
{
public:
    explicit Environment(const EnvironmentModel &model)
    {
        for (const auto &[name, text] : model.all())
            texts.push_back(name + '=' + text);
        for (QByteArray &text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        environ = pointers.data();
    }
    ~Environment() { environ = before; }
    Q_DISABLE_COPY(Environment)

private:
    std::vector<QByteArray> texts;
    std::vector<char *> pointers;
    char **const before = environ;
};

template <typename Model>
void expectPair(const IReadableBackend &storage, const Model &model, const QString &group,
                const QString &key)
{
    expect(storage.contains(group, key) == model.contains(group, key),
           "the storage holds it:", group + " " + key);
    expectSame(storage.value(group, key), model.value(group, key),
               "the storage's value:", group + " " + key);
    expect(storage.isValid(), "the storage is usable");
}

template <typename Model>
void expectKeys(const IReadableBackend &storage, const Model &model)
{
    expect(storage.allKeys() == model.allKeys(), "the storage lists its keys:",
           storage.allKeys().join(", ") + " for " + model.allKeys().join(", "));
}

struct Session
{
    Box box;
    MessageCollector handler;
    EnvironmentModel environment;
    FileModel defaults;
    FileModel custom;
    MemoryModel memory;
    std::map<QString, FileModel> named; // by path: two names can mean one file
    qint32 commandLineLevel = -1;

    QVariant value(const QString &group, const QString &key, const QVariant &defaultValue) const
    {
        if (custom.contains(group, key))
            return custom.value(group, key);
        if (memory.contains(group, key))
            return memory.value(group, key);
        if (environment.contains(group, key))
            return environment.value(group, key);
        if (defaults.contains(group, key))
            return defaults.value(group, key);
        return defaultValue;
    }

    QVariant logged(const QString &key) const
    {
        return custom.contains("Logging", key) ? custom.value("Logging", key)
                                               : defaults.value("Logging", key);
    }

    int responseLengthLimit() const
    {
        bool isNumber = false;
        const int number = custom.value("Logging", "responseLengthLimit").toInt(&isNumber);
        return isNumber ? number : defaults.value("Logging", "responseLengthLimit").toInt();
    }

    int level() const
    {
        if (commandLineLevel >= 0 && commandLineLevel <= 5)
            return commandLineLevel;
        const QStringList words = {"critical", "error", "warning", "info", "debug", "trace"};
        const int word = words.indexOf(logged("level").toString());
        const uint number = logged("level").toUInt();
        return word >= 0 ? word : number > 5 ? 1 : static_cast<int>(number);
    }
};

// The test writes this file itself, so its names must need no escapes.
void writeDefaults(Input &input, Session &session)
{
    QByteArray content;
    for (unsigned rest = input.byte() % 4; rest > 0; --rest) {
        static const Pair pairs[] = {{"a", "b"},
                                     {"Profile", "locale"},
                                     {"Logging", "level"},
                                     {"Logging", "responseLengthLimit"},
                                     {"Logging", "jsonFormattingEnabled"},
                                     {"Logging", "imageRequestsEnabled"}};
        const auto &[group, key] = input.oneOf(pairs);
        const char *const text = input.word();
        content += '[' + group.toLatin1() + "]\n" + key.toLatin1() + '=' + text + '\n';
        session.defaults.setValue(group, key, text);
    }
    Box::write(session.box.defaultPrefix() + "stbapp.conf", content);
}

void setVariables(Input &input, Session &session)
{
    for (unsigned rest = input.byte() % 4; rest > 0; --rest) {
        const auto [group, key] = input.pair();
        session.environment.setVariable(group, key, input.flag() ? input.word() : input.text());
    }
}

template <typename Model>
void change(Input &input, IStorableBackend &storage, Model &model, const QString &group,
            const QString &key, MessageCollector &handler, const QString &refusal)
{
    const bool isRemoved = input.byte() % 4 == 0;
    const QVariant value = isRemoved ? QVariant() : input.value();
    isRemoved ? storage.remove(group, key) : storage.setValue(group, key, value);
    if (const QStringList messages = handler.take(); !messages.isEmpty())
        expect(messages == QStringList(refusal), "a refusal is reported:", messages.first());
    else
        isRemoved ? model.remove(group, key) : model.setValue(group, key, value);
    expectPair(storage, model, group, key);
    expectKeys(storage, model);
}

// The file system decides whether a named storage can be written; a message tells.
void changeNamed(Input &input, const ConfigurationManager &manager, Session &session,
                 const QString &group, const QString &key)
{
    const QString name = input.knownName();
    const QString path =
        QFileInfo(session.box.persistentPrefix() + name + ".db").absoluteFilePath();
    IStorableBackend *const storage = manager.independentStorage(name);
    const bool canBeRefused = name.size() > 255 || name.contains(QChar());
    change(input, *storage, session.named[path], group, key, session.handler,
           canBeRefused ? "unable to write " + path : QString());
}

void setLogging(Input &input, ConfigurationManager &manager, FileModel &custom)
{
    LogsConfigWrapper logging(manager);
    const int number = static_cast<int>(input.byte() % 9) - 1;
    const bool enabled = input.flag();
    switch (input.byte() % 4) {
    case 0:
        logging.setLevel(number);
        return custom.setValue("Logging", "level", number);
    case 1:
        logging.setResponseLengthLimit(number);
        return custom.setValue("Logging", "responseLengthLimit", number);
    case 2:
        logging.setJsonFormattingEnabled(enabled);
        return custom.setValue("Logging", "jsonFormattingEnabled", enabled);
    default:
        logging.setImageRequestsEnabled(enabled);
        return custom.setValue("Logging", "imageRequestsEnabled", enabled);
    }
}

void expectLogging(ConfigurationManager &manager, const Session &session)
{
    const LogsConfigWrapper logging(manager);
    expect(logging.level() == session.level(), "the level");
    expect(logging.responseLengthLimit() == session.responseLengthLimit(), "the length limit");
    expect(logging.jsonFormattingEnabled() == session.logged("jsonFormattingEnabled").toBool(),
           "the JSON formatting");
    expect(logging.imageRequestsEnabled() == session.logged("imageRequestsEnabled").toBool(),
           "the image requests");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    Session session;
    writeDefaults(input, session);
    setVariables(input, session);
    const Environment environment(session.environment);
    ConfigurationManager manager(session.box.persistentPrefix(), session.box.defaultPrefix(),
                                 &session.handler);
    auto *const custom = manager.dynamicStorage(ConfigurationManager::CustomConfPersistent);
    auto *const memory = manager.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage);
    auto *const variables = manager.readOnlyStorage(ConfigurationManager::EnvironmentVariables);
    auto *const defaults = manager.readOnlyStorage(ConfigurationManager::StbappConfDefault);

    for (int operations = 0; operations < 64 && !input.isAtEnd(); ++operations) {
        const unsigned operation = input.byte() % 8;
        const auto [group, key] = input.pair();
        if (operation < 2)
            change(input, *custom, session.custom, group, key, session.handler, {});
        else if (operation < 4)
            change(input, *memory, session.memory, group, key, session.handler, {});
        else if (operation < 5)
            changeNamed(input, manager, session, group, key);
        else if (operation < 6)
            setLogging(input, manager, session.custom);
        else if (operation < 7)
            manager.setCmdLineArgs(
                {session.commandLineLevel = static_cast<qint32>(input.byte() % 9) - 2, {}, {}, {}});

        expectPair(*custom, session.custom, group, key);
        expectPair(*memory, session.memory, group, key);
        expectPair(*variables, session.environment, group, key);
        expectPair(*defaults, session.defaults, group, key);
        expectSame(manager.value(group, key, "default"), session.value(group, key, "default"),
                   "the merged value:", group + " " + key);
        expectLogging(manager, session);
        expect(manager.defaultLocale()
                   == QLocale(session.value("Profile", "locale", "ru").toString()),
               "the locale");
    }
    expectKeys(*custom, session.custom);
    expectKeys(*memory, session.memory);
    expectKeys(*defaults, session.defaults);
    expect(variables->allKeys().size() == static_cast<int>(session.environment.all().size()),
           "the environment lists its variables");
    expect(session.handler.take().isEmpty(), "nothing else is reported");
    return 0;
}
