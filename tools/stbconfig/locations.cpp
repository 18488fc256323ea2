// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "commands.h"
#include "output.h"
#include "session.h"
#include "writing.h"

#include <QtCore/QFileInfo>

using stbconfig::ConfigurationManager;

namespace {

QJsonObject stateOf(const QString &name, const QString &file)
{
    const QFileInfo info(file);
    const QFileInfo directory(info.absolutePath());
    return {{QStringLiteral("name"), name},
            {QStringLiteral("file"), file},
            {QStringLiteral("exists"), info.exists()},
            {QStringLiteral("readable"), info.isReadable()},
            {QStringLiteral("writable"), info.isWritable()},
            {QStringLiteral("directoryWritable"), directory.isDir() && directory.isWritable()},
            {QStringLiteral("size"), info.size()},
            {QStringLiteral("lock"), QFileInfo::exists(file + QLatin1String(".lock"))}};
}

QString inWords(const QJsonObject &state)
{
    const auto is = [&state](const char *property) {
        return state.value(QLatin1String(property)).toBool();
    };
    QStringList words;
    if (is("exists")) {
        words << QStringLiteral("%1 bytes").arg(state.value(QLatin1String("size")).toInt())
              << (is("readable") ? QStringLiteral("readable") : QStringLiteral("not readable"))
              << (is("writable") ? QStringLiteral("writable") : QStringLiteral("not writable"));
    } else {
        words << QStringLiteral("no such file");
    }
    if (!is("directoryWritable"))
        words << QStringLiteral("directory not writable");
    if (is("lock"))
        words << QStringLiteral("left-over lock");
    return words.join(QStringLiteral(", "));
}

} // namespace

ExitStatus locations(const Options &options)
{
    const Session session(options);
    using provenance::locationName;
    QJsonArray array{
        stateOf(locationName(ConfigurationManager::CustomConfPersistent), session.customFile()),
        stateOf(locationName(ConfigurationManager::StbappConfDefault), session.defaultsFile())};
    const QStringList names = session.storageNames();
    for (const QString &name : names)
        array.append(stateOf(name, session.storageFile(name)));
    const QJsonObject withoutFile[] = {
        {{QStringLiteral("name"), locationName(ConfigurationManager::TemporaryApplicationStorage)},
         {QStringLiteral("note"), QStringLiteral("in the application's memory")}},
        {{QStringLiteral("name"), locationName(ConfigurationManager::EnvironmentVariables)},
         {QStringLiteral("note"), QStringLiteral("variables STBAPP_GROUP_KEY")}},
        {{QStringLiteral("name"), locationName(ConfigurationManager::DhcpOptionsConf)},
         {QStringLiteral("note"), QStringLiteral("no backend")}}};
    for (const QJsonObject &location : withoutFile)
        array.append(location);
    if (options.json) {
        output::json(array);
        return Done;
    }
    for (const QJsonValue &value : qAsConst(array)) {
        const QJsonObject state = value.toObject();
        const QString name = state.value(QLatin1String("name")).toString().leftJustified(28);
        if (state.contains(QLatin1String("note"))) {
            output::line(name + state.value(QLatin1String("note")).toString());
            continue;
        }
        output::line(name + state.value(QLatin1String("file")).toString());
        output::line(QString(28, QLatin1Char(' ')) + inWords(state));
    }
    return Done;
}
