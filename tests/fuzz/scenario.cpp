// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "scenario.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr uid_t anotherUser = 65534;

// Names as a file spells them.
const QByteArray sections[] = {
    "a",     "Video",   "User",     "Logging", "a",         "A",       "b",
    "Video", "Logging", "Profile",  "User",    "General",   "general", "%General",
    "a%2Fb", "a/b",     "%U0436",   "%DF",     "%uD83D",    "",        " a ",
    "%00",   "a]b",     "\xc3\xa4", "a%5Cb",   "%47eneral", "%1b[31m", "%U202E",
};

const QByteArray keys[] = {
    "a",         "output",
    "password",  "level",
    "a",         "A",
    "b",         "output",
    "level",     "responseLengthLimit",
    "locale",    "b\\c",
    "b/c",       "/",
    "a//b",      "",
    "%20",       "%U0436",
    "\xe4",      "%uDE00",
    "password",  "userPin",
    "%3D",       "imageRequestsEnabled",
    "[a]",       " a ",
    "%1b",       "jsonFormattingEnabled",
    "%U202E",    "\"a\"",
    "General/a", "%00",
    "a\\",       "@a",
    "#a",        "%",
    "%zz",       "%U04",
};

const QByteArray texts[] = {
    "1",
    "hdmi",
    "true",
    "ru",
    "debug",
    "",
    "a, b",
    "a;b",
    "\"a;b\"",
    "\"a\", \"b\"",
    "\"open",
    "\\x41g",
    "\\x41\\x42",
    "\\xd83d",
    "\\xde00",
    "\\xd83d\\xde00",
    "\\x0",
    "\\0",
    "a\\nb\\tc",
    "\\x1b[31m",
    "\\x202e\\x200b\\xfeff",
    "\x1b]0;a\x07",
    "\xc3\xa4\xe2\x82\xac",
    "\xe4",
    "\"  a  \"",
    "a  ",
    "@ByteArray(a\\0b)",
    "@ByteArray()",
    "@String(a)",
    "@String(",
    "@Invalid()",
    "@Size(1 2)",
    "@Point(1 2)",
    "@Rect(1 2 3 4)",
    "@Rect(a)",
    "@@a",
    "@",
    "a\\",
    "\\",
    "\"a\\",
    "********",
    "[\"a\"]",
    "hushhush",
    ",",
    "a,,b",
    "@Invalid(), @Size(1 2)",
    "2147483648",
    " -1 ",
    "\xef\xbb\xbf",
    "\xc2\x9b",
    "\\x9b\\x7f",
    "%1 %2",
};

// Qt unpacks these by its serialisation, and may die of it.
const QByteArray packed[] = {
    "@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)",
    "@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x4QUrl)",
    "@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x6Qt::aa)",
    "@Variant(\\0\\0\\0\\x9\\0\\0\\0\\x1\\0\\0\\0\\n\\0\\0\\0\\x2\\0\\x61)",
    "@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0\\x61\\0\\0\\0\\x2\\0\\0\\0\\x5)",
    "@Variant(\\0\\0\\0\\x9\\xff\\xff\\xff\\xff)",
    "@Variant(",
    "@DateTime(\\0\\0\\0\\0\\0%\\x83\\x9d\\x2\\xeb\\x93\\x80\\x1)",
    "@Variant(\\0\\0\\0\\x87?\\x80\\0\\0)",
    "@Variant(\\0\\0\\0\\x43\\x1)",
};

const QByteArray ends[] = {"\n", "\n", "\n", "\n", "\n", "\n", "\r\n", "\r", "", "\\\n"};

// Names as a person types them.
const QString groups[] = {
    "a",
    "Video",
    "User",
    "Logging",
    "a",
    "Video",
    "Logging",
    "Profile",
    "User",
    "A",
    "",
    "b",
    "a/b",
    "General",
    "general",
    "%General",
    QString::fromUtf8("ж"),
    " a ",
    QString::fromUtf8("ß"),
    "/a",
    "a=b",
    "[a]",
    "a;b",
    "\n",
    "@a",
    "\"",
};

