// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDate>
#include <QtCore/QTextStream>

using stbconfig::ConfigurationManager;
using stbconfig::IStorableBackend;
using stbconfig::LogsConfigWrapper;

namespace {

QTextStream out(stdout); // NOLINT(*-avoid-non-const-global-variables): as stdout is

void printHeading(const char *text)
{
    out << '\n' << text << '\n' << QByteArray(int(qstrlen(text)), '-') << '\n';
}

void printRow(const QString &name, const QString &value, const QString &note = QString())
{
    out << "  " << name.leftJustified(24);
    if (note.isEmpty())
        out << value << '\n';
    else
        out << value.leftJustified(19) << note << '\n';
}

// A box would write this to its log.
class ReportPrinter final : public stbconfig::IErrorHandler
{
public:
    void handleError(const QString &message) override { out << "  reported: " << message << '\n'; }
};

struct Setting
{
    const char *group;
    const char *key;
    const char *defaultValue; // when no storage holds the setting
};

const Setting shownSettings[] = {
    {"Profile", "name", ""},
    {"Profile", "locale", "ru"},
    {"Network", "interface", "eth0"},
    {"Network", "dhcp", "true"},
    {"Network", "timeServer", ""},
    {"Video", "output", "hdmi"},
    {"Video", "resolution", "1280x720"},
    {"Video", "frameRate", "50"},
    {"Audio", "output", "hdmi"},
    {"Audio", "volume", "30"},
    {"Audio", "languages", ""},
    {"Logging", "level", "critical"},
    {"Interface", "theme", "light"},
    {"Interface", "animations", "on"},
    {"Interface", "startCount", "0"},
};

struct Source
{
    ConfigurationManager::SettingsLocation location;
    const char *name;
};

// The locations in the order of precedence: value() answers from the first one that holds the
// setting.
const Source sources[] = {
    {ConfigurationManager::CustomConfPersistent, "custom.conf"},
    {ConfigurationManager::TemporaryApplicationStorage, "memory"},
    {ConfigurationManager::EnvironmentVariables, "environment"},
    {ConfigurationManager::StbappConfDefault, "stbapp.conf"},
};

QString sourceOf(const ConfigurationManager &settings, const QString &group, const QString &key)
{
    for (const Source &source : sources) {
        if (settings.readOnlyStorage(source.location)->contains(group, key))
            return source.name;
    }
    return "nowhere: the application's default";
}

void printSettings(const ConfigurationManager &settings)
{
    printHeading("Every setting, and the storage it comes from");
    for (const auto &[group, key, defaultValue] : shownSettings) {
        // An unquoted comma in an INI file makes a list; any other text is a list of one.
        const QStringList texts = settings.value(group, key, defaultValue).toStringList();
        printRow(QString(group) + '/' + key, texts.join(", "), sourceOf(settings, group, key));
    }
}

void overrideForThisRun(const ConfigurationManager &settings)
{
    printHeading("Muted for this run: a value in memory shadows the files' defaults");
    IStorableBackend *memory =
        settings.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage);
    const QString group = "Audio";
    const QString key = "volume";
    printRow("Audio/volume before", settings.value(group, key, 0).toString(),
             sourceOf(settings, group, key));
    memory->setValue(group, key, 0);
    printRow("Audio/volume muted", settings.value(group, key, 0).toString(),
             sourceOf(settings, group, key));
    memory->remove(group, key);
    printRow("Audio/volume after", settings.value(group, key, 0).toString(),
             sourceOf(settings, group, key));
}

void countStarts(const ConfigurationManager &settings)
{
    printHeading("Written to custom.conf, and still there at the next start");
    const QString group = "Interface";
    const QString key = "startCount";
    const int starts = settings.value(group, key, 0).toInt() + 1;
    settings.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue(group, key, starts);
    printRow("Interface/startCount", QString::number(starts), sourceOf(settings, group, key));
}

void rememberChannel(const ConfigurationManager &settings)
{
    printHeading("A storage of the application's own: channels.db");
    IStorableBackend *channels = settings.independentStorage("channels");
    const QString group = "History";
    const QString key = "last";
    const QVariant last = channels->value(group, key);
    printRow("History/last", last.isValid() ? last.toString() : QString("none yet"),
             "now watching News");
    channels->setValue(group, key, "News");
}

void printLogging(ConfigurationManager &settings, int commandLineLevel)
{
    printHeading("Logging, as numbers and switches");
    const LogsConfigWrapper logging(settings);
    const QHash<QString, int> levels = LogsConfigWrapper::stringLevelToIntLevel();
    printRow("level, as stored", levels.key(logging.level()),
             "without a level on the command line");

    stbui::CmdLineArgs args;
    args.logLevel = commandLineLevel;
    settings.setCmdLineArgs(args);
    printRow("level, in force", levels.key(logging.level()),
             commandLineLevel < 0 ? QString("none was given")
                                  : QString("--log-level %1").arg(commandLineLevel));
    printRow("responseLengthLimit", QString::number(logging.responseLengthLimit()));
    printRow("jsonFormattingEnabled", QVariant(logging.jsonFormattingEnabled()).toString(),
             QString());
    printRow("imageRequestsEnabled", QVariant(logging.imageRequestsEnabled()).toString(),
             QString());
}

void printLocale(const ConfigurationManager &settings)
{
    printHeading("The locale of the interface");
    const QLocale locale = settings.defaultLocale();
    printRow(locale.name(), locale.toString(QDate(2026, 12, 24), QLocale::LongFormat));
}

void printFailures(const ConfigurationManager &settings, ReportPrinter *printer)
{
    printHeading("What cannot be done is reported to the application's handler");
    settings.dynamicStorage(ConfigurationManager::StbappConfDefault);

    const ConfigurationManager misplaced("/dev/null/", QString(), printer);
    misplaced.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue("Video", "output", "hdmi");
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
#if QT_VERSION_MAJOR < 6 // Qt 6 writes UTF-8 in any locale
    out.setCodec("UTF-8");
#endif
    QCommandLineParser parser;
    parser.setApplicationDescription("The settings of an imaginary set-top box.");
    parser.addHelpOption();
    parser.addPositionalArgument("PERSISTENT", "goes before custom.conf, e.g. /data/");
    parser.addPositionalArgument("DEFAULTS", "goes before stbapp.conf, e.g. /etc/stbapp/");
    const QCommandLineOption levelOption("log-level", "0 (critical) to 5 (trace)", "LEVEL", "-1");
    parser.addOption(levelOption);
    parser.process(application);
    const QStringList prefixes = parser.positionalArguments();
    if (prefixes.size() != 2)
        parser.showHelp(2);

    ReportPrinter printer;
    ConfigurationManager settings(prefixes[0], prefixes[1], &printer);
    printSettings(settings);
    overrideForThisRun(settings);
    countStarts(settings);
    rememberChannel(settings);
    printLogging(settings, parser.value(levelOption).toInt());
    printLocale(settings);
    printFailures(settings, &printer);
    return 0;
}
