// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "session.h"

#include "child.h"
#include "fileproblem.h"

#include <QtCore/QFileInfo>

using stbconfig::ConfigurationManager;

Session::Session(const Files &files) : m_files(files)
{
    qint64 size = 0;
    const QStringList opened = files.openedAtOnce();
    for (const QString &file : opened) {
        if (const auto problem = fileproblem::ofOpening(file, files.root()))
            throw Failure{CannotRead, *problem};
        size += QFileInfo(file).size();
    }
    const child::MemoryLimit memory(size);
    m_manager = std::make_unique<ConfigurationManager>(files.persistentPrefix(),
                                                       files.defaultsPrefix(), nullptr);
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            open(files.fileOf(facts), readable(facts.location));
    }
    if (files.storage())
        open(files.writtenFile(), written());
}

// Qt builds the values of a section when somebody first asks for it. This asks for all of them now,
// and only once, because listing them takes long.
void Session::open(const QString &file, const stbconfig::IReadableBackend &storage)
{
    m_settings.insert(file, storage.allKeys());
}

const stbconfig::IReadableBackend &Session::readable(provenance::Location location) const
{
    return *m_manager->readOnlyStorage(location);
}

stbconfig::IStorableBackend &Session::written() const
{
    return m_files.storage()
        ? *m_manager->independentStorage(*m_files.storage())
        : *m_manager->dynamicStorage(ConfigurationManager::CustomConfPersistent);
}

void Session::requireReadableFiles() const
{
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            requireReadable(m_files.fileOf(facts), readable(facts.location));
    }
}

void Session::requireReadableStorage() const { requireReadable(m_files.writtenFile(), written()); }

void Session::requireReadableDefaults() const
{
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.keeper == provenance::Keeper::ImageFile)
            requireReadable(m_files.fileOf(facts), readable(facts.location));
    }
}

void Session::requireReadable(const QString &file, const stbconfig::IReadableBackend &storage) const
{
    const fileproblem::Contents contents = fileproblem::read(file, m_files.root());
    if (contents.problem)
        throw Failure{CannotRead, *contents.problem};
    if (const auto problem = fileproblem::ofWhatWasRead(file, contents.bytes, storage.isValid(),
                                                        m_settings[file].isEmpty()))
        throw Failure{CannotRead, *problem};
}

QVector<provenance::Answer> Session::ask(const Setting &setting) const
{
    return provenance::ask(*m_manager, setting);
}

QString Session::source(provenance::Location location, const Setting &setting) const
{
    const provenance::Facts &facts = provenance::factsOf(location);
    if (facts.hasFile())
        return m_files.fileOf(facts);
    return facts.keeper == provenance::Keeper::Variables ? setting.variable() : QString();
}

QStringList Session::knownSettings() const
{
    QStringList known = names::ofTheLibrary() + names::described();
    const QStringList all = m_files.ofLocations();
    for (const QString &file : all)
        known += m_settings[file];
    known.removeDuplicates();
    known.sort();
    return known;
}

QStringList Session::settings() const
{
    QStringList held;
    const QStringList known = knownSettings();
    for (const QString &name : known) {
        if (provenance::winner(ask(Setting::named(name))) != nullptr)
            held.append(name);
    }
    return held;
}

Problem notSet(const Setting &setting, const QStringList &known, const QString &whatElse)
{
    return {setting.name(), "not set", names::suggestion(setting.name(), known, whatElse)};
}

void requireStorage(const Files &files, bool mayCreate, ExitStatus status)
{
    if (!files.storage() || mayCreate)
        return;
    const QString file = files.writtenFile();
    if (const auto problem = fileproblem::ofOpening(file, files.root()))
        throw Failure{CannotRead, *problem};
    if (!QFileInfo::exists(file)) {
        throw Failure{status,
                      {file, "no such storage",
                       names::suggestion(*files.storage(), files.storageNames(),
                                         "check the name, or add --create")}};
    }
}
