// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "files.h"

#include "names.h"
#include "problem.h"
#include "provenance.h"
#include "way.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cstring>
#include <utility>

using stbconfig::ConfigurationManager;

namespace {

// Splits a prefix into the directory and what begins the files' names in it.
std::pair<QString, QString> split(const QString &prefix)
{
    const auto slash = prefix.lastIndexOf('/');
    return {prefix.left(slash + 1), prefix.mid(slash + 1)};
}

} // namespace

Files::Files(const Places &places, std::optional<QString> storage)
    : m_storage(std::move(storage)), m_persistentPrefix(places.persistentPrefix),
      m_defaultsPrefix(places.defaultsPrefix)
{
    if (!places.root)
        return;
    m_root = rootDirectory(*places.root);
    m_persistentPrefix = insideRoot(places.persistentPrefix);
    m_defaultsPrefix = insideRoot(places.defaultsPrefix);
}

QString Files::rootDirectory(const QString &given)
{
    const Way way = follow(absolute(given));
    // An empty root, as an unset variable gives it, would mean the current directory.
    if (given.isEmpty() || way.error != 0 || !QFileInfo(way.end).isDir()) {
        throw Failure{CannotRead,
                      {given.isEmpty() ? "--root" : given,
                       way.error != 0 ? std::strerror(way.error) : "no such directory",
                       "give --root the directory of an unpacked image"}};
    }
    note(way);
    return way.end;
}

QString Files::insideRoot(const QString &prefix)
{
    const auto [directory, stem] = split(prefix);
    const Way way = follow(directory, m_root);
    if (way.error != 0) {
        throw Failure{CannotRead,
                      {m_root + '/' + directory, std::strerror(way.error),
                       "correct the image, or the prefix"}};
    }
    note(way);
    return way.end + (way.end.endsWith('/') ? QString() : QString('/')) + stem;
}

QString Files::sharedBefore(const QString &file) const
{
    return m_shared.isEmpty() ? follow(absolute(file)).shared : m_shared;
}

// Keeps who owns the way: the prefixes no longer hold the links on it, nor who made them.
void Files::note(const Way &way)
{
    if (!m_foreigner)
        m_foreigner = way.foreigner;
    if (m_shared.isEmpty())
        m_shared = way.shared;
}

QString Files::fileOf(const provenance::Facts &facts) const
{
    const bool isWritten = facts.keeper == provenance::Keeper::WrittenFile;
    return (isWritten ? m_persistentPrefix : m_defaultsPrefix) + facts.text;
}

QString Files::customFile() const
{
    return fileOf(provenance::factsOf(ConfigurationManager::CustomConfPersistent));
}

QString Files::defaultsFile() const
{
    return fileOf(provenance::factsOf(ConfigurationManager::StbappConfDefault));
}

QString Files::descriptionFile() const { return m_defaultsPrefix + names::descriptionFile; }

QString Files::storageFile(const QString &name) const
{
    return m_persistentPrefix + name + names::storageSuffix;
}

QStringList Files::storageNames() const
{
    const auto [directory, stem] = split(m_persistentPrefix);
    const QString suffix = names::storageSuffix;
    QStringList result;
    // Links to nowhere and things that are no file count too: they are storages with a problem.
    const QStringList entries =
        QDir(directory.isEmpty() ? "." : directory)
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDir::Name);
    for (const QString &entry : entries) {
        const auto length = entry.size() - stem.size() - suffix.size();
        if (length >= 0 && entry.startsWith(stem) && entry.endsWith(suffix))
            result.append(entry.mid(stem.size(), length));
    }
    return result;
}

QStringList Files::ofLocations() const
{
    QStringList result;
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            result.append(fileOf(facts));
    }
    return result;
}

QStringList Files::all() const
{
    QStringList result = ofLocations();
    const QStringList storages = storageNames();
    for (const QString &name : storages)
        result.append(storageFile(name));
    return result;
}

QStringList Files::openedAtOnce() const
{
    QStringList result = ofLocations() << storageFile(names::firstStorage);
    if (m_storage && *m_storage != names::firstStorage)
        result.append(storageFile(*m_storage));
    return result;
}