const QString lastNames[] = {
    "a",
    "output",
    "password",
    "level",
    "a",
    "b",
    "output",
    "level",
    "responseLengthLimit",
    "jsonFormattingEnabled",
    "imageRequestsEnabled",
    "locale",
    "password",
    "userPin",
    "A",
    "b/c",
    "",
    "a b",
    QString::fromUtf8("ж"),
    "a=b",
    "=",
    "a/",
    "/",
    "#a",
    ";",
    "[a]",
    "a\\",
    "%1",
    "@a",
    "-a",
    "\x1b[31m",
    "\n",
    QString(QChar(0x202E)),
    "General/a",
    "\"a\"",
    " ",
};

const QByteArray turned("\xe2\x80\xae"); // NOLINT(misc-misleading-bidirectional): to be hostile

const QByteArray values[] = {
    "1",
    "hdmi",
    "true",
    "false",
    "a,b",
    "a;b",
    "",
    " ",
    "[a,b]",
    "++",
    "-1",
    "--json",
    "--dry-run",
    "-0",
    "--",
    "=",
    "{}",
    "@Invalid()",
    "@ByteArray(a)",
    "@Variant(a)",
    "@a",
    "@@a",
    "\"a\"",
    "\\",
    "\n",
    "a\nb\n",
    "\x1b[31m",
    turned,
    "\xef\xbb\xbf",
    ("\xef\xbb\xbf"
     "a"),
    "\xf0\x9f\x98\x80",
    "\xe4",
    "\xed\xa0\xbd",
    "hushhush",
    "debug",
    "trace",
    "6",
    "2147483647",
    "2147483648",
    "0x10",
    " 1",
    "ru",
    "%1",
    "\xc3\xa4",
    "\x7f",
    "\xc2\x85",
    "#a",
    "a\tb",
    "********",
};

const QByteArray commands[] = {
    "set",    "set",    "set",    "unset",   "unset",  "unset",   "get",       "locale",
    "list",   "list",   "check",  "explain", "diff",   "logging", "locations", "complete",
    "import", "import", "import", "reset",   "reset",  "migrate", "migrate",   "migrate",
    "export", "export", "diff",   "schema",  "schema", "report",
};

const char *const globs[] = {
    "a",   "Video",   "*",   "*level", "User", "Video/output",
    "a/*", "Logging", "/a/", "Vidoe",  "[",    "\\",
};

// None of these is a description.
const QByteArray brokenOnes[] = {
    "",
    "{",
    "[]",
    "{}",
    "{\"settings\": []}",
    "{\"settings\": {}} x",
    "\xff",
    "{\"settings\": {\"a\": {\"\x1b[31m\": 1}}}",
    "{\"settings\": {\"a\": {\"type\": \"\\u001b\\u202e\"}}}",
    "{\"settings\": {\"\\u009b\\n/\": {}}}",
    "{\"settings\": {\"a\": {\"was\": [\"a\"]}}}",
    "{\"settings\": {\"password\": {\"type\": \"int\", \"default\": \"hushhush\"}}}",
};

