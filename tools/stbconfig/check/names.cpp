// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "loggingreader.h"

#include <QtCore/QHash>

using stbconfig::ConfigurationManager;

namespace check {
namespace {

void ofKnownVariable(const Session &session, const QString &name, const QString &settingName,
                     const Description &description, Findings &findings)
{
    const Setting setting = Setting::named(settingName);
    const QString held = session.readable(ConfigurationManager::EnvironmentVariables)
                             .value(setting.group, setting.key)
                             .toString();
    if (loggingreader::reads(setting)) {
        findings.append(
            {Id::LoggingVariable,
             {name, "the logging reader ignores the environment", "use stbconfig logging"}});
    }
    text(setting, held, name, "correct the variable", description, findings);
    const auto answers = session.ask(setting);
    const auto *winner = provenance::winner(answers);
    if (winner->location != ConfigurationManager::EnvironmentVariables) {
        findings.append({Id::ShadowedVariable,
                         {name, "shadowed by " + provenance::locationName(winner->location),
                          "unset the custom setting or the variable"}});
    }
    if (held.isEmpty()) {
        findings.append(
            {Id::EmptyVariable,
             {name, "is empty, yet answers", "unset it to let the next location answer"}});
    }
}

} // namespace

void settingNames(const Session &session, Findings &findings)
{
    QHash<QString, QString> bySpelling;
    QHash<QString, QString> byVariable;
    const QStringList known = session.knownSettings();
    for (const QString &name : known) {
        const QString folded = name.toCaseFolded();
        if (bySpelling.contains(folded)) {
            findings.append({Id::CaseOnly,
                             {bySpelling[folded], "differs from " + name + " only in case",
                              "keep one spelling"}});
        }
        bySpelling.insert(folded, name);
        const QString variable = Setting::named(name).variable();
        if (byVariable.contains(variable)) {
            findings.append({Id::SharedVariable,
                             {variable, "stands for " + byVariable[variable] + " and " + name,
                              "rename one of them"}});
        }
        byVariable.insert(variable, name);
    }
}

QMap<QString, QStringList> meaningsOfVariables(const Session &session,
                                               const Description &description)
{
    QMap<QString, QStringList> meanings;
    const QStringList known = session.knownSettings();
    for (const QString &name : known)
        meanings[Setting::named(name).variable()].append(name);
    for (const Described &described : description.all()) {
        for (const OldName &old : described.was) {
            const QString variable = old.setting.variable();
            if (!meanings.contains(variable))
                meanings[variable].append(old.setting.name());
        }
    }
    return meanings;
}

void variables(const Session &session, const Description &description, Findings &findings)
{
    const QMap<QString, QStringList> meanings = meaningsOfVariables(session, description);
    names::Nearest nearest(meanings.keys());
    QStringList all = session.readable(ConfigurationManager::EnvironmentVariables).allKeys();
    all.sort();
    for (const QString &name : qAsConst(all)) {
        if (!name.startsWith(names::variablePrefix))
            continue;
        const QStringList meant = meanings.value(name);
        for (const QString &setting : meant)
            ofKnownVariable(session, name, setting, description, findings);
        if (meant.isEmpty()) {
            const QString found = nearest.of(name);
            findings.append({Id::UnknownVariable,
                             {name,
                              "matches no known setting"
                                  + (found.isEmpty() ? QString() : ", nearest is " + found),
                              "correct the name"}});
        }
    }
}

} // namespace check
