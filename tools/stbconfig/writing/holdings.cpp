// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "holdings.h"

#include "child.h"
#include "fileproblem.h"
#include "session.h"
#include "way.h"

#include <QtCore/QDataStream>

#include <algorithm>
#include <cerrno>

using stbconfig::ConfigurationManager;

namespace writing {
namespace {

bool isTypeForeign = false; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): Qt's way

// Where Qt 5 cannot read a value's type, it says so nowhere else, and later writes a part of it.
void noteForeignType(QtMsgType, const QMessageLogContext &, const QString &message)
{
    isTypeForeign |= message.startsWith("QVariant::load");
}

// Qt 6 says nothing.
bool holdsForeignType(const Files &files, const Entries &written)
{
    const bool hasUnread = std::any_of(written.cbegin(), written.cend(), [](const QVariant &value) {
        const QVariantList items = value.toList();
        return !value.isValid()
            || std::any_of(items.cbegin(), items.cend(),
                           [](const QVariant &item) { return !item.isValid(); });
    });
    return isTypeForeign
        || (hasUnread
            && fileproblem::read(files.writtenFile(), files.root()).bytes.contains("@Variant("));
}

} // namespace

Holdings read(const Files &files, bool wantsDefaults)
{
    // Not only unreadable: the library would put a file in the link's place.
    if (follow(absolute(files.writtenFile())).error == ELOOP) {
        throw notSaved(files.writtenFile(), "a symbolic link that leads back to itself",
                       "remove it, or let it lead to a file");
    }
    constexpr std::chrono::seconds limit(20);
    const child::End end = child::run(limit, [&files, wantsDefaults] {
        qInstallMessageHandler(noteForeignType);
        const Session session(files);
        session.requireReadableStorage();
        const auto &defaults = session.readable(ConfigurationManager::StbappConfDefault);
        const Entries written = entries::of(session.written());
        if (holdsForeignType(files, written)) {
            throw notSaved(files.writtenFile(),
                           "it holds a value of a type that only the application can write",
                           "let the application make the change");
        }
        if (wantsDefaults)
            session.requireReadableDefaults();
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << written << entries::of(defaults);
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
    stream >> holdings.written >> holdings.defaults;
    return holdings;
}

} // namespace writing
