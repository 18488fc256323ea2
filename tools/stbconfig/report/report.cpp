// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "child.h"
#include "commands/commands.h"
#include "commands/rows.h"
#include "parts.h"
#include "scratch.h"
#include "way.h"

#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QJsonDocument>
#include <QtCore/QMap>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <unistd.h>

namespace {

using std::chrono::seconds;

// What a child returns.
struct Part
{
    QJsonObject json;
    QStringList lines;
    QVector<layout::Item> items;
};

QByteArray packed(const Part &part)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << QJsonDocument(part.json).toJson() << part.lines << part.items;
    return bytes;
}

Part unpacked(const QByteArray &bytes)
{
    Part part;
    QByteArray json;
    QDataStream stream(bytes);
    stream >> json >> part.lines >> part.items;
    part.json = QJsonDocument::fromJson(json).object();
    return part;
}

QJsonValue orNull(const QString &text) { return text.isEmpty() ? QJsonValue() : QJsonValue(text); }

class Report
{
public:
    explicit Report(const Context &all)
        : context(all), files(all.files), hidden(parts::storageNames(all.files))
    {}

    void print()
    {
        // The broken files come first, because the other parts depend on which can be read.
        if (context.descriptionProblem)
            tellBadDescription(*context.descriptionProblem);
        const Part versions = told("versions", seconds(2), [this] { return versionsPart(); });
        const QStringList harmless = harmlessFiles();
        const Part locations = told("locations", seconds(5), [this] { return locationsPart(); });
        const Part findings = told("findings", seconds(10), [this] { return findingsPart(); });
        Part settings = settingsOf(harmless);
        if (!isWhole)
            settings.json["fingerprint"] = QJsonValue();
        if (context.arguments.format.json)
            printJson(versions, locations, findings, settings);
        else
            printText(versions, locations, findings, settings);
    }

private:
    // No part takes so long that the command exceeds its time.
    Part told(const QString &name, seconds most, const std::function<Part()> &work)
    {
        const auto left = std::chrono::floor<seconds>(end - std::chrono::steady_clock::now());
        const child::End ended = child::run(std::clamp(left, seconds(1), most), [&work] {
            const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
            if (nowhere >= 0)
                dup2(nowhere, STDERR_FILENO); // what it says when it dies would only confuse
            return packed(work());
        });
        if (ended.how == child::End::Returned && !ended.failure)
            return unpacked(ended.result);
        problems.append(ended.failure ? ended.failure->problem
                                      : Problem{name, ended.why, "see what the other parts say"});
        return {};
    }

    void tellBadDescription(const Problem &problem)
    {
        problems.append({problem.thing, problem.whatHappened,
                         problem.whatToDo + "; all values are masked, since any may be a secret"});
        isWhole = false;
    }

    Part versionsPart() const
    {
        const auto &[command, library, qt, kernel, system] = parts::versions(files.root());
        Part part;
        part.json = {{"command", command},
                     {"library", library},
                     {"qt", qt},
                     {"kernel", kernel},
                     {"system", orNull(system)}};
        part.lines = QStringList{
            QString("command %1, library %2, Qt %3").arg(command, library, qt),
            kernel + ", " + (system.isEmpty() ? QString("unknown system") : output::safe(system))};
        return part;
    }

    QStringList harmlessFiles()
    {
        QStringList harmless;
        const QStringList opened = files.openedAtOnce();
        for (const QString &file : opened) {
            const auto before = problems.size();
            const Part part = told(file, seconds(5), [this, &file] { return statePart(file); });
            const bool isTold = problems.size() == before;
            const QJsonObject problem = part.json["problem"].toObject();
            if (!problem.isEmpty())
                problems.append(
                    {file, problem["message"].toString(), problem["remedy"].toString()});
            hidden.addSettings(part.lines);
            if (isTold && !part.json["isHarmful"].toBool())
                harmless.append(file);
            if (file != files.storageFile(names::firstStorage))
                isWhole = isWhole && problems.size() == before;
        }
        return harmless;
    }

