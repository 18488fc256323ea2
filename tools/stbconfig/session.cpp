// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "session.h"

#include "rawfile.h"
#include "trialread.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMetaEnum>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QRegularExpression>

using stbconfig::ConfigurationManager;

namespace {

const char variablePrefix[] = "STBAPP_";

void clearVariables()
{
    const QStringList names = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &name : names) {
        if (name.startsWith(QLatin1String(variablePrefix)))
            qunsetenv(name.toLocal8Bit().constData());
    }
}

QByteArray contents(const QString &path, const QString &whatToDo)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure{CannotRead, path, file.errorString(), whatToDo};
    return file.readAll();
}

void readVariables(const QString &path, const QByteArray &text, char separator)
{
    clearVariables();
    int number = 0;
    const QList<QByteArray> lines = text.split(separator);
    for (const QByteArray &line : lines) {
        ++number;
        if (line.isEmpty() || (separator == '\n' && line.startsWith('#')))
            continue;
        const auto equals = line.indexOf('=');
        if (equals <= 0 && separator == '\n') {
            throw Failure{CannotRead, path, QStringLiteral("line %1 is no NAME=VALUE").arg(number),
                          QStringLiteral("correct the line")};
        }
        if (line.startsWith(variablePrefix) && equals > 0)
            qputenv(line.left(equals).constData(), line.mid(equals + 1));
    }
}

// Before the manager is made: it takes its copy of the environment then.
void chooseEnvironment(const Options &options)
{
    if (options.pid) {
        const QString process = QStringLiteral("process %1").arg(*options.pid);
        const QString directory = QStringLiteral("/proc/%1").arg(*options.pid);
        if (!QFileInfo::exists(directory)) {
            throw Failure{CannotRead, process, QStringLiteral("no such process"),
                          QStringLiteral("give the number of a running one")};
        }
        const QString path = directory + QLatin1String("/environ");
        readVariables(path, contents(path, QStringLiteral("run as the process's user or as root")),
                      '\0');
    } else if (options.environmentFile) {
        readVariables(*options.environmentFile,
                      contents(*options.environmentFile, QStringLiteral("name a readable file")),
                      '\n');
    } else if (options.noEnvironment || !options.root.isEmpty()) {
        clearVariables();
    }
}

QString belowRoot(const QString &root, const QString &prefix)
{
    if (root.isEmpty())
        return prefix;
    return root + (prefix.startsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) + prefix;
}

} // namespace

Files::Files(const Options &options)
    : m_options(options), m_persistentPrefix(belowRoot(options.root, options.persistentPrefix)),
      m_defaultsPrefix(belowRoot(options.root, options.defaultsPrefix))
{}

QStringList Files::storageNames() const
{
    const auto slash = m_persistentPrefix.lastIndexOf(QLatin1Char('/'));
    const QString directory = slash < 0 ? QStringLiteral(".") : m_persistentPrefix.left(slash + 1);
    const QString stem = m_persistentPrefix.mid(slash + 1);
    QStringList names;
    const QStringList entries = QDir(directory).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString &entry : entries) {
        if (entry.startsWith(stem) && entry.endsWith(QLatin1String(".db")))
            names.append(entry.mid(stem.size(), entry.size() - stem.size() - 3));
    }
    return names;
}

QStringList Files::all() const
{
    QStringList files{customFile(), defaultsFile()};
    const QStringList names = storageNames();
    for (const QString &name : names)
        files.append(storageFile(name));
    return files;
}

Session::Session(const Options &options) : Files(options)
{
    QStringList files{customFile(), defaultsFile()};
    if (options.storage)
        files.append(storageFile(*options.storage));
    for (const QString &file : qAsConst(files)) {
        if (endsItsReader(file)) {
            throw Failure{CannotRead, file, QStringLiteral("reading it ends the process"),
                          QStringLiteral("find the value with stbconfig check, restore the file")};
        }
    }
    chooseEnvironment(options);
    m_manager =
        std::make_unique<ConfigurationManager>(persistentPrefix(), defaultsPrefix(), nullptr);
}

const stbconfig::IReadableBackend *Session::readable(provenance::Location location) const
{
    return m_manager->readOnlyStorage(location);
}

void Session::requireReadableFiles() const
{
    requireReadable(customFile(), *readable(ConfigurationManager::CustomConfPersistent));
    requireReadable(defaultsFile(), *readable(ConfigurationManager::StbappConfDefault));
}

