// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <stbconfig/configurationmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileSystemWatcher>
#include <QtCore/QTimer>

#include <cstdio>
#include <optional>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    std::optional<stbconfig::ConfigurationManager> settings;
    int volume = -1;

    // A manager reads its files when it is made. The old manager goes first and writes what is pending.
    // Its storages, and what they kept in memory, go with it.
    const auto reload = [&] {
        settings.emplace("data/", "defaults/", nullptr);
        const int now = settings->value("Audio", "volume", 30).toInt();
        if (now != volume)
            std::printf("volume %d\n", now);
        std::fflush(stdout);
        volume = now;
    };

    // Each write puts a new file in the old one's place, so a watcher of the file would watch the old
    // one. This watches the directory. A write makes several changes there: this waits for the last.
    const QFileSystemWatcher watcher({"data/"});
    QTimer quiet;
    quiet.setSingleShot(true);
    quiet.setInterval(100);
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &quiet,
                     qOverload<>(&QTimer::start));
    QObject::connect(&quiet, &QTimer::timeout, reload);

    reload();
    return QCoreApplication::exec();
}
