// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Runs the command with any files, variables and words. What it says it has written is written, and
// nothing else. What it refuses, and what only reads, leaves everything as it was. It never dies,
// hangs, or shows what a terminal would obey.

#include "box.h"
#include "process.h"
#include "scenario.h"
#include "schema.h"
#include "snapshot.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>

namespace {

constexpr char secret[] = "hushhush"; // wherever it is meant to be hidden

QString fromUtf8(const QByteArray &bytes)
{
    const QByteArray whole = ' ' + bytes; // Qt would drop a byte order mark at the beginning
    return QString::fromUtf8(whole.constData(), whole.size()).mid(1);
}

bool isUtf8(const QByteArray &bytes) { return fromUtf8(bytes).toUtf8() == bytes; }

bool isAscii(const QByteArray &bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

// Tells whether a terminal obeys or hides it.
bool isPlain(const QByteArray &bytes)
{
    const QVector<uint> characters = fromUtf8(bytes).toUcs4();
    return std::none_of(characters.begin(), characters.end(), [](uint character) {
        const auto category = QChar::category(character);
        return (category == QChar::Other_Control && character != '\n' && character != '\t')
            || category == QChar::Other_Format || category == QChar::Other_Surrogate
            || category == QChar::Separator_Line || category == QChar::Separator_Paragraph
            || character == 0xFEFF;
    });
}

// Tells whether the pattern stands for the whole text.
bool fits(const QString &pattern, const QString &text)
{
    if (pattern.isEmpty())
        return text.isEmpty();
    if (pattern[0] == '*')
        return fits(pattern.mid(1), text) || (!text.isEmpty() && fits(pattern, text.mid(1)));
    return !text.isEmpty() && pattern[0] == text[0] && fits(pattern.mid(1), text.mid(1));
}

bool isBelow(const QString &name, const QString &group)
{
    return name.startsWith(group.split('/', Qt::SkipEmptyParts).join('/') + '/');
}

bool matches(const QString &glob, const QString &name)
{
    return fits(glob, name) || isBelow(name, glob);
}

bool isAddressable(const QString &name)
{
    return name.split('/', Qt::SkipEmptyParts).join('/') == name;
}

bool isSame(const OnDisk &a, const OnDisk &b, bool isUntouched)
{
    const bool isAlike =
        a.bytes == b.bytes && a.mode == b.mode && a.user == b.user && a.group == b.group;
    return isAlike && (!isUntouched || (a.number == b.number && a.changed == b.changed));
}

class Judge
{
public:
    explicit Judge(Input &input) : scenario(input, box), before(snapshotOf(box.path()))
    {
        const QList<QByteArray> judged{"get", "list", "export", "diff"};
        if (scenario.isWriter() || judged.contains(scenario.command)) {
            QStringList files{scenario.writtenFile(), scenario.defaultsFile()};
            if (scenario.given)
                files << *scenario.given;
            const auto holdings = holdingsOf(files);
            written = holdings[0];
            defaults = holdings[1];
            // Qt 5 takes such text for Latin-1, but the command takes what it is given for UTF-8.
            if (scenario.given && isAscii(before[*scenario.given].bytes))
                given = holdings[2];
        }
        end = run(scenario.start);
    }

    /// Prints what is run, for a person who wants to know what an input means.
    void show() const
    {
        std::printf("%s\n-> %d\n", escaped(asShell(scenario.start)).constData(), end.status);
        std::fflush(stdout);
    }

    void judge() const
    {
        judgeEnd();
        judgeTexts();
        const Snapshot after = snapshotOf(box.path());
        if (scenario.isWild)
            return judgeWild(after);
        // What cannot be migrated does not stand in the way of the rest.
        const bool isDone = end.status == 0 || (scenario.command == "migrate" && end.status == 1);
        const bool mayWrite = scenario.isWriter() && isDone && !scenario.isDryRun;
        if (!mayWrite)
            judgeUntouched(after, scenario.isWriter() && !scenario.isDryRun);
        if (scenario.isJson)
            judgeJson();
        judgeSecret();
        if (mayWrite)
            judgeWrite(after);
        else if (scenario.isWriter())
            judgeRefusal();
        else
            judgeReader();
    }

private:
    void require(bool isTrue, const char *fact, const QString &about = {}) const
    {
        if (isTrue)
            return;
        for (auto it = before.begin(); it != before.end(); ++it) {
            if ((it->mode & S_IFMT) != S_IFDIR) {
                std::fprintf(stderr, "%s, mode %o, of user %u: %s\n", qUtf8Printable(it.key()),
                             it->mode, it->user, escaped(it->bytes).constData());
            }
        }
        std::fprintf(stderr, "run: %s\nprinted: %s\nsaid: %s\nstatus: %d\n",
                     escaped(asShell(scenario.start)).constData(), escaped(end.printed).constData(),
                     escaped(end.said).constData(), end.status);
        expect(false, fact, about);
    }

    // A person reads the report on a terminal, too.
    static QByteArray escaped(const QByteArray &bytes)
    {
        QByteArray result;
        for (const char byte : bytes) {
            if (byte >= ' ' && byte < 0x7f && byte != '\\')
                result += byte;
            else
                result += "\\x" + QByteArray(1, byte).toHex();
        }
        return result.left(8000);
    }

    void judgeEnd() const
    {
        require(end.isInTime, "the command ends in time");
        require(end.status >= 0 && end.status <= 4, "the command ends with a status of its own");
        const bool isComplete = scenario.start.words.contains("complete");
        const bool hasFindings = scenario.start.words.contains("check") && !end.printed.isEmpty();
        require(end.status < 2 || isComplete || hasFindings || !end.said.isEmpty(),
                "what fails says why");
        require(scenario.holdsPacked || !end.said.contains("signal ")
                    || end.said.contains("no such setting"),
                "no process of the command dies");
        require(scenario.holdsPacked
                    || (!end.said.contains("would crash") && !end.said.contains("want of memory")),
                "no process of the command dies");
    }

    void judgeTexts() const
    {
        QByteArray lines = end.said;
        require(lines.isEmpty() || lines.endsWith('\n'), "what is said ends with its line");
        lines.chop(1);
        // Only a sanitizer may say more, where Qt dies.
        const QList<QByteArray> all = lines.isEmpty() ? QList<QByteArray>() : lines.split('\n');
        for (const QByteArray &line : all) {
            require(scenario.holdsPacked || line.startsWith("stbconfig: "),
                    "the command alone says something", fromUtf8(line));
        }
        require(isUtf8(end.said) && (scenario.holdsPacked || isPlain(end.said)),
                "what is said can be shown");
        require(isUtf8(end.printed), "what is printed is UTF-8");
        const bool isBare = !scenario.start.isTerminal
            && (scenario.isWild || scenario.command == "get" || scenario.hasRecords);
        if (isBare && !scenario.isJson)
            return;
        QByteArray shown = end.printed;
        shown.replace("\033[1;32m", "").replace("\033[0m", "");
        if (scenario.hasRecords || scenario.isWild)
            shown.replace('\0', "");
        require(isPlain(shown), "what is printed can be shown");
    }

    void judgeWild(const Snapshot &after) const
    {
        const QList<QByteArray> &words = scenario.start.words;
        const auto isWriter = [&words](const char *word) { return words.contains(word); };
        const char *const writers[] = {"set", "unset", "import", "reset", "migrate", "logging"};
        const bool mayWrite =
            end.status < 2 && std::any_of(std::begin(writers), std::end(writers), isWriter);
        if (!mayWrite)
            judgeUntouched(after, end.status != 0);
    }

    // A writer that gives up may have taken a lock and put the old file back.
    void judgeUntouched(const Snapshot &after, bool isWriter) const
    {
        require(after.keys() == before.keys(), "no file comes or goes", after.keys().join(' '));
        for (auto it = before.begin(); it != before.end(); ++it)
            require(isSame(*it, after[it.key()], !isWriter), "every file is as it was:", it.key());
    }

    void judgeJson() const
    {
        if (end.printed.isEmpty()) {
            require(end.status != 0, "what is done is printed as JSON");
            return;
        }
        QJsonParseError error{};
        const auto document = QJsonDocument::fromJson(end.printed, &error);
        require(error.error == QJsonParseError::NoError, "JSON is printed:", error.errorString());
        QString name = scenario.command;
        if (scenario.command == "logging" && scenario.isWriter())
            name = "set";
        if (scenario.isBesideItself || (scenario.command == "diff" && scenario.given))
            name = "diff-with";
        if (scenario.isDescribing)
            name = "list-describe";
        const QJsonValue value =
            document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
        require(scenario.command == "schema" || fitsSchema(value, name),
                "the JSON fits its schema:", name);
    }

    void judgeSecret() const
    {
        if (!end.printed.contains(secret) && !end.said.contains(secret))
            return;
        const bool isAsked = scenario.command == "get" || scenario.showsSecrets;
        require(isAsked || scenario.command == "complete" || isSecretElsewhere(),
                "a secret is hidden");
    }

    // Tells whether the secret stands where nothing says that it is one.
    bool isSecretElsewhere() const
    {
        const bool isOutside =
            std::any_of(scenario.start.variables.begin(), scenario.start.variables.end(),
                        [](const QByteArray &variable) { return variable.contains(secret); });
        const bool isTold = scenario.value && scenario.value->contains(secret);
        if (isOutside || (isTold && !scenario.described.isSecret(scenario.settingName()))
            || QString(before[box.path("env")].bytes).contains(secret))
            return true;
        QStringList files;
        for (auto it = before.begin(); it != before.end(); ++it) {
            if (it->bytes.contains(secret) && !it.key().endsWith(".json"))
                files.append(it.key());
        }
        auto holdings = files.isEmpty() ? QVector<std::optional<Holding>>() : holdingsOf(files);
        const auto changed = files.indexOf(QFileInfo(scenario.writtenFile()).canonicalFilePath());
        if (scenario.isWriter() && changed >= 0)
            holdings[changed] = written; // before that
        return std::any_of(holdings.begin(), holdings.end(), [this](const auto &holding) {
            return !holding || hasOpenSecret(*holding);
        });
    }

    // An open quote makes names of the lines that follow.
    bool hasOpenSecret(const Holding &holding) const
    {
        for (auto it = holding.begin(); it != holding.end(); ++it) {
            if (it.key().contains(secret)
                || (it->texts.join(' ').contains(secret) && !scenario.described.isSecret(it.key())))
                return true;
        }
        return false;
    }

    void judgeRefusal() const
    {
        if (scenario.isOrdinary && !scenario.isDryRun) {
            static const QRegularExpression ordinary("^[a-zA-Z]+/[a-zA-Z]+$");
            require(scenario.command != "set" || end.status != 4
                        || !ordinary.match(scenario.settingName()).hasMatch(),
                    "what nothing stands against is written");
        }
        if (scenario.command == "unset" && end.status == 1 && written && scenario.group)
            require(!written->contains(scenario.settingName()), "what is not set is not held");
    }

    // A command that writes replaces the file, but not what leads to it.
    void judgeWrite(const Snapshot &after) const
    {
        const QString file = QFileInfo(scenario.writtenFile()).canonicalFilePath();
        for (auto it = before.begin(); it != before.end(); ++it) {
            require(after.contains(it.key()), "no file goes:", it.key());
            const OnDisk &now = after[it.key()];
            if (it.key() == file) {
                require(now.mode == it->mode && now.user == it->user && now.group == it->group,
                        "mode and owner of the file are as they were");
            } else if ((it->mode & S_IFMT) != S_IFDIR) {
                require(isSame(*it, now, true), "every other file is as it was:", it.key());
            } else {
                require(isSame(*it, now, false), "every directory is as it was:", it.key());
            }
        }
        for (auto it = after.begin(); it != after.end(); ++it)
            require(before.contains(it.key()) || it.key() == file,
                    "no other file comes:", it.key());
        require(written.has_value(), "what cannot be read is not written");
        require(!scenario.hasBadDescription || scenario.storage || scenario.command == "unset",
                "nothing is written against a description that cannot be read");
        const auto now = holdingsOf({file}).first();
        require(now.has_value(), "what is written can be read");
        judgeHolding(*now);
        const bool isChanged =
            !std::equal(written->begin(), written->end(), now->begin(), now->end(),
                        [](const Found &a, const Found &b) { return a.all == b.all; })
            || written->keys() != now->keys();
        if (!isChanged && before.contains(file))
            require(isSame(before[file], after[file], true),
                    "an equal value leaves the file alone");
    }

    void judgeHolding(const Holding &now) const
    {
        if (scenario.command == "import" && !given)
            return;
        const QSet<QString> changed = scenario.command == "unset" ? judgeRemoved(now)
            : scenario.command == "import"                        ? judgeImported(now)
            : scenario.command == "reset"                         ? judgeReset(now)
            : scenario.command == "migrate"                       ? judgeMigrated(now)
                                                                  : judgeSet(now);
        for (auto it = written->begin(); it != written->end(); ++it) {
            if (changed.contains(it.key()))
                continue;
            require(now.contains(it.key()), "every other entry is there:", it.key());
            require(now[it.key()].all == it->all, "every other entry is as it was:", it.key());
        }
        for (auto it = now.begin(); it != now.end(); ++it) {
            require(written->contains(it.key()) || changed.contains(it.key()),
                    "no other entry comes:", it.key());
        }
    }

    QSet<QString> judgeRemoved(const Holding &now) const
    {
        QSet<QString> gone;
        for (auto it = written->begin(); it != written->end(); ++it) {
            const QString name = it.key();
            const bool isWanted = scenario.isRedundant ? isRedundant(name, *it)
                : scenario.removedGroup                ? isBelow(name, *scenario.removedGroup)
                                                       : name == scenario.settingName();
            const bool isSure = !scenario.isRedundant || !scenario.hasVariables;
            if (now.contains(name))
                require(!isWanted || !isSure, "what is unset is gone:", name);
            else
                require(isWanted, "what is gone was unset:", name);
            if (isWanted && !now.contains(name))
                gone.insert(name);
        }
        return gone;
    }

    bool isRedundant(const QString &name, const Found &held) const
    {
        return defaults && isAddressable(name) && defaults->contains(name)
            && (*defaults)[name].all == held.all;
    }

    bool isMeant(const QString &name) const
    {
        return !scenario.glob || matches(*scenario.glob, name);
    }

    QSet<QString> judgeImported(const Holding &now) const
    {
        QSet<QString> changed;
        for (auto it = given->begin(); it != given->end(); ++it) {
            if (!isMeant(it.key()))
                continue;
            require(now.contains(it.key()), "what is imported is held:", it.key());
            require(now[it.key()].all == it->all, "the imported value is held:", it.key());
            requireAllowed(it.key(), *it);
            changed.insert(it.key());
        }
        for (auto it = written->begin(); it != written->end(); ++it) {
            if (!scenario.isReplacing || !isMeant(it.key()) || changed.contains(it.key()))
                continue;
            require(!now.contains(it.key()), "what is not given is removed:", it.key());
            changed.insert(it.key());
        }
        return changed;
    }

    QSet<QString> judgeReset(const Holding &now) const
    {
        QSet<QString> changed;
        for (auto it = written->begin(); it != written->end(); ++it) {
            const QString name = it.key();
            const QString today = scenario.storage ? QString() : scenario.described.today(name);
            const auto isNamed = [&](const QString &glob) {
                return matches(glob, name) || (!today.isEmpty() && matches(glob, today));
            };
            const bool isKept = scenario.described.isKept(today)
                || std::any_of(scenario.kept.begin(), scenario.kept.end(), isNamed);
            if (isKept || (scenario.glob && !isNamed(*scenario.glob)))
                continue;
            require(!now.contains(name), "what is reset is gone:", name);
            changed.insert(name);
        }
        return changed;
    }

    QSet<QString> judgeMigrated(const Holding &now) const
    {
        QSet<QString> changed;
        int left = 0;
        const QStringList all = scenario.described.names();
        for (const QString &name : all) {
            const auto wanted = scenario.described.migrated(name, *written);
            if (wanted && !scenario.isPruning) {
                changed.insert(name);
                left += now.contains(name) ? 0 : 1;
                require(!now.contains(name) || now[name].texts == *wanted,
                        "the value is taken over:", name);
                if (now.contains(name))
                    requireAllowed(name, now[name]);
            }
            const QStringList older = scenario.described.olderNames(name);
            for (const QString &old : older) {
                if (!scenario.isPruning || !written->contains(name) || !written->contains(old))
                    continue;
                require(!now.contains(old), "what is taken over is removed:", old);
                changed.insert(old);
            }
        }
        require(left == end.said.count(": not migrated: "), "what is not taken over is told");
        return changed;
    }

    QSet<QString> judgeSet(const Holding &now) const
    {
        const QString name = scenario.settingName();
        require(now.contains(name), "what is set is held:", name);
        judgeValue(now[name]);
        requireAllowed(name, now[name]);
        const QString today = scenario.described.today(name);
        require(scenario.storage || today.isEmpty() || today == name,
                "no older name is set:", name);
        return {name};
    }

    void requireAllowed(const QString &name, const Found &value) const
    {
        static const QStringList ofTheLibrary{"Logging/level", "Logging/responseLengthLimit",
                                              "Logging/jsonFormattingEnabled",
                                              "Logging/imageRequestsEnabled", "Profile/locale"};
        const Described &described = scenario.described;
        if (scenario.storage || !described.isValid())
            return;
        require(!described.today(name).isEmpty() || ofTheLibrary.contains(name),
                "only what is described is written:", name);
        require(described.allows(name, value), "only what is allowed is written:", name);
    }

    void judgeValue(const Found &now) const
    {
        const QString wanted = fromUtf8(*scenario.value);
        const QString type =
            scenario.storage || !scenario.type.isEmpty() || !scenario.described.isValid()
            ? QString(scenario.type)
            : scenario.described.type(scenario.settingName());
        const QStringList stored =
            type == "list" ? wanted.split(',') : QStringList(storedAs(type, wanted));
        require(now.texts == stored, "the value is held:", now.texts.join(','));
        const End got =
            runAlike({"get", "--no-env", "--", scenario.group->toUtf8(), scenario.key.toUtf8()});
        // Other faults of the other files do not concern the write.
        if (got.status == 3 && !defaults)
            return;
        require(got.status == 0, "what is set can be got:", fromUtf8(got.said));
        require(got.printed == now.texts.join('\n').toUtf8() + '\n',
                "get gives the value back:", fromUtf8(got.printed));
    }

    // Runs another command on the same files.
    End runAlike(QList<QByteArray> words, const QByteArray &input = {}) const
    {
        if (scenario.storage)
            words.insert(1, "--storage=" + scenario.storage->toUtf8());
        if (scenario.start.words.contains("--as-root"))
            words.insert(1, "--as-root");
        Start start = scenario.startOf(words);
        start.input = input;
        return run(start);
    }

    void judgeReader() const
    {
        if (scenario.command == "diff")
            judgeDiff();
        if (scenario.command == "schema" && end.status == 0)
            judgeSchema();
        if (scenario.hasVariables || scenario.isNarrowed || !written
            || !(defaults || scenario.storage))
            return;
        if (scenario.command == "get")
            judgeGet();
        else if (scenario.command == "list" && scenario.isJson)
            judgeList();
        else if (scenario.command == "export" && end.status == 0 && !scenario.start.isTerminal)
            judgeExport();
    }

    void judgeDiff() const
    {
        require(!scenario.isBesideItself || end.status != 1, "a box does not differ from itself");
        // What says where it comes from is compared with all that answers.
        if (!given || !written || end.status > 1 || !scenario.isJson
            || before[*scenario.given].bytes.contains("; CustomConfPersistent"))
            return;
        QSet<QString> wanted;
        const QSet<QString> both = QSet<QString>(given->keyBegin(), given->keyEnd())
            + QSet<QString>(written->keyBegin(), written->keyEnd());
        for (const QString &name : both) {
            const bool isAlike = given->contains(name) && written->contains(name)
                && (*given)[name].all == (*written)[name].all;
            if (!isAlike && isMeant(name) && isAddressable(name) && name.isValidUtf16())
                wanted.insert(name);
        }
        QSet<QString> told;
        const QJsonArray rows = QJsonDocument::fromJson(end.printed).array();
        for (const QJsonValue &row : rows)
            told.insert(row["setting"].toString());
        require(told.contains(wanted), "what differs is told");
        require(rows.size() == wanted.size(), "only what differs is told");
    }

    // An export is imported into a box that holds nothing.
    void judgeExport() const
    {
        Holding wanted = *written;
        if (scenario.isEffective) {
            for (auto it = defaults->begin(); it != defaults->end(); ++it)
                wanted.insert(it.key(), written->value(it.key(), *it));
            // Nobody can ask for every name, and so not each answers.
            const QStringList all = wanted.keys();
            for (const QString &name : all) {
                if (!isAddressable(name))
                    wanted.remove(name);
            }
        }
        if (runAlike({"reset", "--no-schema"}).status != 0)
            return;
        const End imported = runAlike({"import", "--no-schema", "-"}, end.printed);
        require(imported.isInTime, "the import of an export ends in time");
        // A logging setting that the library would misread is not taken.
        if (imported.status == 4 || imported.said.contains("Logging/"))
            return;
        const auto now = holdingsOf({scenario.writtenFile()}).first();
        require(now.has_value(), "what is imported can be read");
        for (auto it = wanted.begin(); it != wanted.end(); ++it) {
            const bool isHidden = !scenario.showsSecrets && end.said.contains("secrets left out");
            require(!isMeant(it.key()) || isHidden || now->contains(it.key()),
                    "what is exported can be imported:", it.key());
        }
        for (auto it = now->begin(); it != now->end(); ++it) {
            require(wanted.contains(it.key()) && isMeant(it.key()),
                    "only what is held is exported:", it.key());
            require(wanted[it.key()].all == it->all, "an export keeps the value:", it.key());
        }
    }

    void judgeSchema() const
    {
        const QString file = box.path("made");
        Box::write(file, end.printed);
        if (scenario.made == "new" && !scenario.start.isTerminal) {
            const End again = runAlike({"schema", "conf", "--schema", file.toUtf8()});
            require(again.status == 0, "a draft is a description:", fromUtf8(again.said));
        }
        if (scenario.made != "conf" || scenario.start.isTerminal)
            return;
        const auto held = holdingsOf({file}).first();
        require(held.has_value(), "the defaults that are made can be read");
        const QStringList all = scenario.described.names();
        for (const QString &name : all) {
            const auto wanted = scenario.described.byDefault(name);
            if (wanted && !scenario.described.isSecret(name))
                require(held->value(name).texts == *wanted, "each default is made:", name);
        }
    }

    // Says which of the files answers.
    const Found *answer(const QString &name) const
    {
        const auto custom = written->constFind(name);
        if (custom != written->cend())
            return &*custom;
        if (scenario.storage || !defaults)
            return nullptr;
        const auto byDefault = defaults->constFind(name);
        return byDefault != defaults->cend() ? &*byDefault : nullptr;
    }

    void judgeGet() const
    {
        const QString name = scenario.settingName().split('/', Qt::SkipEmptyParts).join('/');
        const Found *const held = answer(name);
        if (end.status == 1)
            require(held == nullptr, "what is held is got:", name);
        if (end.status != 0)
            return;
        require(held != nullptr, "what is got is held:", name);
        if (!scenario.isJson && !scenario.start.isTerminal && isWhole(*held)) {
            require(end.printed
                        == held->texts.first().toUtf8() + (scenario.hasRecords ? '\0' : '\n'),
                    "get prints the value:", held->texts.first());
        }
    }

    static bool isWhole(const Found &held)
    {
        return held.isText && held.texts.first().isValidUtf16();
    }

    void judgeList() const
    {
        if (end.status > 1)
            return;
        QSet<QString> listed;
        const QJsonArray rows = QJsonDocument::fromJson(end.printed).array();
        for (const QJsonValue &row : rows) {
            const QString name = row["setting"].toString();
            const Found *const held = answer(name);
            listed.insert(name);
            if (!name.isValidUtf16() || name.contains(QChar::ReplacementCharacter))
                continue;
            require(held != nullptr, "what is listed is held:", name);
            const bool isOpen = scenario.showsSecrets && isWhole(*held);
            require(!isOpen || row["value"].toString() == held->texts.first(),
                    "list shows the value:", name);
        }
        const auto expectAll = [&](const Holding &holding) {
            for (auto it = holding.begin(); it != holding.end(); ++it) {
                require(!isAddressable(it.key()) || !it.key().isValidUtf16()
                            || listed.contains(it.key()),
                        "what is held is listed:", it.key());
            }
        };
        expectAll(*written);
        if (!scenario.storage && defaults)
            expectAll(*defaults);
    }

    Box box;
    Scenario scenario;
    Snapshot before;
    std::optional<Holding> written;
    std::optional<Holding> defaults;
    std::optional<Holding> given;
    End end;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const Judge judge(input);
    if (qEnvironmentVariableIsSet("SHOW_RUNS"))
        judge.show();
    judge.judge();
    return 0;
}