stbconfig::IStorableBackend *Session::namedStorage(ExitStatus statusIfMissing) const
{
    if (!options().storage)
        return nullptr;
    const QString file = storageFile(*options().storage);
    if (!options().create && !QFileInfo::exists(file)) {
        throw Failure{statusIfMissing, file, QStringLiteral("no such storage"),
                      QStringLiteral("check the name, or add --create")};
    }
    stbconfig::IStorableBackend *storage = m_manager->independentStorage(*options().storage);
    requireReadable(file, *storage);
    return storage;
}

QString Session::source(provenance::Location location, const Address &address) const
{
    switch (location) {
    case ConfigurationManager::CustomConfPersistent:
        return customFile();
    case ConfigurationManager::StbappConfDefault:
        return defaultsFile();
    case ConfigurationManager::EnvironmentVariables:
        return provenance::variableName(address.group, address.key);
    case ConfigurationManager::DhcpOptionsConf:
    case ConfigurationManager::TemporaryApplicationStorage:
        break;
    }
    return {};
}

QStringList Session::knownSettings() const
{
    QStringList known = readable(ConfigurationManager::CustomConfPersistent)->allKeys()
        + readable(ConfigurationManager::StbappConfDefault)->allKeys()
        + QStringList{QStringLiteral("Profile/locale"), QStringLiteral("Logging/level"),
                      QStringLiteral("Logging/responseLengthLimit"),
                      QStringLiteral("Logging/jsonFormattingEnabled"),
                      QStringLiteral("Logging/imageRequestsEnabled")};
    known.removeDuplicates();
    known.sort();
    return known;
}

QStringList Session::settings() const
{
    QStringList held;
    const QStringList known = knownSettings();
    for (const QString &setting : known) {
        const Address address = addressOf(setting);
        if (provenance::winner(provenance::ask(*m_manager, address.group, address.key)) != nullptr)
            held.append(setting);
    }
    return held;
}

Address addressOf(const QString &setting)
{
    const auto slash = setting.indexOf(QLatin1Char('/'));
    return slash < 0 ? Address{QString(), setting}
                     : Address{setting.left(slash), setting.mid(slash + 1)};
}

QString settingOf(const Address &address)
{
    return address.group.isEmpty() ? address.key : address.group + QLatin1Char('/') + address.key;
}

provenance::Location locationOf(const QString &name)
{
    const auto locations = QMetaEnum::fromType<ConfigurationManager::SettingsLocation>();
    QStringList names;
    for (int i = 0; i < locations.keyCount(); ++i) {
        const QString candidate = QString::fromLatin1(locations.key(i));
        if (!name.isEmpty() && candidate.startsWith(name, Qt::CaseInsensitive))
            return provenance::Location(locations.value(i));
        names.append(candidate);
    }
    throw Failure{Misuse, name, QStringLiteral("no such location"),
                  QStringLiteral("use the beginning of ") + names.join(QStringLiteral(", "))};
}

void requireReadable(const QString &file, const stbconfig::IReadableBackend &storage)
{
    const QFileInfo info(file);
    if (!info.exists())
        return;
    if (!info.isFile() || !info.isReadable()) {
        throw Failure{CannotRead, file, QStringLiteral("not a readable file"),
                      QStringLiteral("check what it is and its permissions")};
    }
    // A malformed entry shows only once its section has been read.
    storage.allKeys();
    if (!storage.isValid()) {
        QStringList numbers;
        const QVector<RawLine> lines = readLines(file);
        for (const RawLine &line : lines) {
            if (line.kind == RawLine::Malformed)
                numbers.append(QString::number(line.number));
        }
        throw Failure{CannotRead, file,
                      numbers.isEmpty()
                          ? QStringLiteral("malformed")
                          : QStringLiteral("malformed, line ") + numbers.join(QStringLiteral(", ")),
                      QStringLiteral("correct or remove the line, then try again")};
    }
}

QStringList texts(const QVariant &value)
{
    return value.type() == QVariant::StringList ? value.toStringList()
                                                : QStringList{value.toString()};
}

bool matches(const QString &glob, const QString &setting)
{
    if (glob.isEmpty())
        return true;
    // A "*" spans groups, so that "*level" finds Logging/level: hence not Qt's path-wise wildcard.
    QString pattern = QRegularExpression::escape(glob);
    pattern.replace(QLatin1String("\\*"), QLatin1String(".*"));
    pattern.replace(QLatin1String("\\?"), QLatin1String("."));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::DotMatchesEverythingOption)
        .match(setting)
        .hasMatch();
}
