// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// QSettings does not tell that a flush has failed.
//
//   g++ -fPIC failedflush.cpp $(pkg-config --cflags --libs Qt5Core) -o failedflush && ./failedflush
//
// Expected: status() is AccessError, and the old file stays.
// Happens (Qt 5.15.8, 6.4.2): status() is NoError, and a file takes the old one's place although its
// bytes are perhaps not on the disk. QSaveFile::commit() ignores what
// QAbstractFileEngine::syncToDisk() returns, because some file systems do not support it. But EIO
// does not say that.
//
// Ends with 1 while that happens, with 0 if it does not, with 2 if it could not be tried.

#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <cerrno>
#include <cstdio>

static int failures = 0;

static int failToFlush()
{
    ++failures;
    errno = EIO;
    return -1;
}

// Stands in the place of the C library's function.
extern "C" int fsync(int) { return failToFlush(); }
extern "C" int fdatasync(int) { return failToFlush(); }

int main()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("settings.ini"));
    if (!file.open(QIODevice::WriteOnly) || file.write("[Audio]\nvolume=7\n") < 0)
        return 2;
    file.close();

    QSettings settings(file.fileName(), QSettings::IniFormat);
    settings.setValue("Video/output", "scart");
    settings.sync();
    if (failures == 0)
        return 2;

    const bool isTold = settings.status() != QSettings::NoError;
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    std::printf("Qt %s: status() is %d after %d failed flushes, the file is now\n%s", qVersion(),
                int(settings.status()), failures, content.constData());
    return isTold || !content.contains("scart") ? 0 : 1;
}