const QByteArray wildWords[] = {
    "set",         "unset",
    "get",         "list",
    "explain",     "diff",
    "check",       "logging",
    "locale",      "locations",
    "completion",  "complete",
    "se",          "gett",
    "--json",      "--js",
    "--JSON",      "--json=1",
    "-0",          "-00",
    "-v",          "-vv",
    "-v0",         "--help",
    "-h",          "--version",
    "--",          "-",
    "--=",         "--=a",
    "=",           "",
    "++",          "[a,b]",
    "[]",          "{a}",
    "a/b",         "/a",
    "a",           "a/",
    "--no-env",    "--show-secrets",
    "--as",        "--as=int",
    "--as=list",   "--type",
    "bool",        "--type=int",
    "--default",   "--default=",
    "--default=a", "--from",
    "--from=c",    "--from=",
    "custom",      "--storage",
    "--storage=s", "--storage=",
    "s",           "--create",
    "--group",     "--group=a",
    "--group=",    "--redundant",
    "--dry-run",   "--force",
    "--stdin",     "--keys",
    "--fail-on",   "--fail-on=note",
    "--ignore",    "--ignore=missing",
    "*",           "?",
    "level",       "debug",
    "--pid",       "--pid=0",
    "--pid=-1",    "1",
    "-1",          "-a",
    "-1a",         "\x01",
    "\xff",        turned,
    "\x1b[31m",    "\n",
    "bash",        "fish",
    "--as-root",   "-1.5",
    "--x",         "--set",
    "%s%n",        "export",
    "import",      "reset",
    "migrate",     "schema",
    "report",      "--with",
    "--with=-",    "--only",
    "--only=*",    "--replace",
    "--keep",      "--keep=a",
    "--prune",     "--effective",
    "--describe",  "--no-schema",
    "--schema",    "--schema=",
    "new",         "conf",
    "header",      "markdown",
};

bool begins(const QList<QByteArray> &words, const char *beginning)
{
    return std::any_of(words.begin(), words.end(), [beginning](const QByteArray &word) {
        return word.startsWith(beginning) && word != beginning;
    });
}

// Returns one of the first four most of the time, so that the words name what the files hold.
template <typename T, std::size_t size>
const T &likely(Input &input, const T (&table)[size])
{
    const unsigned which = input.byte();
    return which < 192 ? table[which % 4] : table[which % size];
}

QByteArray typed(Input &input)
{
    if (input.byte() % 8 != 0)
        return input.oneOf(values);
    QByteArray bytes = input.flag() ? input.text().toUtf8() : input.text().toLatin1();
    return bytes.replace('\0', "");
}

QByteArray describedEntry(Input &input)
{
    const QString name = Described::anyName(input);
    const QString section = name.contains('/') ? name.section('/', 0, 0) : "General";
    return '[' + section.toUtf8() + "]\n" + name.section('/', -1).toUtf8() + '='
        + likely(input, texts);
}

QByteArray entry(Input &input)
{
    const QByteArray equals[] = {"=", "=", "=", " = ", "\t=", "= "};
    const QByteArray name = input.byte() % 8 == 0 ? input.text().toLatin1() : likely(input, keys);
    const QByteArray equal = input.oneOf(equals);
    const unsigned which = input.byte() % 8;
    return name + equal
        + (which == 0      ? input.text().toLatin1()
               : which < 4 ? likely(input, texts)
                           : input.oneOf(texts));
}

} // namespace

Scenario::Scenario(Input &input, Box &used)
    : persistent(used.persistentPrefix()), defaults(used.defaultPrefix()), box(used)
{
    start.directory = box.path("cwd");
    expect(QDir().mkpath(start.directory), "the directories of a run can be made");
    const unsigned how = input.byte();
    isWild = how % 8 == 7;
    start.isTerminal = (how & 8U) != 0;
    hasRoot = how >= 0xf0;
    // This comes before the files, so that a change of theirs leaves it alone.
    const QByteArray chosen = input.oneOf(commands);
    if (!isWild)
        command = chosen;
    makeFiles(input);
    makeDescription(input);
    addVariables(input);
    isWild ? composeWild(input) : compose(input);
    makeObstacles(input);
}

QString Scenario::settingName() const { return group->isEmpty() ? key : *group + '/' + key; }

bool Scenario::isWriter() const
{
    return command == "set" || command == "unset" || command == "import" || command == "reset"
        || command == "migrate" || (command == "logging" && value);
}

Start Scenario::startOf(const QList<QByteArray> &words) const
{
    Start other = start;
    other.isTerminal = false;
    other.input.clear();
    other.words =
        (hasRoot ? QList<QByteArray>{"--root", box.path().toUtf8()} : QList<QByteArray>()) + words;
    return other;
}

