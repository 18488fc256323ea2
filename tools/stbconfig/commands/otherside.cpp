// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "otherside.h"

#include "child.h"
#include "environment.h"
#include "fileproblem.h"
#include "identity.h"
#include "output.h"
#include "rawfile.h"
#include "way.h"

#include <QtCore/QDataStream>
#include <QtCore/QFileInfo>
#include <QtCore/QIODevice>

#include <algorithm>
#include <unistd.h>

using stbconfig::ConfigurationManager;

namespace otherside {
namespace {

// Together with the time limits of the other reads, this stays within the time of the command.
constexpr std::chrono::seconds limit(12);

bool isThere(const QString &file)
{
    return QFileInfo::exists(file) || fileproblem::ofOpening(file).has_value();
}

bool isThere(const Files &files)
{
    const QStringList all = files.ofLocations();
    return std::any_of(all.cbegin(), all.cend(), [](const QString &file) { return isThere(file); });
}

struct Place
{
    Files files;
    Compared compared;
};

// Takes a directory that holds the files, or else one that holds the directories of their prefixes.
Place placeOf(const QString &path, const Places &places)
{
    const QString directory = path + '/';
    const Files box({directory, directory, {}, places.asRoot});
    if (isThere(box))
        return {box, isThere(box.defaultsFile()) ? BothFiles : CustomFile};
    const Files image({places.persistentPrefix, places.defaultsPrefix, path, places.asRoot});
    if (isThere(image))
        return {image, BothFiles};
    QStringList names;
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            names.append(facts.text);
    }
    throw Failure{CannotRead,
                  {path,
                   "holds neither " + names.join(" nor ") + ", and is no image that has "
                       + image.ofLocations().join(" or "),
                   "name a box's directory, an image's or an exported file"}};
}

// Root may read only where nobody can make the way lead elsewhere in the meantime.
void requireOwn(const Files &files)
{
    const QStringList opened = files.openedAtOnce();
    for (const QString &file : opened) {
        const QString shared = files.sharedBefore(file);
        if (!shared.isEmpty()) {
            throw Failure{CannotRead,
                          {file, "others than root can exchange it in " + shared,
                           "copy it, or add --as-root if you trust them"}};
        }
    }
}

// Runs in a child, because it takes that user's rights for good. Returns nothing for a path that is
// no directory.
std::optional<Place> arrive(const QString &path, const Places &places)
{
    if (!places.asRoot)
        identity::becomeOwner(QStringList{path});
    if (!QFileInfo(path).isDir())
        return {};
    const Place place = placeOf(path, places);
    if (places.asRoot)
        return place;
    identity::becomeOwner(place.files);
    if (geteuid() == 0)
        requireOwn(place.files);
    return place;
}

QByteArray directoryAt(const QString &path, const Places &places)
{
    const std::optional<Place> place = arrive(path, places);
    if (!place)
        return {};
    EnvironmentChoice none;
    none.source = EnvironmentChoice::None;
    environment::choose(none, {});
    const Session session(place->files);
    session.requireReadableFiles();
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << int(place->compared) << entriesOf(session, place->compared);
    return bytes;
}

Failure whyNot(const QString &path, const Places &places, const child::End &end)
{
    const child::End search = child::run(limit, [&]() -> QByteArray {
        const std::optional<Place> place = arrive(path, places);
        const auto problem =
            place ? fileproblem::ofReader(place->files.openedAtOnce()) : std::nullopt;
        if (problem)
            throw Failure{CannotRead, *problem};
        return {};
    });
    return search.failure.value_or(Failure{CannotRead, {path, end.why, "try again"}});
}

// Tells whether export --effective has written the text.
bool hasOrigins(const exchange::Text &text)
{
    const QVector<RawLine> lines = rawLines(text.bytes);
    const QStringList locations = provenance::locationNames();
    return std::any_of(lines.cbegin(), lines.cend(), [&locations](const RawLine &line) {
        return line.kind == RawLine::Comment && line.text.startsWith("; ")
            && locations.contains(QString::fromLatin1(line.text.mid(2)));
    });
}

Side sideOf(const exchange::Text &text)
{
    return {hasOrigins(text) ? AllThatAnswer : CustomFile, text, {}};
}

} // namespace

Side look(const QString &path, const Places &places)
{
    if (path == "-")
        return sideOf(exchange::fromStandardInput());
    const child::End end =
        child::run(limit, [&path, &places] { return directoryAt(path, places); });
    if (end.failure)
        throw *end.failure;
    if (end.how == child::End::NotStarted)
        throw Failure{CannotRead, {path, end.why, "end some processes, or free some memory"}};
    if (end.how == child::End::TimedOut)
        throw Failure{CannotRead, {path, end.why, "see what holds the files or their disk"}};
    if (end.how == child::End::Died)
        throw whyNot(path, places, end);
    if (end.result.isEmpty())
        return sideOf(exchange::fromFile(path, places.asRoot));
    int compared = 0;
    Side side;
    QDataStream stream(end.result);
    stream >> compared >> side.entries;
    side.compared = static_cast<Compared>(compared);
    return side;
}

Entries entriesOf(const Session &session, Compared compared)
{
    Entries result;
    const QStringList all = session.settings();
    for (const QString &name : all) {
        const auto answers = session.ask(Setting::named(name));
        const auto *answer = compared == CustomFile
            ? &provenance::of(answers, ConfigurationManager::CustomConfPersistent)
            : provenance::winner(answers);
        if (answer->isHeld)
            result.insert(name, answer->value);
    }
    return result;
}

Entries entriesOf(const Side &side, bool asRoot)
{
    if (!side.text)
        return side.entries;
    const exchange::Contents contents = exchange::read(*side.text, asRoot);
    if (contents.refusals.isEmpty())
        return contents.entries;
    for (const exchange::Refusal &refusal : contents.refusals)
        output::note(refusal.problem);
    throw Failure{CannotRead,
                  {side.text->source, "holds settings that no box can hold", "correct the file"}};
}

} // namespace otherside
