// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "loggingreader.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

using stbconfig::ConfigurationManager;

namespace check {
namespace {

// Looking for the nearest of many names takes its time, and a hostile environment has many.
constexpr int mostComparisons = 200000;

Problem unknownVariable(const QString &name, const QStringList &candidates)
{
    const QString nearest = names::nearest(name, candidates);
    return {name,
            "matches no known setting"
                + (nearest.isEmpty() ? QString() : ", nearest is " + nearest),
            "correct the name"};
}

void ofKnownVariable(const Session &session, const QString &name, const QString &settingName,
                     Findings &findings)
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
    text(setting, held, name, "correct the variable", findings);
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

void variables(const Session &session, Findings &findings)
{
    QMap<QString, QStringList> settings; // in an order that is the same each time
    const QStringList known = session.knownSettings();
    for (const QString &name : known)
        settings[Setting::named(name).variable()].append(name);
    const QStringList candidates = settings.keys();
    QStringList::size_type comparisons = 0;
    QStringList all = session.readable(ConfigurationManager::EnvironmentVariables).allKeys();
    all.sort();
    for (const QString &name : qAsConst(all)) {
        if (!name.startsWith(names::variablePrefix))
            continue;
        const QStringList meant = settings.value(name);
        for (const QString &setting : meant)
            ofKnownVariable(session, name, setting, findings);
        if (meant.isEmpty()) {
            const bool isSuggesting = comparisons < mostComparisons;
            comparisons += isSuggesting ? candidates.size() : 0;
            findings.append({Id::UnknownVariable,
                             unknownVariable(name, isSuggesting ? candidates : QStringList())});
        }
    }
}

} // namespace check