QByteArray Scenario::content(Input &input)
{
    QByteArray result;
    const unsigned how = input.byte();
    const bool isHostile = how % 4 == 0;
    if (how % 16 == 12)
        result += "\xef\xbb\xbf";
    for (unsigned rest = input.byte() % 10; rest > 0 && !input.isAtEnd(); --rest) {
        const unsigned kind = input.byte() % 32;
        if (kind < 8) {
            result += '[' + likely(input, sections) + ']';
        } else if (isHostile && kind == 8) {
            const QByteArray marks[] = {"# ", "; ", "  ", "\t", "//", "; CustomConfPersistent\n"};
            result += input.oneOf(marks) + input.text().toLatin1();
        } else if (isHostile && kind == 9) {
            result += input.text().toLatin1();
        } else if (isHostile && kind == 10) {
            const QByteArray odd[] = {
                "\xef\xbb\xbf", QByteArray(1, '\0'),   "[",  "]", "=", "==", "[a]b=c",
                "\xff\xfe",     QByteArray(3000, 'a'), "[a", "a]"};
            result += input.oneOf(odd);
        } else if (kind == 11) {
            result += "password=hushhush";
        } else if (isHostile && kind == 12) {
            result += likely(input, keys) + '=' + input.oneOf(packed);
            holdsPacked = true;
        } else {
            result += kind > 26 ? describedEntry(input) : entry(input);
        }
        result += input.oneOf(ends);
    }
    holdsPacked |= isPackedByQt(result);
    return result;
}

void Scenario::makeFiles(Input &input)
{
    const unsigned which = input.byte();
    const bool exists[] = {which % 4 != 0, which / 4 % 4 != 0, (which & 16U) != 0,
                           (which & 32U) != 0};
    const QString files[] = {persistent + "custom.conf", defaults + "stbapp.conf",
                             persistent + "s.db", persistent + "ravel.db"};
    for (unsigned i = 0; i < 4; ++i) {
        if (exists[i])
            Box::write(files[i], content(input));
        isStrange |= exists[i];
    }
    if (which < 192)
        return;
    const mode_t modes[] = {0600, 0644, 0664, 0400, 0000, 04755, 0622};
    const mode_t mode = input.oneOf(modes);
    if (QFile::exists(files[0]))
        chmod(qUtf8Printable(files[0]), mode);
    isStrange = true;
}

void Scenario::makeDescription(Input &input)
{
    const unsigned which = input.byte();
    if (which % 2 == 0 && command != "migrate" && command != "schema")
        return;
    hasBadDescription = which % 32 == 31;
    if (!hasBadDescription)
        described = Described(input);
    const bool isOther = !isWild && which >= 192;
    if (isOther)
        otherDescription = box.path("described.json");
    Box::write(isOther ? otherDescription : descriptionFile(),
               hasBadDescription ? input.oneOf(brokenOnes) : described.text());
}

// This comes once the command is known, because the command names the file.
void Scenario::makeObstacles(Input &input)
{
    isOrdinary = !isWild && !isStrange && !hasRoot && !storage;
    const unsigned which = input.byte();
    if (which % 4 != 1)
        return;
    isOrdinary = false;
    const QString file = storage ? persistent + "s.db" : customFile();
    const QByteArray path = QFile::encodeName(file);
    const QString read = which >= 128 ? descriptionFile() : box.path("given");
    switch (which / 4 % 9) {
    case 0: { // a link to the file
        const QString other = box.path("elsewhere");
        QFile::rename(file, other);
        expect(QFile::link(other, file), "a link can be made");
        break;
    }
    case 1: // a link that leads back to itself
        QFile::remove(file);
        expect(QFile::link(file, file), "a link can be made");
        break;
    case 2: // a lock that cannot go away
        expect(QDir().mkpath(file + ".lock"), "a directory can be made");
        break;
    case 3: // another user's file
        if (geteuid() == 0 && QFile::exists(file))
            expect(chown(path.constData(), anotherUser, anotherUser) == 0,
                   "a file can be given away");
        break;
    case 4: // another user's directory and file
        if (geteuid() == 0) {
            expect(chown(qUtf8Printable(persistent), anotherUser, anotherUser) == 0,
                   "a directory can be given away");
            if (QFile::exists(file))
                expect(chown(path.constData(), anotherUser, anotherUser) == 0,
                       "a file can be given away");
        }
        break;
    case 5: // a directory in its place
        QFile::remove(file);
        expect(QDir().mkpath(file), "a directory can be made");
        break;
    case 6: // nobody reads a FIFO's other end
        QFile::remove(file);
        expect(mkfifo(path.constData(), 0600) == 0, "a FIFO can be made");
        break;
    case 7: // a file that is only read is no file
        QFile::remove(read);
        expect(mkfifo(qUtf8Printable(read), 0600) == 0, "a FIFO can be made");
        if (read == descriptionFile() && otherDescription.isEmpty()) {
            described = Described();
            hasBadDescription = !after.contains("--no-schema");
        }
        break;
    default: // a directory that everybody can write in
        chmod(qUtf8Printable(persistent), 0777);
        break;
    }
}

