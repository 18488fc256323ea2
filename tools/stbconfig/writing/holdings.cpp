// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "holdings.h"

#include "child.h"
#include "fileproblem.h"
#include "rawfile.h"
#include "session.h"
#include "way.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace writing {
namespace {

bool isTypeForeign = false; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): Qt's way

// Qt 5 says only in this message that it cannot read a value's type; it would later write a part of
// the value.
void noteForeignType(QtMsgType, const QMessageLogContext &, const QString &message)
{
    isTypeForeign |= message.startsWith("QVariant::load");
}

// Qt 6 says nothing of such a value, but reads it as an invalid one.
bool isUnread(const QVariant &value)
{
    const QVariantList items = value.toList();
    return !value.isValid() || std::any_of(items.cbegin(), items.cend(), [](const QVariant &item) {
        return !item.isValid();
    });
}

// Only the lines show such values. If several lines look like one, all of them may be meant.
QStringList foreignOnes(const Files &files, const QString &file, const Entries &held)
{
    QStringList result;
    if (!isTypeForeign && std::none_of(held.cbegin(), held.cend(), isUnread))
        return result;
    const QVector<RawLine> lines = rawLines(fileproblem::read(file, files.root()).bytes);
    for (const RawLine &line : lines) {
        // The "@" may be escaped.
        if (line.value.contains("Variant(") && (isTypeForeign || isUnread(held[line.name])))
            result.append(line.name);
    }
    return result;
}

// Returns what the files of the image answer together.
Entries defaultsOf(const Session &session)
{
    Entries result;
    for (auto facts = std::crbegin(provenance::byPrecedence);
         facts != std::crend(provenance::byPrecedence); ++facts) {
        if (facts->keeper != provenance::Keeper::ImageFile)
            continue;
        const Entries held = entries::of(session.readable(facts->location));
        for (auto it = held.cbegin(); it != held.cend(); ++it)
            result.insert(it.key(), *it);
    }
    return result;
}

QStringList foreignDefaults(const Files &files, const Entries &defaults)
{
    QStringList result;
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.keeper == provenance::Keeper::ImageFile)
            result += foreignOnes(files, files.fileOf(facts), defaults);
    }
    return result;
}

} // namespace

Holdings inspect(const Files &files, bool wantsDefaults)
{
    constexpr std::chrono::seconds limit(20);
    const child::End end = child::run(limit, [&files, wantsDefaults] {
        qInstallMessageHandler(noteForeignType);
        const Session session(files);
        session.requireReadableStorage();
        Holdings holdings;
        holdings.written = entries::of(session.written());
        holdings.defaults = defaultsOf(session);
        holdings.foreign = foreignOnes(files, files.writtenFile(), holdings.written);
        holdings.foreignDefaults = foreignDefaults(files, holdings.defaults);
        // Somebody has disguised the type, which happens only by hand, so any entry may be the one.
        if (isTypeForeign && holdings.foreign.isEmpty() && holdings.foreignDefaults.isEmpty())
            holdings.foreign = holdings.written.keys();
        if (wantsDefaults)
            session.requireReadableDefaults();
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << holdings.written << holdings.defaults << holdings.foreign
               << holdings.foreignDefaults;
        return bytes;
    });
    if (end.failure)
        throw *end.failure;
    if (end.how == child::End::NotStarted) {
        throw Failure{CannotRead,
                      {files.writtenFile(), end.why, "end some processes, or free some memory"}};
    }
    if (end.how != child::End::Returned) {
        if (const auto problem = fileproblem::ofReader(files.openedAtOnce()))
            throw Failure{CannotRead, *problem};
        throw Failure{CannotRead, {files.writtenFile(), end.why, "try again"}};
    }
    Holdings holdings;
    QDataStream stream(end.result);
    stream >> holdings.written >> holdings.defaults >> holdings.foreign >> holdings.foreignDefaults;
    return holdings;
}

Holdings read(const Files &files, bool wantsDefaults)
{
    // Such a link is not only unreadable: the library would put a file in its place.
    if (follow(absolute(files.writtenFile())).error == ELOOP) {
        throw notSaved(files.writtenFile(), "a symbolic link that leads back to itself",
                       "remove it, or let it lead to a file");
    }
    Holdings holdings = inspect(files, wantsDefaults);
    requireKeepable(files, holdings.foreign);
    return holdings;
}

void requireKeepable(const Files &files, const QStringList &foreign)
{
    if (!foreign.isEmpty()) {
        throw notSaved(files.writtenFile(),
                       "it holds a value of a type that only the application can write",
                       "let the application make the change");
    }
}

} // namespace writing
