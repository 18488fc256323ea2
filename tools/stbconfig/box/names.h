// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_NAMES_H
#define STBCONFIG_TOOL_NAMES_H

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>

// What everything is called: files, variables, settings.
namespace names {

inline constexpr char customFile[] = "custom.conf";
inline constexpr char defaultsFile[] = "stbapp.conf";
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
    /// As the files list it: "group/key", or the bare key.
    QString name() const;
    /// The environment variable that stands for it.
    QString variable() const;
    /// Whether its name says that its value is nobody else's business.
    bool isSecret() const;
};

namespace names {

/// The settings that the library itself reads.
QStringList ofTheLibrary();

/// As a file stores the name: no "/" at its ends, and never two in a row.
QString asStored(const QString &name);

/// Whether the glob is the name or its group, or matches with its "*" and "?"; "" matches all.
bool matches(const QString &glob, const QString &name);

/// The one that looks most like the word, or nothing if none looks like it.
QString nearest(const QString &word, const QStringList &candidates);
/// What to do about an unknown word: the nearest one asked for, or else the other text.
QString suggestion(const QString &word, const QStringList &candidates, const QString &otherwise);

} // namespace names

#endif