void Scenario::addVariables(Input &input)
{
    start.variables = {"STBCONFIG_PERSISTENT_PREFIX=" + (hasRoot ? "/data/" : persistent.toUtf8()),
                       "STBCONFIG_DEFAULTS_PREFIX=" + (hasRoot ? "/etc/" : defaults.toUtf8())};
    const QByteArray names[] = {"A_B", "VIDEO_OUTPUT", "LOGGING_LEVEL", "PROFILE_LOCALE", "_A",
                                "X",   "A_A",          "USER_PASSWORD", "\xd0\x96_A",     "\x1b",
                                ""};
    for (unsigned rest = input.byte() % 16; rest > 12; --rest) {
        const QByteArray name = input.oneOf(names);
        start.variables.append("STBAPP_" + name + '=' + typed(input));
        hasVariables = true;
    }
}

void Scenario::addOption(Input &input, const QByteArray &name, const QByteArray &word)
{
    QList<QByteArray> &words = name.startsWith("--root") && input.flag() ? before : after;
    if (word.startsWith('-') || input.flag())
        words << name + '=' + word;
    else
        words << name << word;
}

void Scenario::addStorage(Input &input)
{
    if (input.byte() % 4 != 0)
        return;
    const QByteArray names[] = {"s",   "s", "s",         "ravel", "missing",
                                "a b", "S", "../data/s", "",      "\xd0\xb6"};
    const QByteArray name = input.oneOf(names);
    storage = QString::fromUtf8(name);
    addOption(input, "--storage", name);
    if (input.flag())
        after << "--create";
}

void Scenario::addSetting(Input &input, QList<QByteArray> &words)
{
    const bool isRandom = input.byte() % 8 == 0;
    group = isRandom ? input.text() : likely(input, groups);
    key = isRandom && input.flag() ? input.text() : likely(input, lastNames);
    // Neither NUL nor half a character can be typed.
    group = QString::fromUtf8(group->remove(QChar()).toUtf8());
    key = QString::fromUtf8(key.remove(QChar()).toUtf8());
    if (!group->contains('/') && input.flag())
        words << (*group + '/' + key).toUtf8();
    else
        words << group->toUtf8() << key.toUtf8();
}

void Scenario::addSetWords(Input &input, QList<QByteArray> &words)
{
    addSetting(input, words);
    value = typed(input);
    const QByteArray types[] = {"text", "int", "bool", "list"};
    if (input.byte() % 4 == 0)
        addOption(input, "--type", type = input.oneOf(types));
    addStorage(input);
    if (input.byte() % 8 == 0) {
        start.input = *value;
        after << "--stdin";
        if (value->endsWith('\n'))
            value->chop(1);
    } else {
        words << *value;
    }
}

void Scenario::addUnsetWords(Input &input, QList<QByteArray> &words)
{
    const unsigned which = input.byte() % 4;
    isRedundant = which == 0;
    if (isRedundant) {
        after << "--redundant";
        return;
    }
    if (which == 1) {
        removedGroup = likely(input, groups);
        addOption(input, "--group", removedGroup->toUtf8());
    } else {
        addSetting(input, words);
    }
    addStorage(input);
}

