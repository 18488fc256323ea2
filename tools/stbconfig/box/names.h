// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_NAMES_H
#define STBCONFIG_TOOL_NAMES_H

#include <QtCore/QMetaType>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

// What everything is called: files, variables, settings.
namespace names {

inline constexpr char customFile[] = "custom.conf";
inline constexpr char defaultsFile[] = "stbapp.conf";
inline constexpr char descriptionFile[] = "stbapp.schema.json";
inline constexpr char storageSuffix[] = ".db";
/// The storage that every manager opens.
inline constexpr char firstStorage[] = "ravel";
inline constexpr char lockSuffix[] = ".lock";

inline constexpr char variablePrefix[] = "STBAPP_";

inline constexpr char loggingGroup[] = "Logging";
inline constexpr char level[] = "level";
inline constexpr char responseLengthLimit[] = "responseLengthLimit";
inline constexpr char jsonFormattingEnabled[] = "jsonFormattingEnabled";
inline constexpr char imageRequestsEnabled[] = "imageRequestsEnabled";

inline constexpr char localeGroup[] = "Profile";
inline constexpr char localeKey[] = "locale";
inline constexpr char builtInLocale[] = "ru";

} // namespace names

struct Setting
{
    QString group;
    QString key;

    /// Splits at the first "/"; without one, the setting has no group.
    static Setting named(const QString &name);
    /// Returns the name as the files list it: "group/key", or the bare key.
    QString name() const;
    /// Returns the environment variable that stands for it.
    QString variable() const;
    /// Tells whether its name, or its description, says that its value is nobody else's business.
    bool isSecret() const;
};

namespace names {

/// Returns the settings that the library itself reads.
QStringList ofTheLibrary();

/// Says once, before a command runs, which settings a description names, and which of them hold
/// secrets.
void describe(const QStringList &all, const QSet<QString> &secrets);
/// Returns the settings that a description names.
QStringList described();
/// Says that the description could not be read: any setting may be one of its secrets.
void doubtSecrets();
bool areSecretsDoubtful();

/// Returns the name as a file stores it: no "/" at its ends, and never two in a row.
QString asStored(const QString &name);

/// Tells whether the glob is the name or its group, or matches with its "*" and "?"; "" matches
/// all.
bool matches(const QString &glob, const QString &name);

/// Returns the candidate that looks most like the word, or nothing if none looks like it.
QString nearest(const QString &word, const QStringList &candidates);

// Looks for the nearest names of many words. A hostile file or environment can have so many words,
// or such long ones, that this would take too long: then the last words get no name.
class Nearest
{
public:
    explicit Nearest(const QStringList &candidates) : m_candidates(candidates) {}

    QString of(const QString &word);

private:
    QStringList m_candidates;
    QStringList::size_type m_comparisons = 0;
};

/// Says what to do about an unknown word: take the nearest one, or else what the other text says.
QString suggestion(const QString &word, Nearest &nearest, const QString &otherwise);
QString suggestion(const QString &word, const QStringList &candidates, const QString &otherwise);

} // namespace names

#endif
