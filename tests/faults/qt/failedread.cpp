// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// A read that fails once makes QSettings write its change in the place of the whole file.
//
//   g++ -fPIC failedread.cpp $(pkg-config --cflags --libs Qt5Core) -o failedread && ./failedread
//
// Expected: status() is AccessError, and sync() leaves the file as it is.
// Happens (Qt 5.15.8, 6.4.2): status() is NoError, the settings are empty, and sync() leaves nothing
// but the entry that was set. QConfFileSettingsPrivate::syncConfFile() takes what readAll()
// returns, and does not ask QFile::error().
//
// Ends with 1 while that happens, with 0 if it does not, with 2 if it could not be tried.

#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static ino_t failing = 0; // the file whose next read fails

// Stands in the place of the C library's function.
extern "C" ssize_t read(int descriptor, void *bytes, size_t size)
{
    struct stat file = {};
    if (failing != 0 && fstat(descriptor, &file) == 0 && file.st_ino == failing) {
        failing = 0;
        errno = EIO;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}

int main()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("settings.ini"));
    struct stat status = {};
    if (!file.open(QIODevice::WriteOnly) || file.write("[Audio]\nvolume=7\n") < 0 || !file.flush()
        || fstat(file.handle(), &status) != 0)
        return 2;
    file.close();

    failing = status.st_ino;
    QSettings settings(file.fileName(), QSettings::IniFormat);
    if (failing != 0)
        return 2;
    settings.setValue("Video/output", "scart");
    settings.sync();

    const bool isTold = settings.status() != QSettings::NoError;
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    std::printf("Qt %s: status() is %d, the file is now\n%s", qVersion(), int(settings.status()),
                content.constData());
    return isTold || content.contains("volume=7") ? 0 : 1;
}