void Scenario::addGetWords(Input &input, QList<QByteArray> &words)
{
    addSetting(input, words);
    addStorage(input);
    const QByteArray as[] = {"text", "int", "bool", "list"};
    isNarrowed = true;
    if (input.byte() % 4 == 0)
        addOption(input, "--as", input.oneOf(as));
    else if (input.byte() % 4 == 0)
        addOption(input, "--default", typed(input));
    else if (input.byte() % 4 == 0 && !storage)
        addOption(input, "--from", "stb");
    else
        isNarrowed = false;
}

void Scenario::addGlob(Input &input, QList<QByteArray> &words)
{
    if (input.byte() % 4 != 0)
        return;
    glob = likely(input, globs);
    words << glob->toUtf8();
}

void Scenario::addListWords(Input &input, QList<QByteArray> &words)
{
    addGlob(input, words);
    isNarrowed = glob.has_value();
    if (described.isValid() && input.byte() % 4 == 0) {
        after << "--describe";
        isDescribing = isNarrowed = true;
        return;
    }
    addStorage(input);
    if (!storage && input.byte() % 4 == 0) {
        addOption(input, "--from", "custom");
        isNarrowed = true;
    }
    if (input.byte() % 4 == 0)
        after << "--keys";
}

// Makes the file that is imported, or compared with.
QByteArray Scenario::givenWord(Input &input)
{
    const unsigned which = input.byte();
    QFile custom(customFile());
    const bool isCopy = which % 8 == 0 && custom.open(QFile::ReadOnly);
    const QByteArray text = isCopy ? custom.readAll() : content(input);
    given = box.path("given");
    Box::write(*given, text);
    if (which < 192)
        return given->toUtf8();
    start.input = text;
    return "-";
}

void Scenario::addDiffWords(Input &input, QList<QByteArray> &words)
{
    addGlob(input, words);
    const unsigned which = input.byte() % 8;
    isBesideItself = which == 0;
    if (isBesideItself)
        addOption(input, "--with", persistent.toUtf8());
    else if (which > 3)
        addOption(input, "--with", givenWord(input));
}

void Scenario::addExportWords(Input &input, QList<QByteArray> &words)
{
    addGlob(input, words);
    isEffective = input.byte() % 4 == 0;
    if (isEffective)
        after << "--effective";
    else
        addStorage(input);
}

void Scenario::addImportWords(Input &input, QList<QByteArray> &words)
{
    words << givenWord(input);
    isReplacing = input.flag();
    if (isReplacing)
        after << "--replace";
    if (input.byte() % 4 == 0) {
        glob = likely(input, globs);
        addOption(input, "--only", glob->toUtf8());
    }
    addStorage(input);
}

void Scenario::addResetWords(Input &input, QList<QByteArray> &words)
{
    addGlob(input, words);
    for (unsigned rest = input.byte() % 8; rest > 5; --rest) {
        kept << likely(input, globs);
        addOption(input, "--keep", kept.last().toUtf8());
    }
    addStorage(input);
}

// The words that are no options.
QList<QByteArray> Scenario::commandWords(Input &input)
{
    QList<QByteArray> words;
    if (command == "set") {
        addSetWords(input, words);
    } else if (command == "unset") {
        addUnsetWords(input, words);
    } else if (command == "get") {
        addGetWords(input, words);
    } else if (command == "list") {
        addListWords(input, words);
    } else if (command == "diff") {
        addDiffWords(input, words);
    } else if (command == "export") {
        addExportWords(input, words);
    } else if (command == "import") {
        addImportWords(input, words);
    } else if (command == "reset") {
        addResetWords(input, words);
    } else if (command == "migrate") {
        isPruning = input.byte() % 4 == 0;
        if (isPruning)
            after << "--prune";
    } else if (command == "schema") {
        const QByteArray outputs[] = {"new", "conf", "markdown", "header"};
        words << (made = input.oneOf(outputs));
    } else if (command == "explain") {
        addSetting(input, words);
    } else if (command == "check") {
        const QByteArray severities[] = {"error", "warning", "note"};
        if (input.flag())
            addOption(input, "--fail-on", input.oneOf(severities));
        if (input.flag())
            addOption(input, "--ignore", "comment");
    } else if (command == "logging" && input.flag()) {
        const QByteArray names[] = {"level", "responseLengthLimit", "jsonFormattingEnabled",
                                    "imageRequestsEnabled", "levle"};
        group = "Logging";
        key = input.oneOf(names);
        words << key.toUtf8() << typed(input);
        value = words.last();
    }
    return words;
}

