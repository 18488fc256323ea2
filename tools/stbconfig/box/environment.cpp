// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "environment.h"

#include "descriptor.h"
#include "fileproblem.h"
#include "names.h"
#include "value.h"

#include <QtCore/QFile>
#include <QtCore/QVector>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct Assignment
{
    int line;
    QByteArray name;
    QByteArray value;
    bool isAssigned; // there is a "="
};

// Takes a text apart as systemd does with an EnvironmentFile.
class EnvironmentFile
{
public:
    explicit EnvironmentFile(const QByteArray &all) : bytes(all) {}

    QVector<Assignment> assignments()
    {
        QVector<Assignment> result;
        while (skip(isBlank)) {
            if (bytes[place] == '#' || bytes[place] == ';')
                comment();
            else
                result.append(assignment());
        }
        return result;
    }

private:
    static bool isBlank(char byte) { return byte == ' ' || byte == '\t' || isLineEnd(byte); }

    static bool isLineEnd(char byte) { return byte == '\n' || byte == '\r'; }

    bool isMore() const { return place < bytes.size(); }

    char take()
    {
        if (bytes[place] == '\n')
            ++line;
        return bytes[place++];
    }

    bool skip(bool (*unwanted)(char))
    {
        while (isMore() && unwanted(bytes[place]))
            take();
        return isMore();
    }

    void comment()
    {
        while (isMore() && !isLineEnd(bytes[place])) {
            if (take() == '\\' && isMore())
                take(); // a backslash hides the end of the line
        }
    }

    Assignment assignment()
    {
        Assignment result{line, {}, {}, false};
        while (isMore() && !isLineEnd(bytes[place]) && !result.isAssigned) {
            const char byte = take();
            result.isAssigned = byte == '=';
            if (!result.isAssigned)
                result.name += byte;
        }
        result.name = result.name.trimmed();
        if (result.isAssigned)
            result.value = value();
        return result;
    }

    QByteArray value()
    {
        QByteArray result;
        auto kept = result.size(); // blanks at the end count only if they are quoted or escaped
        bool isBegun = false;
        while (isMore() && !isLineEnd(bytes[place])) {
            const char byte = take();
            if (byte == '\\') {
                if (isMore() && isLineEnd(bytes[place]))
                    take();
                else if (isMore())
                    result += take();
                kept = result.size();
                isBegun = true;
            } else if (!isBegun && (byte == '"' || byte == '\'')) {
                result += quoted(byte);
                kept = result.size();
            } else if (isBegun || !isBlank(byte)) {
                isBegun = true;
                result += byte;
                if (!isBlank(byte))
                    kept = result.size();
            }
        }
        return result.left(kept);
    }

    QByteArray quoted(char quote)
    {
        QByteArray result;
        while (isMore()) {
            const char byte = take();
            if (byte == quote)
                break;
            if (byte != '\\' || quote == '\'' || !isMore()) {
                result += byte;
            } else if (QByteArray("\"\\`$").contains(bytes[place])) {
                result += take();
            } else if (bytes[place] == '\n') {
                take();
            } else {
                result += byte;
                result += take();
            }
        }
        return result;
    }

    QByteArray bytes;
    int place = 0;
    int line = 1;
};

bool isName(const QByteArray &name)
{
    return !name.isEmpty() && std::isdigit(static_cast<unsigned char>(name[0])) == 0
        && std::all_of(name.cbegin(), name.cend(), [](char byte) {
               return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_';
           });
}

bool isOurs(const QByteArray &name) { return name.startsWith(names::variablePrefix); }

void clearVariables()
{
    QList<QByteArray> ours;
    for (char **variable = environ; *variable; ++variable) {
        if (isOurs(*variable))
            ours.append(QByteArray(*variable).split('=').first());
    }
    for (const QByteArray &name : qAsConst(ours))
        qunsetenv(name.constData());
}

void takeFromFile(const QString &path, const environment::Tell &tell)
{
    const fileproblem::Contents contents = fileproblem::read(path);
    if (contents.problem)
        throw Failure{CannotRead, *contents.problem};
    if (!contents.exists)
        throw Failure{CannotRead, {path, "no such file", "name a file of NAME=VALUE lines"}};
    const QVector<Assignment> assignments = EnvironmentFile(contents.bytes).assignments();
    for (const Assignment &assignment : assignments) {
        if (!assignment.isAssigned) {
            throw Failure{CannotRead,
                          {path, QString("line %1 is no NAME=VALUE").arg(assignment.line),
                           "correct the line"}};
        }
        if (!value::fromUtf8(assignment.value)) {
            throw Failure{
                CannotRead,
                {path, QString("line %1 is not UTF-8").arg(assignment.line), "write it in UTF-8"}};
        }
        if (!isName(assignment.name)) {
            tell({path, QString("line %1 names no variable").arg(assignment.line),
                  "ignored, as systemd does"});
        } else if (isOurs(assignment.name)) {
            qputenv(assignment.name.constData(), assignment.value);
        }
    }
}

void takeFromProcess(int process)
{
    const QString name = QString("process %1").arg(process);
    const auto fail = [&name](int error) {
        const bool isDenied = error == EACCES || error == EPERM;
        throw Failure{CannotRead,
                      {name,
                       error == ENOENT || error == ESRCH ? "no such process" : std::strerror(error),
                       isDenied ? "work as the process's user or as root"
                                : "give the number of a running one"}};
    };
    const Descriptor descriptor(open(
        QString("/proc/%1/environ").arg(process).toLatin1().constData(), O_RDONLY | O_CLOEXEC));
    if (descriptor.number < 0)
        fail(errno);
    QByteArray bytes;
    if (const int error = readAll(descriptor.number, bytes, fileproblem::largestFile))
        fail(error);
    const QList<QByteArray> variables = bytes.split('\0');
    for (const QByteArray &variable : variables) {
        const auto equals = variable.indexOf('=');
        if (equals > 0 && isOurs(variable))
            qputenv(variable.left(equals).constData(), variable.mid(equals + 1));
    }
}

} // namespace

QString EnvironmentChoice::owner() const
{
    if (source == Process)
        return QString("process %1, as it was started").arg(process);
    return source == File ? file : "this shell";
}

namespace environment {

void choose(const EnvironmentChoice &choice, const Tell &tell)
{
    if (choice.source == EnvironmentChoice::OfThisShell)
        return;
    clearVariables();
    if (choice.source == EnvironmentChoice::File)
        takeFromFile(choice.file, tell);
    else if (choice.source == EnvironmentChoice::Process)
        takeFromProcess(choice.process);
}

} // namespace environment
