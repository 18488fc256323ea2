// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_COMMANDS_H
#define STBCONFIG_TOOL_COMMANDS_H

class CommandLine;

// One command per file: its options, then what it does.
void addCheck(CommandLine &line);
void addComplete(CommandLine &line);
void addCompletion(CommandLine &line);
void addDiff(CommandLine &line);
void addExplain(CommandLine &line);
void addExport(CommandLine &line);
void addGet(CommandLine &line);
void addImport(CommandLine &line);
void addList(CommandLine &line);
void addLocale(CommandLine &line);
void addLocations(CommandLine &line);
void addLogging(CommandLine &line);
void addMigrate(CommandLine &line);
void addReport(CommandLine &line);
void addReset(CommandLine &line);
void addSchema(CommandLine &line);
void addSet(CommandLine &line);
void addUnset(CommandLine &line);

#endif