void Scenario::chooseVariables(Input &input, unsigned which)
{
    if (which % 8 == 0 && !hasRoot) {
        const QString file = box.path("env");
        const QByteArray text = content(input).replace("[", "STBAPP_").replace("\n", "\nSTBAPP_A_");
        Box::write(file, text);
        addOption(input, "--env-file", file.toUtf8());
        hasVariables = true;
    } else if (which % 4 == 1) {
        after << "--no-env";
        hasVariables = false;
    }
    if (hasRoot)
        hasVariables = false;
}

void Scenario::chooseDescription(Input &input)
{
    if (input.byte() % 16 == 15) {
        after << "--no-schema";
        described = Described();
        hasBadDescription = false;
    } else if (!otherDescription.isEmpty()) {
        addOption(input, "--schema", otherDescription.toUtf8());
    }
}

void Scenario::compose(Input &input)
{
    if (command == "complete") {
        start.words << command;
        for (unsigned rest = input.byte() % 4; rest > 0; --rest)
            start.words << input.oneOf(wildWords);
        start.words << (input.flag() ? input.oneOf(values) : QByteArray());
        return;
    }
    if (hasRoot)
        addOption(input, "--root", box.path().toUtf8());
    const unsigned options = input.byte();
    // A list in JSON says most of what is read. Few others have to refuse it.
    const bool isOfJson = command != "export" && command != "schema";
    const bool saysJson = command == "list" ? options % 8 != 0 : options % (isOfJson ? 2 : 8) == 0;
    const auto add = [&](bool isWanted, bool &isTold, const char *option) {
        isTold = isWanted;
        if (isWanted)
            (input.flag() ? before : after) << option;
    };
    add(saysJson, isJson, "--json");
    add((options & 4U) != 0 && (options & 8U) != 0, showsSecrets, "--show-secrets");
    if ((options & 16U) != 0 && (options & 32U) != 0) {
        before << "-0";
        hasRecords = true;
    }
    bool isOther = false;
    add((options & 64U) != 0, isOther, "-v");
    const unsigned others = input.byte();
    chooseVariables(input, others);
    chooseDescription(input);
    add((others & 16U) != 0 && (others & 32U) != 0, isOther, "--as-root");
    QList<QByteArray> words = commandWords(input);
    if (isWriter()) {
        add((others & 64U) != 0 && (others & 128U) != 0, isDryRun, "--dry-run");
        add((others & 192U) == 64, isOther, "--force");
    }
    // A word that begins with "-" is an option, or the command line has no meaning.
    if (begins(words, "-") || words.contains("--") || input.flag())
        start.words = before + QList<QByteArray>{command} + after + QList<QByteArray>{"--"} + words;
    else if (input.flag())
        start.words = before + QList<QByteArray>{command} + words + after;
    else
        start.words = before + QList<QByteArray>{command} + after + words;
}

void Scenario::composeWild(Input &input)
{
    start.input = input.flag() ? typed(input) : QByteArray();
    for (unsigned rest = input.byte() % 8; rest > 0; --rest) {
        QByteArray word = input.byte() % 8 == 0 ? typed(input) : input.oneOf(wildWords);
        // The fuzzer must not touch anything outside of the box.
        if (!word.contains("..") && !word.startsWith("--persistent") && !word.startsWith("--root"))
            start.words << word;
    }
}
