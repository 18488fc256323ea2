// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "parts.h"

#include "check/checks.h"
#include "commands/rows.h"
#include "disk.h"
#include "fileproblem.h"
#include "identity.h"
#include "rawfile.h"
#include "session.h"
#include "way.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <dlfcn.h>
#include <grp.h>
#include <sys/utsname.h>

using provenance::Answer;
using stbconfig::ConfigurationManager;

namespace parts {
namespace {

constexpr char hiddenName[] = "(a name that may hold a secret)";

constexpr output::Format format{true, false, false, true};

// Reads the version from the name of the file that was loaded, whatever the command was built with.
QString libraryVersion()
{
    Dl_info info{};
    const void *inside = &ConfigurationManager::staticMetaObject;
    dladdr(inside, &info);
    static const QRegularExpression ending("\\.so\\.([0-9.]+)$");
    const QFileInfo file(QString::fromLocal8Bit(info.dli_fname));
    const auto match = ending.match(file.canonicalFilePath());
    return match.hasMatch() ? match.captured(1) : STBCONFIG_VERSION;
}

QString kernel()
{
    utsname names{};
    uname(&names); // the host's name stays private
    return QString("%1 %2 %3").arg(names.sysname, names.release, names.machine);
}

QString system(const QString &root)
{
    const QString file = follow("/etc/os-release", root.isEmpty() ? "/" : root).end;
    const QList<QByteArray> lines = fileproblem::read(file, root).bytes.split('\n');
    for (QByteArray line : lines) {
        if (line.startsWith("PRETTY_NAME="))
            return QString::fromUtf8(line.remove(0, line.indexOf('=') + 1))
                .remove('"')
                .remove('\'');
    }
    return {};
}

// The library takes a line such as "password: 123 =" for an entry, and its name then holds the
// secret.
bool isSecretName(const QString &name)
{
    static const QRegularExpression strange("[\\s=:;\"'<>{}]");
    return Setting::named(name).isSecret() && strange.match(name).hasMatch();
}

// The library makes a group of a section that nothing closes.
QStringList namesIn(const QVector<RawLine> &lines)
{
    QStringList result;
    bool isInBroken = false;
    for (const RawLine &line : lines) {
        if (line.kind == RawLine::Section)
            isInBroken = false;
        else if (line.kind == RawLine::Malformed && line.text.startsWith('['))
            isInBroken = true;
        else if (line.kind == RawLine::Entry && (isInBroken || isSecretName(line.name)))
            result.append(line.name);
    }
    return result;
}

QString groupName(gid_t group)
{
    const auto *entry = getgrgid(group);
    return entry ? QString::fromLocal8Bit(entry->gr_name) : QString("group %1").arg(group);
}

output::Row withOwner(output::Row row, const QString &file)
{
    QJsonObject json = row.json.toObject();
    json.insert("owner", QJsonValue());
    json.insert("group", QJsonValue());
    json.insert("mode", QJsonValue());
    if (const auto status = disk::statusOf(file)) {
        const QString owner = identity::userName(status->st_uid);
        const QString group = groupName(status->st_gid);
        const QString mode = QString::number(status->st_mode & 07777, 8).rightJustified(3, '0');
        json["owner"] = owner;
        json["group"] = group;
        json["mode"] = mode;
        row.fields[1].prepend(owner + ':' + group + ' ' + mode + ", ");
    }
    row.json = json;
    return row;
}

// Returns the row of a storage without its name.
output::Row nameless(output::Row row, const QString &name)
{
    QJsonObject json = row.json.toObject();
    json["name"] = name;
    json["file"] = QJsonValue();
    row.json = json;
    row.fields = QStringList{name, row.fields[1], QString()};
    return row;
}

QString storageTitle(int number) { return QString("storage %1").arg(number); }

// Returns who holds it, the strongest first, then the sign of what the diff says.
QString markOf(const QVector<Answer> &answers, const Answer &winner)
{
    const Answer &defaults = provenance::of(answers, ConfigurationManager::StbappConfDefault);
    QString mark;
    for (const Answer &answer : answers) {
        if (answer.isHeld)
            mark += provenance::factsOf(answer.location).mark;
    }
    if (winner.location == defaults.location)
        return mark;
    return mark
        + (!defaults.isHeld                                                 ? '+'
               : value::texts(winner.value) == value::texts(defaults.value) ? '='
                                                                            : '*');
}

// Adds the text as a netstring, so that no two lists of settings have the same bytes.
void addNetstring(QCryptographicHash &hash, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    hash.addData(QByteArray::number(bytes.size()) + ':' + bytes + ',');
}

void addSetting(QCryptographicHash &hash, const QString &name, const QVariant &value)
{
    addNetstring(hash, name);
    const QStringList texts = value::texts(value);
    for (const QString &text : texts)
        addNetstring(hash, text);
    hash.addData(QByteArray("\n"));
}

void addLogging(Settings &result, const Session &session)
{
    constexpr int room = 60;
    QJsonArray json;
    const QVector<output::Row> rows = rows::ofLogging(session, format);
    for (const output::Row &row : rows) {
        json.append(row.json);
        QStringList cells = row.cells;
        const QString name = cells.takeFirst();
        for (QString &cell : cells)
            cell = layout::cut(cell, room);
        result.logging.append(name + ": " + cells.join(", "));
    }
    result.json.insert("logging", json);
}

void addLocale(Settings &result, const Session &session)
{
    constexpr int room = 40;
    const Setting setting{names::localeGroup, names::localeKey};
    const auto answers = session.ask(setting);
    const Answer *winner = provenance::winner(answers);
    const bool isMasked = winner != nullptr && output::isMasked(setting, winner->value, format);
    const QString text = !winner ? QString(names::builtInLocale)
        : isMasked               ? output::field(setting, winner->value, format)
                                 : winner->value.toString();
    const QString origin = winner ? provenance::locationName(winner->location) : "built in";
    const QString name = session.manager().defaultLocale().name();
    result.json.insert("locale", QJsonObject{{"locale", name}, {"text", text}, {"origin", origin}});
    result.locale = name + ", from \"" + layout::cut(output::safe(text), room) + "\", " + origin;
}

void addDifferences(Settings &result, const Session &session, const Hidden &hidden)
{
    QJsonArray json;
    const QVector<output::Row> rows = rows::ofDifferences(session, {}, format);
    for (const output::Row &row : rows) {
        const QString name = row.json.toObject()["setting"].toString();
        if (!hidden.settings.contains(name) && !isSecretName(name))
            json.append(row.json);
    }
    result.json.insert("diff", json);
}

} // namespace

void Hidden::add(const QString &text, const QString &replacement)
{
    texts[text.size()].append({text, replacement});
}

void Hidden::addSettings(const QStringList &names)
{
    for (const QString &name : names) {
        if (settings.contains(name))
            continue;
        settings.append(name);
        add(name, hiddenName);
        add(Setting::named(name).variable(), hiddenName);
    }
}

// The longest texts go first, because one can be a part of another.
QString Hidden::in(const QString &text) const
{
    QString result = text;
    const auto lengths = texts.keys();
    for (auto length = lengths.crbegin(); length != lengths.crend(); ++length) {
        const auto all = texts[*length];
        for (const auto &[secret, replacement] : all)
            result.replace(secret, replacement);
    }
    return result;
}

Hidden storageNames(const Files &files)
{
    Hidden hidden;
    int number = 0;
    const QStringList names = files.storageNames();
    for (const QString &name : names) {
        if (name == names::firstStorage)
            continue;
        hidden.add(files.storageFile(name), storageTitle(++number));
        hidden.add("--storage " + name, "--storage NAME");
    }
    return hidden;
}

State stateOf(const QString &file, const QString &root)
{
    State state;
    state.problem = fileproblem::ofOpening(file, root);
    if (!state.problem)
        state.problem = fileproblem::ofReader({file});
    state.isHarmful = state.problem.has_value();
    if (state.isHarmful)
        return state;
    const fileproblem::Contents contents = fileproblem::read(file, root);
    const QVector<RawLine> lines = rawLines(contents.bytes);
    state.secretNames = namesIn(lines);
    state.problem = contents.problem;
    if (std::any_of(lines.cbegin(), lines.cend(),
                    [](const RawLine &line) { return line.kind == RawLine::Malformed; }))
        state.problem = fileproblem::ofWhatWasRead(file, contents.bytes, false, false);
    return state;
}

Versions versions(const QString &root)
{
    return {STBCONFIG_VERSION, libraryVersion(), qVersion(), kernel(), system(root)};
}

Settings settings(const Files &files, const Hidden &hidden)
{
    const Session session(files);
    Settings result;
    QJsonArray json;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    int masked = 0;
    const QStringList all = session.settings();
    for (const QString &name : all) {
        if (hidden.settings.contains(name) || isSecretName(name))
            continue;
        const Setting setting = Setting::named(name);
        const auto answers = session.ask(setting);
        const Answer &winner = *provenance::winner(answers);
        if (output::isMasked(setting, winner.value, format))
            ++masked;
        else
            addSetting(hash, name, winner.value);
        json.append(QJsonObject{{"setting", name},
                                {"value", output::json(setting, winner.value, format)},
                                {"origin", provenance::locationName(winner.location)}});
        const QString mark = markOf(answers, winner);
        const Answer &defaults = provenance::of(answers, ConfigurationManager::StbappConfDefault);
        result.items.append(
            {output::safe(setting.group), output::safe(setting.key), mark,
             output::shown(setting, winner.value, format),
             mark.endsWith('*') ? output::shown(setting, defaults.value, format) : QString()});
    }
    result.json = {{"settings", json},
                   {"masked", masked},
                   {"fingerprint", QString::fromLatin1(hash.result().toHex())}};
    addDifferences(result, session, hidden);
    addLogging(result, session);
    addLocale(result, session);
    return result;
}

QVector<output::Row> locations(const Files &files)
{
    QVector<output::Row> rows;
    const auto add = [&](const QString &name, const QString &file) {
        rows.append(withOwner(rows::ofFile(name, file, files.root()), file));
    };
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (facts.hasFile())
            add(provenance::locationName(facts.location), files.fileOf(facts));
    }
    int number = 0;
    const QStringList names = files.storageNames();
    for (const QString &name : names) {
        add(name, files.storageFile(name));
        if (name != names::firstStorage)
            rows.last() = nameless(rows.last(), storageTitle(++number));
    }
    for (const provenance::Facts &facts : provenance::byPrecedence) {
        if (!facts.hasFile())
            rows.append(rows::withoutFile(facts));
    }
    return rows;
}

check::Findings findings(const Context &context, Hidden hidden)
{
    const Files &files = context.files;
    const QStringList names = files.storageNames();
    for (const QString &name : names)
        hidden.addSettings(
            namesIn(rawLines(fileproblem::read(files.storageFile(name), files.root()).bytes)));
    check::Findings all = check::findAll(context);
    for (check::Finding &finding : all) {
        for (QString *text :
             {&finding.problem.thing, &finding.problem.whatHappened, &finding.problem.whatToDo})
            *text = hidden.in(*text);
    }
    std::stable_sort(all.begin(), all.end(), [](const check::Finding &a, const check::Finding &b) {
        return check::severityOf(a.id) > check::severityOf(b.id);
    });
    return all;
}

} // namespace parts
