// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "exchange.h"

#include "child.h"
#include "descriptor.h"
#include "fileproblem.h"
#include "holdings.h"
#include "names.h"
#include "output.h"
#include "rawfile.h"
#include "scratch.h"
#include "session.h"
#include "value.h"
#include "way.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <unistd.h>

namespace exchange {
namespace {

constexpr char fromInput[] =
    "name a file that can be read, or give - and the text on standard input";

bool isPlain(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

QByteArray escapedName(const QString &name)
{
    QByteArray result;
    for (const QChar character : name) {
        const ushort code = character.unicode();
        result += code < 0x80 ? QByteArray(1, static_cast<char>(code))
                              : "%U" + QByteArray::number(code, 16).rightJustified(4, '0');
    }
    return result;
}

// A digit behind an escaped number would become a part of it, so it is escaped too.
QByteArray escapedValue(const QString &value)
{
    QByteArray result;
    bool isBehindNumber = false;
    for (const QChar character : value) {
        const ushort code = character.unicode();
        const bool isNumber = code >= 0x80 || (isBehindNumber && std::isxdigit(code) != 0);
        result += isNumber ? "\\x" + QByteArray::number(code, 16)
                           : QByteArray(1, static_cast<char>(code));
        isBehindNumber = isNumber;
    }
    return result;
}

// Returns where the value begins.
QByteArray::size_type endOfName(const RawLine &line)
{
    auto equals = line.text.indexOf('=');
    while (line.text.mid(equals + 1).trimmed() != line.value)
        equals = line.text.indexOf('=', equals + 1);
    return equals + 1;
}

QByteArray inAscii(const RawLine &line)
{
    const auto end = line.kind == RawLine::Entry ? endOfName(line) : line.text.size();
    return escapedName(QString::fromUtf8(line.text.left(end)))
        + escapedValue(QString::fromUtf8(line.text.mid(end)));
}

// Returns the same text in ASCII, which both versions of Qt read alike; each line stays where it
// was.
QByteArray inAscii(const QVector<RawLine> &lines, QVector<Refusal> &refusals)
{
    QByteArray result;
    QByteArray::size_type number = 1;
    for (const RawLine &line : lines) {
        if (line.kind == RawLine::Comment)
            continue;
        if (!value::fromUtf8(line.text)) {
            const QString where = QString("line %1").arg(line.number);
            refusals.append(Refusal{{}, {where, "it is not UTF-8", "write it in UTF-8"}});
            if (line.kind != RawLine::Section)
                continue;
        }
        for (; number < line.number; ++number)
            result += '\n';
        const QByteArray text = inAscii(line);
        number += text.count('\n');
        result += text;
    }
    return result + '\n';
}

void put(const QString &file, const QByteArray &bytes)
{
    QFile output(file);
    if (!output.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        || output.write(bytes) != bytes.size()) {
        throw Failure{CannotRead,
                      {file, "cannot be written: " + output.errorString(),
                       "free some space there, or set TMPDIR to another directory"}};
    }
}

Refusal refusalOf(const QString &name)
{
    const auto refuse = [&name](const QString &what, const QString &remedy) {
        return Refusal{name, {name, what, remedy}};
    };
    const QString other = names::asStored(name);
    if (other != name) {
        return refuse("a file cannot express this name",
                      other.isEmpty() ? "name a key" : "use " + other);
    }
    const Setting setting = Setting::named(name);
    const QString group = entries::groupAsRead(setting.group);
    if (group != setting.group) {
        return refuse("a file cannot express this group",
                      "use " + Setting{group, setting.key}.name());
    }
    return refuse("a file does not give this value back", "write it otherwise");
}

} // namespace

QByteArray bytesOf(const QString &path, bool asRoot, const QString &remedy, qint64 largest)
{
    const bool isCareful = geteuid() == 0 && !asRoot;
    const QString shared = isCareful ? follow(absolute(path)).shared : QString();
    if (!shared.isEmpty())
        throw Failure{CannotRead, {path, "others than root can exchange it in " + shared, remedy}};
    const fileproblem::Contents contents = isCareful ? fileproblem::readAsOwner(path, {}, largest)
                                                     : fileproblem::read(path, {}, largest);
    if (contents.problem)
        throw Failure{CannotRead, {path, contents.problem->whatHappened, remedy}};
    if (!contents.exists)
        throw Failure{CannotRead, {path, "no such file", "check the path"}};
    return contents.bytes;
}

Text fromFile(const QString &path, bool asRoot) { return {path, bytesOf(path, asRoot, fromInput)}; }

Text fromStandardInput()
{
    Text text{"standard input", {}};
    const int error = readAll(STDIN_FILENO, text.bytes, fileproblem::largestFile);
    if (error != 0) {
        throw Failure{CannotRead,
                      {text.source, std::strerror(error), "give it the settings to import"}};
    }
    if (text.bytes.size() > fileproblem::largestFile) {
        throw Failure{CannotRead,
                      {text.source,
                       QString("too large: more than %1 bytes").arg(fileproblem::largestFile),
                       "look at what gives it"}};
    }
    return text;
}

Contents read(const Text &text, bool asRoot)
{
    QByteArray bytes = text.bytes;
    if (bytes.startsWith(byteOrderMark))
        bytes.remove(0, static_cast<int>(std::strlen(byteOrderMark)));
    Contents contents;
    if (!std::all_of(bytes.cbegin(), bytes.cend(), isPlain))
        bytes = inAscii(rawLines(bytes), contents.refusals);
    const Scratch scratch(asRoot);
    const Files files = scratch.files();
    put(files.customFile(), bytes);
    writing::Holdings found;
    try {
        found = writing::inspect(files, false);
    } catch (const Failure &failure) {
        // The user knows nothing of the scratch file, so the error names the text.
        throw Failure{
            failure.status,
            {text.source, failure.problem.whatHappened, "correct the text, then try again"}};
    }
    for (const QString &name : qAsConst(found.foreign)) {
        contents.refusals.append(
            {name, {name, "its type is one that only the application knows", "leave it out"}});
        found.written.remove(name);
    }
    const QVector<Refusal> others = refusalsOf(found.written);
    for (const Refusal &refusal : others)
        found.written.remove(refusal.setting);
    contents.refusals += others;
    contents.entries = found.written;
    return contents;
}

QByteArray written(const Entries &all, bool asRoot)
{
    if (all.isEmpty())
        return {};
    const Scratch scratch(asRoot);
    const Files files = scratch.files();
    put(files.customFile(), {}); // without it, Qt makes and removes a file for each entry
    constexpr std::chrono::seconds limit(20);
    const child::End end = child::run(limit, [&files, &all] {
        const Session session(files);
        for (auto it = all.cbegin(); it != all.cend(); ++it) {
            const Setting setting = Setting::named(it.key());
            session.written().setValue(setting.group, setting.key, *it);
        }
        return QByteArray();
    });
    const fileproblem::Contents contents = fileproblem::read(files.customFile());
    const QSet<QString> changed(all.keyBegin(), all.keyEnd());
    if (end.how != child::End::Returned || contents.problem
        || !entries::differences(all, writing::inspect(files, false).written, changed).isEmpty()) {
        throw Failure{CannotRead,
                      {files.customFile(), "cannot be written as a whole",
                       "free some space there, or set TMPDIR to another directory"}};
    }
    return contents.bytes;
}

// The library writes each entry as one line and no comments, so every line with a name is an entry.
QByteArray withComments(const QByteArray &text,
                        const std::function<QByteArray(const QString &name)> &before)
{
    QByteArray result;
    int begin = 0;
    int number = 1;
    const auto copyUpTo = [&](int wanted) {
        for (; number < wanted; ++number) {
            const auto end = text.indexOf('\n', begin) + 1;
            result += text.mid(begin, end - begin);
            begin = static_cast<int>(end);
        }
    };
    const QVector<RawLine> lines = rawLines(text);
    for (const RawLine &line : lines) {
        copyUpTo(line.number);
        if (line.kind == RawLine::Entry)
            result += before(line.name);
    }
    return result + text.mid(begin);
}

void print(const QByteArray &text)
{
    QStringList lines = QString::fromUtf8(text).split('\n');
    lines.removeLast(); // what is behind the last line end
    output::bare(lines, {});
}

QVector<Refusal> refusalsOf(const Entries &all)
{
    const QStringList unstable = entries::unstable(all);
    const QSet<QString> changing(unstable.cbegin(), unstable.cend());
    QVector<Refusal> refusals;
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        if (changing.contains(it.key()) || names::asStored(it.key()) != it.key())
            refusals.append(refusalOf(it.key()));
    }
    return refusals;
}

} // namespace exchange
