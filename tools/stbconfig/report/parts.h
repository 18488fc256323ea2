// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_PARTS_H
#define STBCONFIG_TOOL_PARTS_H

#include "arguments.h"
#include "check/finding.h"
#include "layout.h"

#include <QtCore/QMap>
#include <QtCore/QPair>

// The parts of a report. A child of its own finds out each of them, so that a file which ends one
// child leaves the other parts. Other people read what the parts return.
namespace parts {

// What must not be read by others, and what stands in its place.
struct Hidden
{
    QMap<QString::size_type, QVector<QPair<QString, QString>>> texts; // by the length of the first
    QStringList settings; // left out, because their names may hold a secret

    void add(const QString &text, const QString &replacement);
    void addSettings(const QStringList &names);
    QString in(const QString &text) const;
};

/// Hides the names of the storages, which the application may have made of anything, but not those
/// that every box has.
Hidden storageNames(const Files &files);

struct State
{
    bool isHarmful = false; // to a process that opens it
    std::optional<Problem> problem; // why it cannot be read as a whole
    QStringList secretNames; // of settings, which a line that is broken may have become
};

State stateOf(const QString &file, const QString &root);

struct Versions
{
    QString command;
    QString library;
    QString qt;
    QString kernel;
    QString system; // empty if it does not say
};

Versions versions(const QString &root);

struct Settings
{
    QVector<layout::Item> items;
    QJsonObject json; // settings, diff, logging, locale, masked, fingerprint
    QStringList logging; // in words
    QString locale;
};

Settings settings(const Files &files, const Hidden &hidden);

/// Returns a row for each file and for each location without one.
QVector<output::Row> locations(const Files &files);

/// Returns the findings by severity, the worst ones first.
check::Findings findings(const Context &context, Hidden hidden);

} // namespace parts

#endif
