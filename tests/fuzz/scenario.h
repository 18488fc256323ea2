// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_SCENARIO_H
#define STBCONFIG_TESTS_FUZZ_SCENARIO_H

#include "box.h"
#include "described.h"
#include "input.h"
#include "process.h"

#include <optional>

/// The files of a run and one command over them.
struct Scenario
{
    /// Makes the files in the box and composes the command.
    Scenario(Input &input, Box &box);

    QString customFile() const { return persistent + "custom.conf"; }
    QString defaultsFile() const { return defaults + "stbapp.conf"; }
    QString descriptionFile() const { return defaults + "stbapp.schema.json"; }
    /// Returns the file that a writer changes.
    QString writtenFile() const { return storage ? persistent + *storage + ".db" : customFile(); }
    /// The same command, before the command's own words and options.
    Start startOf(const QList<QByteArray> &words) const;

    QString persistent;
    QString defaults;
    Start start;

    // What is known of the command's words. Nothing is known of a wild command.
    bool isWild = false;
    QByteArray command;
    std::optional<QString> group; // of the setting
    QString key;
    std::optional<QByteArray> value;
    QByteArray type;
    std::optional<QString> storage;
    std::optional<QString> removedGroup;
    bool isRedundant = false;
    std::optional<QString> given; // the file to import, or to compare with
    bool isBesideItself = false; // compared with its own directory
    std::optional<QString> glob;
    QStringList kept; // what a reset keeps, as globs
    bool isReplacing = false;
    bool isPruning = false;
    bool isEffective = false;
    bool isDescribing = false;
    QByteArray made; // what schema makes
    Described described;
    bool hasBadDescription = false; // one that nobody can read
    bool isJson = false;
    bool hasRecords = false;
    bool showsSecrets = false;
    bool isDryRun = false;
    bool hasVariables = false; // that may answer
    bool isNarrowed = false; // a reader that was asked for a part
    bool isOrdinary = false; // nothing stands against a write
    bool holdsPacked = false; // what Qt may die of

    QString settingName() const;
    bool isWriter() const;

private:
    void makeFiles(Input &input);
    void makeDescription(Input &input);
    QByteArray content(Input &input);
    void makeObstacles(Input &input);
    void addVariables(Input &input);
    void compose(Input &input);
    void composeWild(Input &input);
    void addSetWords(Input &input, QList<QByteArray> &words);
    void addUnsetWords(Input &input, QList<QByteArray> &words);
    void addGetWords(Input &input, QList<QByteArray> &words);
    void addListWords(Input &input, QList<QByteArray> &words);
    void addDiffWords(Input &input, QList<QByteArray> &words);
    void addExportWords(Input &input, QList<QByteArray> &words);
    void addImportWords(Input &input, QList<QByteArray> &words);
    void addResetWords(Input &input, QList<QByteArray> &words);
    QList<QByteArray> commandWords(Input &input);
    void chooseVariables(Input &input, unsigned which);
    void chooseDescription(Input &input);
    QByteArray givenWord(Input &input);
    void addGlob(Input &input, QList<QByteArray> &words);
    void addSetting(Input &input, QList<QByteArray> &words);
    void addOption(Input &input, const QByteArray &name, const QByteArray &word);
    void addStorage(Input &input);

    Box &box;
    QList<QByteArray> before;
    QList<QByteArray> after;
    QString otherDescription; // one that is not beside the defaults
    bool isStrange = false; // the files are not all ordinary
    bool hasRoot = false;
};

#endif
