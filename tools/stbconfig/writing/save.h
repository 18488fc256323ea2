// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_SAVE_H
#define STBCONFIG_TOOL_SAVE_H

#include "entries.h"
#include "files.h"
#include "names.h"

#include <QtCore/QPair>
#include <QtCore/QVector>

#include <optional>

// Qt loses writes in silence and then answers from its cache, so each write is proved for the whole
// file by a process that has not seen the file before.
namespace writing {

/// Says what is to change; everything else is to stay.
struct Change
{
    QVector<QPair<Setting, QVariant>> set;
    QVector<Setting> remove;
    std::optional<QString> removeGroup; // without an entry of the same name
    QStringList removeListed; // as the file lists them, also those that nobody can ask for
};

struct Manner
{
    bool dryRun = false;
    bool force = false; // writes even if the estimated room is too little
    bool asRoot = false;
};

enum Outcome { Unchanged, Saved, WouldBeSaved };

/// Makes the change of what was read, and returns Saved once a fresh look at the disk has shown the
/// whole file to be as it was, but for the change, and everything is flushed. Says on stderr what the
/// write costs and whom it waits for. Ends with NotSaved, or with CannotRead if the file is not what
/// was read, in all other cases.
Outcome save(const Files &files, const Entries &before, const Change &change, const Manner &manner);

} // namespace writing

#endif