    Part statePart(const QString &file) const
    {
        const parts::State state = parts::stateOf(file, files.root());
        Part part;
        part.json = {{"isHarmful", state.isHarmful}};
        if (state.problem)
            part.json["problem"] = QJsonObject{{"message", state.problem->whatHappened},
                                               {"remedy", state.problem->whatToDo}};
        part.lines = state.secretNames;
        return part;
    }

    Part locationsPart() const
    {
        constexpr int mostStorages = 6;
        Part part;
        QJsonArray json;
        int storages = 0;
        const QVector<output::Row> rows = parts::locations(files);
        for (const output::Row &row : rows) {
            json.append(row.json);
            const QStringList &fields = row.fields; // name, state, file
            const bool isStorage = fields[2].isEmpty() && row.json.toObject().contains("owner");
            storages += isStorage ? 1 : 0;
            if (!fields[2].isEmpty()) {
                part.lines += layout::wrapped(fields[0] + ' ' + output::safe(fields[2]), 2);
                part.lines += layout::wrapped(output::safe(fields[1]), 4);
            } else if (isStorage && storages <= mostStorages) {
                part.lines += layout::wrapped(fields[0] + ", " + output::safe(fields[1]), 2);
            }
        }
        if (storages > mostStorages)
            part.lines.append(QString("  and %1 storages more").arg(storages - mostStorages));
        part.json = {{"locations", json}};
        return part;
    }

    Part findingsPart() const
    {
        constexpr int mostLines = 18;
        constexpr int mostOfOne = 3;
        Part part;
        QJsonArray json;
        QMap<check::Id, int> counts;
        QMap<check::Severity, int> severities;
        int left = 0;
        const check::Findings all = parts::findings(context, hidden);
        for (const check::Finding &finding : all) {
            const output::Row row = rows::ofFinding(finding);
            json.append(row.json);
            ++severities[check::severityOf(finding.id)];
            // The marks at the settings say the same.
            if (finding.id == check::Id::NoDefault || finding.id == check::Id::Redundant)
                continue;
            const QStringList lines = layout::wrapped(output::printable(row.cells.first()), 2);
            if (++counts[finding.id] > mostOfOne || part.lines.size() + lines.size() > mostLines)
                ++left;
            else
                part.lines += lines;
        }
        if (left > 0)
            part.lines.append(QString("  and %1 more, which stbconfig check shows").arg(left));
        part.lines.prepend(QString("Findings: errors %1, warnings %2, notes %3")
                               .arg(severities[check::Severity::Error])
                               .arg(severities[check::Severity::Warning])
                               .arg(severities[check::Severity::Note]));
        part.json = {{"findings", json}};
        return part;
    }

    Part settingsPart(const Files &readable) const
    {
        const parts::Settings settings = parts::settings(readable, hidden);
        Part part;
        part.json = settings.json;
        part.items = settings.items;
        part.lines.append("Logging");
        for (const QString &line : settings.logging)
            part.lines += layout::wrapped(line, 2);
        part.lines += layout::wrapped("Locale " + settings.locale);
        return part;
    }

    // The library opens all or nothing: what must not be opened stays out of a directory that has
    // links to the rest.
    Part settingsOf(const QStringList &harmless)
    {
        const auto tell = [this](const Files &readable) {
            return told("settings", seconds(10),
                        [this, &readable] { return settingsPart(readable); });
        };
        if (harmless.size() == files.openedAtOnce().size())
            return tell(files);
        try {
            const Scratch scratch(context.arguments.places.asRoot);
            const Files links = scratch.files();
            for (const provenance::Facts &facts : provenance::byPrecedence) {
                if (facts.hasFile() && harmless.contains(files.fileOf(facts)))
                    QFile::link(absolute(files.fileOf(facts)), links.fileOf(facts));
            }
            return tell(links);
        } catch (const Failure &failure) {
            problems.append(failure.problem);
            return {};
        }
    }

