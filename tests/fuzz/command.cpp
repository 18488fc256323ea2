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
        if (scenario.isWriter() || scenario.command == "get" || scenario.command == "list") {
            const auto holdings = holdingsOf({scenario.writtenFile(), scenario.defaultsFile()});
            written = holdings[0];
            defaults = holdings[1];
        }
        end = run(scenario.start);
    }

    void judge() const
    {
        judgeEnd();
        judgeTexts();
        const Snapshot after = snapshotOf(box.path());
        if (scenario.isWild)
            return judgeWild(after);
        const bool mayWrite = scenario.isWriter() && end.status == 0 && !scenario.isDryRun;
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
        const bool mayWrite = end.status == 0
            && (words.contains("set") || words.contains("unset") || words.contains("logging"));
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
        const QJsonValue value =
            document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
        require(fitsSchema(value, name), "the JSON fits its schema:", name);
    }

    // Looks after the run, which has changed no secret.
    void judgeSecret() const
    {
        if (scenario.command == "get" || scenario.showsSecrets || scenario.command == "complete")
            return;
        const bool isOutside =
            std::any_of(scenario.start.variables.begin(), scenario.start.variables.end(),
                        [](const QByteArray &variable) { return variable.contains(secret); });
        const bool isTold = scenario.value && scenario.value->contains(secret);
        if (isOutside || (isTold && scenario.key != "password")
            || QString(before[box.path("env")].bytes).contains(secret))
            return;
        QStringList files;
        for (auto it = before.begin(); it != before.end(); ++it) {
            if (it->bytes.contains(secret))
                files.append(it.key());
        }
        if (files.isEmpty() && !isTold)
            return;
        const auto holdings =
            files.isEmpty() ? QVector<std::optional<Holding>>() : holdingsOf(files);
        for (const auto &holding : holdings) {
            if (!holding)
                return;
            for (auto it = holding->begin(); it != holding->end(); ++it) {
                // An open quote makes names of the lines that follow.
                const bool isHidden = it.key().section('/', -1) == "password";
                if (it.key().contains(secret)
                    || (it->texts.join(' ').contains(secret) && !isHidden))
                    return;
            }
        }
        require(!end.printed.contains(secret) && !end.said.contains(secret), "a secret is hidden");
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
        QSet<QString> changed;
        if (scenario.command == "unset") {
            changed = judgeRemoved(now);
        } else {
            const QString name = scenario.settingName();
            require(now.contains(name), "what is set is held:", name);
            judgeValue(now[name]);
            changed.insert(name);
        }
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

    static bool isBelow(const QString &name, const QString &group)
    {
        return name.startsWith(group.split('/', Qt::SkipEmptyParts).join('/') + '/');
    }

    void judgeValue(const Found &now) const
    {
        const QString wanted = fromUtf8(*scenario.value);
        if (scenario.type == "int")
            require(now.texts == QStringList(QString::number(wanted.toInt())), "a number is held");
        else if (scenario.type == "list")
            require(now.texts.join(',') == wanted, "a list is held:", now.texts.join(','));
        else
            require(now.texts == QStringList(wanted), "the value is held:", now.texts.join(','));
        QList<QByteArray> words{"get", "--no-env"};
        if (scenario.storage)
            words << "--storage=" + scenario.storage->toUtf8();
        if (scenario.start.words.contains("--as-root"))
            words << "--as-root";
        words << "--" << scenario.group->toUtf8() << scenario.key.toUtf8();
        const End got = run(scenario.startOf(words));
        // Other faults of the other files do not concern the write.
        if (got.status == 3 && !defaults)
            return;
        require(got.status == 0, "what is set can be got:", fromUtf8(got.said));
        require(got.printed == now.texts.join('\n').toUtf8() + '\n',
                "get gives the value back:", fromUtf8(got.printed));
    }

    void judgeReader() const
    {
        if (scenario.hasVariables || scenario.isNarrowed || !written
            || !(defaults || scenario.storage))
            return;
        if (scenario.command == "get")
            judgeGet();
        else if (scenario.command == "list" && scenario.isJson)
            judgeList();
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
        if (held->isText && !scenario.isJson && !scenario.start.isTerminal && isWhole(*held)) {
            require(end.printed
                        == held->texts.first().toUtf8() + (scenario.hasRecords ? '\0' : '\n'),
                    "get prints the value:", held->texts.first());
        }
    }

    static bool isWhole(const Found &held) { return held.texts.first().isValidUtf16(); }

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
            const bool isOpen = scenario.showsSecrets && isWhole(*held) && held->isText;
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
    End end;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    Judge(input).judge();
    return 0;
}
