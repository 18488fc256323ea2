// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "completion.h"
#include "arguments.h"
#include "commands.h"

#include <QtCore/QMap>

#include <cstdio>

namespace {

constexpr char bash[] =
#include "stbconfig.bash.inc"
    ;
constexpr char fish[] =
#include "stbconfig.fish.inc"
    ;
constexpr char zsh[] =
#include "stbconfig.zsh.inc"
    ;

const QMap<QString, const char *> &scripts()
{
    static const QMap<QString, const char *> all{{"bash", bash}, {"fish", fish}, {"zsh", zsh}};
    return all;
}

const char *scriptFor(const QString &shell)
{
    const auto it = scripts().constFind(shell);
    if (it == scripts().cend()) {
        throw Failure{Misuse,
                      {shell, "no script for this shell",
                       names::suggestion(shell, completion::shells(),
                                         "use " + completion::shells().join(", "))}};
    }
    return *it;
}

} // namespace

namespace completion {

QStringList shells() { return scripts().keys(); }

} // namespace completion

void addCompletion(CommandLine &line)
{
    const auto script = std::make_shared<const char *>("");
    const Command command =
        line.addCommand("completion", "print the script that completes words", {});
    command
        .addWord("shell", "bash, fish or zsh",
                 [script](const QString &word) { *script = scriptFor(word); })
        .required();
    // Like --help, it looks at no file, and so works where these cannot be read.
    command.runAtOnce([script] { std::fputs(*script, stdout); });
}
