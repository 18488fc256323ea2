// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "disk.h"
#include "fileproblem.h"
#include "identity.h"
#include "lock.h"
#include "obstacle.h"
#include "rawfile.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QThread>

#include <algorithm>
#include <chrono>

namespace check {
namespace {

// Who may write a file decides what mends it.
struct Role
{
    QString file;
    bool isWritten;
    QString storage; // its name, for a named one
    const Description *description; // null for a named one

    QString remedy(const QString &command) const
    {
        return !isWritten       ? QString("correct it in the image")
            : storage.isEmpty() ? "use stbconfig " + command
                                : "use stbconfig set --storage " + storage;
    }
};

QString at(const Role &role, const RawLine &line)
{
    return role.file + ':' + QString::number(line.number);
}

[[maybe_unused]] bool isBeyondAscii(const QByteArray &text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
}

// An open quote hides all entries up to the next quote, which may stand many lines later.
bool hidesEntries(const QByteArray &text)
{
    static const QRegularExpression entry(R"((?<!\\)[\r\n][ \t]*(?:\[[^\r\n"]*\]|[^\r\n"=;]+=))");
    return entry.match(QString::fromLatin1(text)).hasMatch();
}

bool hasOpenComma(const QByteArray &value)
{
    bool isQuoted = false;
    for (int i = 0; i < value.size(); ++i) {
        if (value[i] == '\\')
            ++i;
        else if (value[i] == '"')
            isQuoted = !isQuoted;
        else if (value[i] == ',' && !isQuoted)
            return true;
    }
    return false;
}

// A ";" behind a blank is meant as a comment.
bool isValueCut(const RawLine &line)
{
    return line.isCut && !line.text.endsWith(' ') && !line.text.endsWith('\t');
}

bool isDescribedList(const Role &role, const RawLine &line)
{
    if (!role.description)
        return false;
    const Described *described = role.description->findByAnyName({{}, line.name});
    return described != nullptr && described->type == value::Type::List;
}

void ofEntry(const Role &role, const RawLine &line, Findings &findings)
{
    const QString place = at(role, line);
    // The "@" counts only at the beginning of a text; a second "@" there makes it a text again.
    static const QRegularExpression typed(R"((?:^|,)[ \t"]*(?:@|\\x0*40)(?:Variant|DateTime)\()");
    if (typed.match(QString::fromLatin1(line.value)).hasMatch()) {
        findings.append(
            {Id::TypedValue,
             {place, "can end the process that reads it",
              role.isWritten ? "let nobody but the application write the file" : role.remedy({})}});
    }
    if (line.isQuoteOpen || hidesEntries(line.text)) {
        findings.append({Id::OpenQuote,
                         {place, "an unclosed quote takes in the following lines",
                          "close it, or write \\\" for a quote that is meant"}});
    } else if (hasOpenComma(line.value) && !isDescribedList(role, line)) {
        findings.append({Id::UnquotedComma,
                         {place, "makes a list, whose text is empty",
                          "quote the value unless a list is meant"}});
    }
    if (isValueCut(line)) {
        findings.append({Id::CutValue, {place, "the value ends at the \";\"", "quote the value"}});
    }
}

void ofLines(const Role &role, const QByteArray &bytes, Findings &findings)
{
    QSet<QString> seen;
    int lineOfEntry = 0;
    const QVector<RawLine> lines = rawLines(bytes);
    for (const RawLine &line : lines) {
        const QString place = at(role, line);
        if (line.kind == RawLine::Malformed && line.text.startsWith(byteOrderMark)) {
            findings.append({Id::Malformed,
                             {place, "a byte order mark, which is taken for a line of its own",
                              "save the file without it"}});
        } else if (line.kind == RawLine::Malformed) {
            findings.append(
                {Id::Malformed, {place, "no section and no entry", "correct or remove the line"}});
        } else if (line.text.startsWith('#')) {
            findings.append(
                {Id::HashLine, {place, "a \"#\" line is an entry", "begin comments with \";\""}});
        } else if (role.isWritten && line.kind == RawLine::Comment && line.number != lineOfEntry) {
            findings.append(
                {Id::Comment, {place, "the next write drops this comment", "keep it elsewhere"}});
        }
#if QT_VERSION_MAJOR < 6 // Qt 6 reads UTF-8
        if (line.kind != RawLine::Comment && isBeyondAscii(line.text)) {
            findings.append(
                {Id::NonAscii,
                 {place, "read as Latin-1, not as UTF-8",
                  role.isWritten ? role.remedy("set") : "write \\x escapes in the image"}});
        }
#endif
        if (line.kind != RawLine::Entry)
            continue;
        ofEntry(role, line, findings);
        lineOfEntry = isValueCut(line) ? line.number : 0; // what follows is no comment
        if (seen.contains(line.name)) {
            findings.append({Id::Duplicate,
                             {place, "the entry is there twice, and this one counts",
                              "remove the one that is not meant"}});
        }
        seen.insert(line.name);
    }
}

// A process holds its lock only for the moment of a write, so this waits for a moment. All files
// share one deadline.
std::optional<lock::Held> lastingLock(const QString &file, const QDeadlineTimer &deadline)
{
    constexpr unsigned long pause = 50;
    auto held = lock::of(file);
    while (held && held->canGo && !deadline.hasExpired()) {
        QThread::msleep(pause);
        held = lock::of(file);
    }
    return held;
}

void ofOwner(const QString &file, Findings &findings)
{
    const auto status = disk::statusOf(file);
    const auto directory = disk::statusOf(QFileInfo(file).path());
    if (!status || !directory || status->st_uid == directory->st_uid)
        return;
    const QString owner = identity::userName(directory->st_uid);
    findings.append(
        {Id::ForeignOwner,
         {file, "belongs to " + identity::userName(status->st_uid) + ", its directory to " + owner,
          "give it to " + owner}});
}

// Returns false if the file must not be opened.
bool ofFile(const Role &role, const QString &root, const QDeadlineTimer &deadline,
            Findings &findings)
{
    if (role.isWritten) {
        if (const auto obstacle = obstacle::of(role.file, QFileInfo(role.file).size()))
            findings.append({Id::WriteLost, obstacle->problem});
        if (const auto held = lastingLock(role.file, deadline))
            findings.append({Id::LeftOverLock, held->problem});
    }
    ofOwner(role.file, findings);
    const fileproblem::Contents contents = fileproblem::read(role.file, root);
    if (contents.problem) {
        findings.append({Id::Unreadable, *contents.problem});
        return !fileproblem::ofOpening(role.file, root);
    }
    if (!contents.exists) {
        findings.append({Id::Missing,
                         {role.file, "no such file",
                          role.isWritten ? "nothing, unless settings were stored here"
                                         : "put it into the image, unless there are no defaults"}});
        return true;
    }
    ofLines(role, contents.bytes, findings);
    return true;
}

QVector<Role> rolesOf(const Files &files, const Description &description)
{
    QVector<Role> roles;
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile()) {
            const bool isWritten = facts.keeper == provenance::Keeper::WrittenFile;
            roles.append({files.fileOf(facts), isWritten, {}, &description});
        }
    }
    const QStringList names = files.storageNames();
    for (const QString &name : names)
        roles.append({files.storageFile(name), true, name, nullptr});
    return roles;
}