    void printJson(const Part &versions, const Part &locations, const Part &findings,
                   const Part &settings) const
    {
        QJsonArray broken;
        for (const Problem &problem : problems) {
            broken.append(QJsonObject{{"place", problem.thing},
                                      {"message", problem.whatHappened},
                                      {"remedy", problem.whatToDo}});
        }
        const auto of = [](const Part &part, const QString &name) {
            const QJsonValue value = part.json[name];
            return value.isUndefined() ? QJsonValue() : value;
        };
        QJsonObject json{{"versions", versions.json.isEmpty() ? QJsonValue() : versions.json},
                         {"problems", broken},
                         {"hiddenNames", hidden.settings.size()},
                         {"locations", of(locations, "locations")},
                         {"findings", of(findings, "findings")}};
        for (const char *name : {"settings", "diff", "logging", "locale", "masked", "fingerprint"})
            json.insert(name, of(settings, name));
        output::object(json);
    }

    void printText(const Part &versions, const Part &locations, const Part &findings,
                   const Part &settings) const
    {
        QStringList lines{"A report of stbconfig; secrets are masked, and nothing was sent."};
        lines += versions.lines;
        const QString fingerprint = settings.json["fingerprint"].toString();
        lines.append(fingerprint.isEmpty() ? "no fingerprint, since not all could be read"
                                           : "fingerprint " + fingerprint);
        for (const Problem &problem : problems) {
            lines += QStringList{QString()}
                + layout::wrapped("Broken: " + output::safe(problem.thing))
                + layout::wrapped(output::safe(problem.whatHappened + "; " + problem.whatToDo), 2);
        }
        lines += QStringList{QString(), "Locations"} + locations.lines;
        lines += QStringList{QString()} + findings.lines;
        lines += QStringList{QString()} + settings.lines;
        lines += settingLines(settings, lines.size());
        for (const QString &line : qAsConst(lines))
            output::line(line);
    }

    static QString holders()
    {
        QStringList result;
        for (const auto &[location, keeper, text, mark] : provenance::byPrecedence) {
            if (mark != 0) {
                result.append(QString(mark) + ' '
                              + (keeper == provenance::Keeper::Variables ? "environment" : text));
            }
        }
        return result.join(", ");
    }

    QStringList settingLines(const Part &settings, QStringList::size_type before) const
    {
        constexpr QStringList::size_type mostLines = 200;
        constexpr QStringList::size_type least = 100; // however many lines stand before
        QStringList lines{QString(),
                          QString("Settings: %1, values masked: %2, names left out: %3")
                              .arg(settings.items.size())
                              .arg(settings.json["masked"].toInt())
                              .arg(hidden.settings.size())};
        lines += layout::wrapped("held by " + holders() + "; the first one answers", 2);
        lines.append("  + is added to the defaults, * changed (the default), = equal");
        const auto room = std::max(mostLines - before - lines.size(), least);
        return lines + layout::settings(settings.items, room);
    }

    const Context &context;
    const Files &files;
    parts::Hidden hidden;
    QVector<Problem> problems;
    bool isWhole = true;
    // A command has 34 seconds, and ending a child that hangs takes some of them.
    const std::chrono::steady_clock::time_point end =
        std::chrono::steady_clock::now() + seconds(28);
};

ExitStatus report(const Context &context)
{
    if (context.arguments.format.showSecrets) {
        throw Failure{
            Misuse,
            {"report", "it is made to be sent, and shows no secrets", "leave --show-secrets out"}};
    }
    Report(context).print();
    return Done;
}

} // namespace

void addReport(CommandLine &line)
{
    const Command command =
        line.addCommand("report", "print one text for a ticket, secrets masked", report);
    command.treatBadDescription(BadDescription::Found);
}
