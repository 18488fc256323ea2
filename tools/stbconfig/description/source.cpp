// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "source.h"

#include "exchange.h"
#include "fileproblem.h"
#include "reader.h"

namespace description {

Description load(const Choice &choice, const Files &files, bool asRoot)
{
    // Twenty thousand settings need less than this, and reading takes many times the size of the
    // file.
    constexpr qint64 largest = 16 << 20;
    if (choice.isNone)
        return {};
    if (choice.file) {
        const QByteArray bytes =
            exchange::bytesOf(*choice.file, asRoot, "name a description that can be read", largest);
        return read(bytes, *choice.file);
    }
    const QString file = files.descriptionFile();
    // Every command looks for this file. So a process is made for it only if the way leads through
    // something that belongs to another user.
    const bool isForeign = !asRoot && follow(absolute(file)).foreigner;
    const fileproblem::Contents contents = isForeign
        ? fileproblem::readAsOwner(file, files.root(), largest)
        : fileproblem::read(file, files.root(), largest);
    if (contents.problem)
        throw Failure{CannotRead, *contents.problem};
    return contents.exists ? read(contents.bytes, file) : Description();
}

void require(const Description &description, const Choice &choice, const Files &files)
{
    if (choice.isNone) {
        throw Failure{
            Misuse,
            {"--no-schema", "this needs the description of the settings", "leave --no-schema out"}};
    }
    if (!description.exists()) {
        throw Failure{CannotRead,
                      {files.descriptionFile(), "there is no description of the settings",
                       "write that file, for which stbconfig schema new makes a draft, or name "
                       "another one with --schema"}};
    }
}

} // namespace description