void ofStorage(const QString &file, const QString &root, const stbconfig::IReadableBackend &storage,
               Findings &findings)
{
    const QStringList settings = storage.allKeys();
    const bool hasLine =
        std::any_of(findings.cbegin(), findings.cend(), [&file](const Finding &finding) {
            return isOfReading(finding.id) && finding.problem.thing.startsWith(file);
        });
    const fileproblem::Contents contents = fileproblem::read(file, root);
    const auto problem = contents.problem
        ? contents.problem
        : fileproblem::ofWhatWasRead(file, contents.bytes, storage.isValid(), settings.isEmpty());
    if (problem && !hasLine)
        findings.append({storage.isValid() ? Id::Unreadable : Id::Malformed, *problem});
    const auto status = disk::statusOf(file);
    const auto directory = disk::statusOf(QFileInfo(file).path());
    if (!status || (status->st_mode & S_IROTH) == 0 || !directory
        || (directory->st_mode & S_IXOTH) == 0)
        return;
    for (const QString &name : settings) {
        if (Setting::named(name).isSecret()) {
            findings.append({Id::ReadableSecret,
                             {file, name + " can be read by everybody",
                              "take the file's permissions from others"}});
        }
    }
}

} // namespace

void prefixes(const Places &places, Findings &findings)
{
    for (const QString &prefix : {places.persistentPrefix, places.defaultsPrefix}) {
        if (!prefix.endsWith('/')) {
            findings.append({Id::Prefix,
                             {prefix, "no final \"/\": it begins a file's name",
                              "add the \"/\" if a directory is meant"}});
        }
    }
}

QStringList files(const Files &files, const Description &description, Findings &findings)
{
    const QDeadlineTimer deadline(std::chrono::seconds(1));
    QStringList rest;
    const QVector<Role> roles = rolesOf(files, description);
    for (const Role &role : roles) {
        if (ofFile(role, files.root(), deadline, findings))
            rest.append(role.file);
    }
    // Looks for one file after the other, because one can hide the next.
    while (const auto problem = fileproblem::ofReader(rest)) {
        findings.append(
            {Id::EndsReader, {problem->thing, problem->whatHappened, "restore the file"}});
        rest.removeOne(problem->thing);
    }
    return rest;
}

void storages(const Session &session, const QStringList &harmless, Findings &findings)
{
    const Files &places = session.files();
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile()) {
            ofStorage(places.fileOf(facts), places.root(), session.readable(facts.location),
                      findings);
        }
    }
    const QStringList names = places.storageNames();
    for (const QString &name : names) {
        const QString file = places.storageFile(name);
        if (harmless.contains(file))
            ofStorage(file, places.root(), *session.manager().independentStorage(name), findings);
    }
}

} // namespace check
