// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "settings.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cstdio>
#include <cstdlib>

using stbconfig::ConfigurationManager;
using stbconfig::IStorableBackend;

// Replaces the allocator of the whole process, Qt's libraries included.
namespace {

long allocations = 0;

} // namespace

extern "C" {
void *__libc_malloc(std::size_t size);
void *malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}
}

namespace {

int failures = 0;

void check(bool holds, const char *thing, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "described: %s: does not hold: %s\n", thing, fact);
    ++failures;
}

QJsonObject describedIn(const char *path)
{
    QFile file(QString::fromLocal8Bit(path));
    check(file.open(QIODevice::ReadOnly), path, "it can be read");
    return QJsonDocument::fromJson(file.readAll()).object()[QStringLiteral("settings")].toObject();
}

// Checks the name and the default of a setting, and takes it out of those that are left to check.
template <typename Setting>
void checkDescribed(QJsonObject &all)
{
    const QString group = Setting::group();
    const QString name =
        group.isEmpty() ? Setting::key() : group + QLatin1Char('/') + Setting::key();
    const QByteArray shown = name.toUtf8();
    check(all.contains(name), shown.constData(), "the name is as described");
    const QVariant described = all.take(name).toObject()[QStringLiteral("default")].toVariant();
    check(described.value<typename Setting::Type>() == Setting::defaultValue(), shown.constData(),
          "the default is as described");
    check(Setting::isAllowed(Setting::defaultValue()), shown.constData(), "the default is allowed");
}

void checkNamesAndDefaults(const char *path)
{
    using namespace settings;
    QJsonObject all = describedIn(path);
    checkDescribed<Audio_languages>(all);
    checkDescribed<Audio_subtitles>(all);
    checkDescribed<Audio_tracks>(all);
    checkDescribed<Audio_volume>(all);
    checkDescribed<Network_address>(all);
    checkDescribed<Network_dhcp>(all);
    checkDescribed<Network_retries>(all);
    checkDescribed<Video_frameRate>(all);
    checkDescribed<Video_output>(all);
    checkDescribed<Setting3D_mode>(all);
    checkDescribed<Setting_x_y>(all);
    checkDescribed<INT_MAX_>(all);
    checkDescribed<Static_cast>(all);
    checkDescribed<General_type>(all);
    checkDescribed<General_slots>(all);
    checkDescribed<Settingu0417u0432u0443u043a_u0433u0440u043eu043cu043au043eu0441u0442u044c_1>(
        all);
    checkDescribed<A_b_c__d_______________>(all);
    checkDescribed<Settingud83dude00_key>(all);
    check(all.keys() == QStringList(QStringLiteral("User/pin")), path,
          "all but the secret are seen");
}

// Converts a value as the application does with one that it asks for itself.
int converted(const QVariant &value, int) { return value.toInt(); }
bool converted(const QVariant &value, bool) { return value.toBool(); }
QString converted(const QVariant &value, const QString &) { return value.toString(); }
QStringList converted(const QVariant &value, const QStringList &) { return value.toStringList(); }

template <typename Setting>
void checkReading(const ConfigurationManager &manager, IStorableBackend &storage, const char *name)
{
    const auto byDefault = Setting::defaultValue();
    check(settings::get<Setting>(manager) == byDefault, name, "what nobody holds is the default");
    const QVariant held[] = {QVariant(),
                             50,
                             60,
                             9,
                             101,
                             -1,
                             true,
                             false,
                             30.4,
                             QLatin1String(""),
                             QLatin1String("50"),
                             QLatin1String(" 60 "),
                             QLatin1String("x"),
                             QLatin1String("no"),
                             QLatin1String("false"),
                             QLatin1String("hdmi"),
                             QLatin1String("eng"),
                             QByteArray("60"),
                             QStringList{},
                             QStringList{QStringLiteral("eng")},
                             QStringList{QStringLiteral("eng"), QStringLiteral("x")},
                             QVariantList{50, QStringLiteral("eng")}};
    for (const QVariant &value : held) {
        storage.setValue(Setting::group(), Setting::key(), value);
        const auto answer =
            converted(manager.value(Setting::group(), Setting::key(), byDefault), byDefault);
        const bool isAllowed = Setting::isAllowed(answer);
        check(settings::get<Setting>(manager) == (isAllowed ? answer : byDefault), name,
              "it is read as by hand, and what is not allowed is the default");
    }
    storage.remove(Setting::group(), Setting::key());
}

