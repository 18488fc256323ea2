// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "logging.h"
#include "output.h"
#include "rawfile.h"
#include "session.h"
#include "trialread.h"
#include "writing.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <algorithm>

using stbconfig::ConfigurationManager;

namespace {

struct Finding
{
    QString id;
    QString severity;
    QString place;
    QString message;
    QString remedy;
};

class Findings
{
public:
    void error(const char *id, const QString &place, const QString &message, const char *remedy)
    {
        add(id, "error", place, message, remedy);
    }
    void warning(const char *id, const QString &place, const QString &message, const char *remedy)
    {
        add(id, "warning", place, message, remedy);
    }
    void note(const char *id, const QString &place, const QString &message, const char *remedy)
    {
        add(id, "note", place, message, remedy);
    }
    const QVector<Finding> &all() const { return findings; }

private:
    void add(const char *id, const char *severity, const QString &place, const QString &message,
             const char *remedy)
    {
        findings.append({QString::fromLatin1(id), QString::fromLatin1(severity), place, message,
                         QString::fromLatin1(remedy)});
    }

    QVector<Finding> findings;
};

QString atLine(const QString &file, const RawLine &line)
{
    return file + QLatin1Char(':') + QString::number(line.number);
}

void checkLines(const QString &file, bool isWritten, Findings &findings)
{
    const QVector<RawLine> lines = readLines(file);
    for (const RawLine &line : lines) {
        const QString place = atLine(file, line);
        if (line.kind == RawLine::Malformed) {
            findings.error("malformed", place, QStringLiteral("no section and no entry"),
                           "correct or remove the line");
        } else if (line.text.startsWith('#')) {
            findings.warning("hash-line", place, QStringLiteral("a \"#\" line is an entry"),
                             "begin comments with \";\"");
        } else if (line.kind == RawLine::Comment && isWritten) {
            findings.warning("comment", place, QStringLiteral("the next write drops this comment"),
                             "keep it elsewhere");
        }
        if (std::any_of(line.text.cbegin(), line.text.cend(),
                        [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; })) {
            findings.warning("non-ascii", place, QStringLiteral("read as Latin-1, not as UTF-8"),
                             "write the value with stbconfig set");
        }
        // A second "@" before it makes it a text.
        static const QRegularExpression typed(QStringLiteral("(?<!@)@(?:Variant|DateTime)\\("));
        if (line.kind == RawLine::Entry && typed.match(QString::fromLatin1(line.text)).hasMatch()) {
            findings.warning("typed-value", place,
                             QStringLiteral("can end the process that reads it"),
                             "let nobody but the application write the file");
        }
        if (line.kind == RawLine::Entry) {
            bool isQuoted = false;
            const QByteArray value = line.text.mid(line.text.indexOf('=') + 1);
            for (const char byte : value) {
                if (byte == '"')
                    isQuoted = !isQuoted;
                if (byte == ',' && !isQuoted) {
                    findings.warning("unquoted-comma", place,
                                     QStringLiteral("makes a list, whose text is empty"),
                                     "quote the value unless a list is meant");
                    break;
                }
            }
        }
    }
}

void checkFile(const QString &file, const stbconfig::IReadableBackend &storage, bool isWritten,
               Findings &findings)
{
    const QFileInfo info(file);
    if (isWritten) {
        const auto [why, remedy] = writing::obstacle(file);
        if (!why.isEmpty())
            findings.error("write-lost", file, why, remedy.toLatin1().constData());
    }
    const QString holder = writing::lockHolder(file);
    if (!holder.isEmpty()) {
        findings.warning("left-over-lock", file + QLatin1String(".lock"),
                         holder + QLatin1String(" can block a write for some 30 seconds"),
                         "remove it if no process holds it");
    }
    if (!info.exists())
        return;
    if (!info.isFile() || !info.isReadable()) {
        findings.error("unreadable", file, QStringLiteral("cannot be read"),
                       "check what it is and its permissions");
        return;
    }
    const QStringList settings = storage.allKeys();
    const auto before = findings.all().size();
    checkLines(file, isWritten, findings);
    const bool hasLine = std::any_of(
        findings.all().cbegin() + before, findings.all().cend(),
        [](const Finding &finding) { return finding.id == QLatin1String("malformed"); });
    if (!storage.isValid() && !hasLine) {
        findings.error("malformed", file, QStringLiteral("the library cannot read all of it"),
                       "restore the file");
    }
    const bool isOpen = info.permissions().testFlag(QFile::ReadOther);
    for (const QString &setting : settings) {
        if (isOpen && output::isSecret(addressOf(setting).key)) {
            findings.warning("readable-secret", file,
                             setting + QLatin1String(" can be read by everybody"),
                             "take the file's permissions from others");
        }
    }
}

int editDistance(const QString &a, const QString &b)
{
    QVector<int> row(b.size() + 1);
    for (int j = 0; j < row.size(); ++j)
        row[j] = j;
    for (int i = 0; i < a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < b.size(); ++j) {
            const int above = row[j + 1];
            row[j + 1] = std::min({above + 1, row[j] + 1, diagonal + (a[i] == b[j] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.last();
}

void checkNames(const QStringList &settings, Findings &findings)
{
    for (int i = 0; i < settings.size(); ++i) {
        for (int j = i + 1; j < settings.size(); ++j) {
            const Address one = addressOf(settings[i]);
            const Address other = addressOf(settings[j]);
            if (settings[i].compare(settings[j], Qt::CaseInsensitive) == 0) {
                findings.warning("case-only", settings[i],
                                 QLatin1String("differs from ") + settings[j]
                                     + QLatin1String(" only in case"),
                                 "keep one spelling");
            }
            const QString variable = provenance::variableName(one.group, one.key);
            if (variable == provenance::variableName(other.group, other.key)) {
                findings.warning("shared-variable", variable,
                                 QLatin1String("stands for ") + settings[i] + QLatin1String(" and ")
                                     + settings[j],
                                 "rename one of them");
            }
        }
    }
}

// What is wrong with a text wherever it is held.
void checkText(const QString &setting, const QString &text, const QString &place,
               Findings &findings)
{
    static const QStringList falseWords{QStringLiteral("no"), QStringLiteral("off"),
                                        QStringLiteral("disabled")};
    if (falseWords.contains(text.toLower())) {
        findings.warning("boolean-word", place, QStringLiteral("reads as true"),
                         "write true or false");
    }
    if (setting == QLatin1String("Profile/locale") && text != QLatin1String("C")
        && QLocale(text) == QLocale::c()) {
        findings.warning("c-locale", place, QStringLiteral("gives the C locale"),
                         "set a locale's name, such as ru or en_GB");
    }
}

void checkVariables(const Session &session, Findings &findings)
{
    const auto *environment = session.readable(ConfigurationManager::EnvironmentVariables);
    const QStringList known = session.knownSettings();
    QStringList names = environment->allKeys();
    names.sort();
    for (const QString &name : names) {
        if (!name.startsWith(QLatin1String("STBAPP_")))
            continue;
        if (name.startsWith(QLatin1String("STBAPP_LOGGING_"))) {
            findings.warning("logging-variable", name,
                             QStringLiteral("the logging reader ignores the environment"),
                             "use stbconfig logging");
        }
        QString nearest;
        int distance = 0;
        const provenance::Answer *winner = nullptr;
        bool isKnown = false;
        bool isEmpty = false;
        for (const QString &setting : known) {
            const Address address = addressOf(setting);
            const QString candidate = provenance::variableName(address.group, address.key);
            const int changes = editDistance(name, candidate);
            if (nearest.isEmpty() || changes < distance) {
                nearest = candidate;
                distance = changes;
            }
            if (candidate != name)
                continue;
            isKnown = true;
            const QString text = environment->value(address.group, address.key).toString();
            isEmpty = text.isEmpty();
            checkText(setting, text, name, findings);
            const auto answers = provenance::ask(session.manager(), address.group, address.key);
            winner = provenance::winner(answers);
            if (winner->location != ConfigurationManager::EnvironmentVariables) {
                findings.warning("shadowed-variable", name,
                                 QLatin1String("shadowed by ")
                                     + provenance::locationName(winner->location),
                                 "unset the custom setting or the variable");
            }
        }
        if (!isKnown) {
            findings.warning("unknown-variable", name,
                             QLatin1String("matches no known setting, nearest is ") + nearest,
                             "correct the name");
        }
        if (isEmpty) {
            findings.warning("empty-variable", name, QStringLiteral("is empty, yet answers"),
                             "unset it to let the next location answer");
        }
    }
}

void checkValues(const Session &session, Findings &findings)
{
    for (const auto location :
         {ConfigurationManager::CustomConfPersistent, ConfigurationManager::StbappConfDefault}) {
        const auto *storage = session.readable(location);
        QStringList settings = storage->allKeys();
        settings.sort();
        for (const QString &setting : settings) {
            const Address address = addressOf(setting);
            const QVariant value = storage->value(address.group, address.key);
            const QString place = session.source(location, address) + QLatin1String(": ") + setting;
            const QString text = value.toString();
            if (address.group == QLatin1String("Logging")) {
                const QString wrong = loggingsettings::misreading(address.key, text);
                if (!wrong.isEmpty())
                    findings.warning("logging-value", place, wrong, "use stbconfig logging");
            }
            checkText(setting, text, place, findings);
            if (location == ConfigurationManager::StbappConfDefault)
                continue;
            const auto *defaults = session.readable(ConfigurationManager::StbappConfDefault);
            if (!defaults->contains(address.group, address.key)) {
                findings.note("no-default", place, QStringLiteral("the defaults lack it"),
                              "check the spelling");
            } else if (texts(defaults->value(address.group, address.key)) == texts(value)) {
                findings.note("redundant", place, QStringLiteral("equals the default"),
                              "remove it with unset --redundant");
            }
        }
    }
}

void checkPrefix(const QString &prefix, Findings &findings)
{
    if (!prefix.endsWith(QLatin1Char('/'))) {
        findings.warning("prefix", prefix,
                         QStringLiteral("no final \"/\": it begins a file's name"),
                         "add the \"/\" if a directory is meant");
    }
}

// Nothing else can be asked of a file that ends its reader.
void checkReading(const Files &files, Findings &findings)
{
    const QStringList all = files.all();
    for (const QString &file : all) {
        if (endsItsReader(file)) {
            findings.error("ends-reader", file, QStringLiteral("reading it ends the process"),
                           "restore the file");
            checkLines(file, false, findings);
        }
    }
}

void checkAll(const Session &session, const Options &options, Findings &findings)
{
    checkPrefix(options.persistentPrefix, findings);
    checkPrefix(options.defaultsPrefix, findings);
    checkFile(session.customFile(), *session.readable(ConfigurationManager::CustomConfPersistent),
              true, findings);
    checkFile(session.defaultsFile(), *session.readable(ConfigurationManager::StbappConfDefault),
              false, findings);
    const QStringList names = session.storageNames();
    for (const QString &name : names) {
        checkFile(session.storageFile(name), *session.manager().independentStorage(name), true,
                  findings);
    }
    checkNames(session.knownSettings(), findings);
    checkVariables(session, findings);
    checkValues(session, findings);
}

} // namespace

ExitStatus check(const Options &options)
{
    Findings findings;
    checkReading(Files(options), findings);
    if (findings.all().isEmpty())
        checkAll(Session(options), options, findings);

    QJsonArray array;
    bool isUnreadable = false;
    for (const Finding &finding : findings.all()) {
        isUnreadable |= finding.id == QLatin1String("unreadable")
            || finding.id == QLatin1String("malformed")
            || finding.id == QLatin1String("ends-reader");
        array.append(QJsonObject{{QStringLiteral("id"), finding.id},
                                 {QStringLiteral("severity"), finding.severity},
                                 {QStringLiteral("place"), finding.place},
                                 {QStringLiteral("message"), finding.message},
                                 {QStringLiteral("remedy"), finding.remedy}});
        if (!options.json) {
            output::record(QStringLiteral("%1 %2: %3: %4; %5")
                               .arg(finding.severity, finding.id, finding.place, finding.message,
                                    finding.remedy),
                           options);
        }
    }
    if (options.json)
        output::json(array);
    if (isUnreadable)
        return CannotRead;
    return findings.all().isEmpty() ? Done : PlainNo;
}
