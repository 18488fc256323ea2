// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// If a disk has room for the lock, but not for the file, QSettings leaves an empty file.
//
//   g++ -fPIC fulldisk.cpp $(pkg-config --cflags --libs Qt5Core) -o fulldisk && ./fulldisk
//
// Expected: status() is AccessError, and the old file stays.
// Happens (Qt 5.15.8, 6.4.2): status() is NoError, and the file is empty. What QSettings writes stays
// in the buffer of QSaveFile until QSaveFile::commit() closes it; a write that fails there does not
// set QSaveFile's own writeError, so the empty file takes the old one's place.
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

static int roomFor = -1; // how many writes fit; -1 for a disk without end

// Stands in the place of the C library's function.
extern "C" ssize_t write(int descriptor, const void *bytes, size_t size)
{
    struct stat file = {};
    if (roomFor >= 0 && fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode) && --roomFor < 0) {
        roomFor = 0;
        errno = ENOSPC;
        return -1;
    }
    return syscall(SYS_write, descriptor, bytes, size);
}

int main()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("settings.ini"));
    if (!file.open(QIODevice::WriteOnly) || file.write("[Audio]\nvolume=7\n") < 0)
        return 2;
    file.close();

    QSettings settings(file.fileName(), QSettings::IniFormat);
    settings.setValue("Video/output", "scart");
    roomFor = 1; // the lock
    settings.sync();
    const bool isFull = roomFor == 0;
    roomFor = -1;
    if (!isFull) // cppcheck-suppress knownConditionTrueFalse ; write() has counted
        return 2;

    const bool isTold = settings.status() != QSettings::NoError;
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    std::printf("Qt %s: status() is %d, the file is %s\n", qVersion(), int(settings.status()),
                content.isEmpty() ? "empty" : content.constData());
    return isTold || content.contains("volume=7") ? 0 : 1;
}