void checkRules()
{
    using namespace settings;
    static_assert(Audio_volume::minimum == 10 && Audio_volume::maximum == 100);
    static_assert(Audio_volume::isAllowed(10) && Audio_volume::isAllowed(100));
    static_assert(!Audio_volume::isAllowed(9) && !Audio_volume::isAllowed(101));
    static_assert(Video_frameRate::isAllowed(60) && !Video_frameRate::isAllowed(55));
    check(Video_output::isAllowed(QStringLiteral("scart"))
              && Video_output::isAllowed(QString::fromUtf8("a \"b\" \\ é😀"))
              && !Video_output::isAllowed(QStringLiteral("scar"))
              && !Video_output::isAllowed(QString()),
          "Video/output", "its values are the only ones");
    check(Audio_languages::isAllowed({}) && Audio_languages::isAllowed({QString::fromUtf8("ü")})
              && !Audio_languages::isAllowed({QStringLiteral("eng"), QStringLiteral("fra")}),
          "Audio/languages", "its values are the only items");
}

// Expects that what is stored is in the file of the box, for the next start.
void checkStoring(const QString &prefix)
{
    using namespace settings;
    {
        const ConfigurationManager manager(prefix, prefix, nullptr);
        auto &storage = *manager.dynamicStorage(ConfigurationManager::CustomConfPersistent);
        check(set<Audio_volume>(storage, 100), "Audio/volume", "an allowed value is stored");
        check(!set<Audio_volume>(storage, 101), "Audio/volume", "another one is refused");
        set<Video_frameRate, 60>(storage);
        set<Network_dhcp, false>(storage);
        check(set<Network_address>(storage, Network_address::defaultValue()), "Network/address",
              "any text is allowed");
        check(set<Audio_languages>(storage, Audio_languages::defaultValue()), "Audio/languages",
              "a list is stored");
        check(set<User_pin>(storage, QStringLiteral("1")), "User/pin", "a secret is stored");
    }
    const ConfigurationManager manager(prefix, prefix, nullptr);
    check(get<Audio_volume>(manager) == 100, "Audio/volume", "it is read again");
    check(get<Video_frameRate>(manager) == 60, "Video/frameRate", "it is read again");
    check(!get<Network_dhcp>(manager), "Network/dhcp", "it is read again");
    check(get<Network_address>(manager) == Network_address::defaultValue(), "Network/address",
          "it is read again");
    check(get<Audio_languages>(manager) == Audio_languages::defaultValue(), "Audio/languages",
          "it is read again");
    check(get<User_pin>(manager, QStringLiteral("none")) == QLatin1String("1"), "User/pin",
          "it is read again");
}

template <typename Read>
long allocationsOf(const Read &read)
{
    read(); // Qt allocates some things at the first read
    const long before = allocations;
    read();
    return allocations - before;
}

void checkAllocations(const ConfigurationManager &manager, const char *when)
{
    using namespace settings;
    const QString audio = QStringLiteral("Audio");
    const QString video = QStringLiteral("Video");
    const QString volume = QStringLiteral("volume");
    const QString output = QStringLiteral("output");
    const QString languages = QStringLiteral("languages");
    const QStringList byDefault = Audio_languages::defaultValue();
    const QString hdmi = QStringLiteral("hdmi");
    check(allocationsOf([&] { return get<Audio_volume>(manager) == 1; })
              <= allocationsOf([&] { return manager.value(audio, volume, 30).toInt() == 1; }),
          when, "a number is read without more allocations");
    check(allocationsOf([&] { return get<Video_output>(manager).isEmpty(); }) <= allocationsOf(
              [&] { return manager.value(video, output, hdmi).toString().isEmpty(); }),
          when, "a text is read without more allocations");
    check(allocationsOf([&] { return get<Audio_languages>(manager).isEmpty(); }) <= allocationsOf(
              [&] { return manager.value(audio, languages, byDefault).toStringList().isEmpty(); }),
          when, "a list is read without more allocations");
}

} // namespace

// Its arguments are the description and a prefix for the files.
int main(int argc, char *argv[])
{
    if (argc != 3)
        return EXIT_FAILURE;
    const QString prefix = QString::fromLocal8Bit(argv[2]);
    checkNamesAndDefaults(argv[1]);
    checkRules();

    const ConfigurationManager manager(prefix + QLatin1String("none-"), prefix, nullptr);
    auto &memory = *manager.dynamicStorage(ConfigurationManager::TemporaryApplicationStorage);
    checkReading<settings::Audio_volume>(manager, memory, "Audio/volume");
    checkReading<settings::Video_frameRate>(manager, memory, "Video/frameRate");
    checkReading<settings::Network_retries>(manager, memory, "Network/retries");
    checkReading<settings::Network_dhcp>(manager, memory, "Network/dhcp");
    checkReading<settings::Video_output>(manager, memory, "Video/output");
    checkReading<settings::Network_address>(manager, memory, "Network/address");
    checkReading<settings::Audio_languages>(manager, memory, "Audio/languages");
    checkReading<settings::Audio_tracks>(manager, memory, "Audio/tracks");

    checkStoring(prefix);
    checkAllocations(manager, "when nobody holds it");
    checkAllocations(ConfigurationManager(prefix, prefix, nullptr), "when the file holds it");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
