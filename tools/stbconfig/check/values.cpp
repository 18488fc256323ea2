// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "loggingreader.h"
#include "value.h"

#include <QtCore/QRegularExpression>

using stbconfig::ConfigurationManager;

namespace check {
namespace {

// "no" is also the code of Norwegian and of Norway, so such a setting may mean it.
bool isLanguage(const Setting &setting)
{
    static const QRegularExpression word("locale|lang|country|region|territory",
                                         QRegularExpression::CaseInsensitiveOption);
    return word.match(setting.name()).hasMatch();
}

void ofDefault(const Setting &setting, const QVariant &value, const QString &place,
               const stbconfig::IReadableBackend &defaults, const Description &description,
               Findings &findings)
{
    if (!defaults.contains(setting.group, setting.key)) {
        // Where there is a description, it says which names are right.
        if (!description.exists())
            findings.append({Id::NoDefault, {place, "the defaults lack it", "check the spelling"}});
    } else if (value::texts(defaults.value(setting.group, setting.key)) == value::texts(value)) {
        findings.append(
            {Id::Redundant, {place, "equals the default", "remove it with unset --redundant"}});
    }
}

} // namespace

void text(const Setting &setting, const QString &text, const QString &place, const QString &remedy,
          const Description &description, Findings &findings)
{
    static const QStringList falseWords{"no", "off", "disabled"};
    if (falseWords.contains(text.toLower()) && !isLanguage(setting)
        && !loggingreader::reads(setting) && description.find(setting) == nullptr) {
        findings.append({Id::BooleanWord,
                         {place, "reads as true",
                          remedy.isEmpty() ? "write true or false" : remedy + ": true or false"}});
    }
    if (setting.group == names::localeGroup && setting.key == names::localeKey && text != "C"
        && QLocale(text) == QLocale::c()) {
        findings.append({Id::CLocale,
                         {place, "gives the C locale",
                          (remedy.isEmpty() ? "set" : remedy + ":")
                              + QString(" a locale's name, such as ru or en_GB")}});
    }
}

void values(const Session &session, const Description &description, Findings &findings)
{
    const auto &defaults = session.readable(ConfigurationManager::StbappConfDefault);
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (!facts.hasFile())
            continue;
        const bool isDefault = facts.keeper == provenance::Keeper::ImageFile;
        const QString remedy = isDefault ? "correct it in the image" : "";
        const auto &storage = session.readable(facts.location);
        QStringList all = storage.allKeys();
        all.sort();
        for (const QString &name : qAsConst(all)) {
            const Setting setting = Setting::named(name);
            const QVariant value = storage.value(setting.group, setting.key);
            const QString place = session.files().fileOf(facts) + ": " + name;
            if (const auto problem = loggingreader::misreading(setting, value.toString())) {
                findings.append(
                    {Id::LoggingValue,
                     {place, problem->whatHappened, isDefault ? remedy : "use stbconfig logging"}});
            }
            text(setting, value.toString(), place, remedy, description, findings);
            if (!isDefault)
                ofDefault(setting, value, place, defaults, description, findings);
        }
    }
}

} // namespace check
