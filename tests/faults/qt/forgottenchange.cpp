// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// QSettings forgets a change that another thread makes at the end of a write-back.
//
//   g++ -fPIC forgottenchange.cpp $(pkg-config --cflags --libs Qt5Core) -pthread -o forgottenchange
//   ./forgottenchange
//
// Expected: the change is written. One object in two threads is more than "reentrant" promises; but
// QSettings guards its values by a lock, so that the change is visible, and nothing warns.
// Happens (Qt 5.15.8, 6.4.2): the value is visible and never written, neither by the event loop nor
// by the destructor. QSettingsPrivate::update() calls flush(), which holds the lock of the values,
// and then says "pendingChanges = false" without it. A change that comes between these two finds
// pendingChanges true, so it asks for no other write.
//
// The moment is made longer here: the thread that writes loses the processor while it unlocks.
// Ends with 1 while the change is forgotten, with 0 if it is not, with 2 if it could not be tried.

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <thread>

static std::atomic_bool isWriting{false}, otherWaits{false}, otherIsDone{false};
static thread_local bool isOther = false;

static void waitFor(const std::atomic_bool &flag)
{
    for (int i = 0; i < 5000 && !flag; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// The event loop flushes the file in the middle of its write-back, and holds the lock.
extern "C" int fdatasync(int)
{
    isWriting = true;
    waitFor(otherWaits);
    return 0;
}

// Qt's mutexes wait and wake by this.
extern "C" long syscall(long number, ...) noexcept
{
    static const auto next = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    va_list list;
    va_start(list, number);
    long words[6];
    for (long &word : words)
        word = va_arg(list, long);
    va_end(list);

    const long operation = number == SYS_futex && isWriting ? words[1] & FUTEX_CMD_MASK : -1;
    if (operation == FUTEX_WAIT && isOther)
        otherWaits = true;
    const long result = next(number, words[0], words[1], words[2], words[3], words[4], words[5]);
    if (operation == FUTEX_WAKE && !isOther)
        waitFor(otherIsDone);
    return result;
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    QFile file(directory.filePath("settings.ini"));
    {
        QSettings settings(file.fileName(), QSettings::IniFormat);
        settings.setValue("output", "first");
        std::thread other([&settings] {
            isOther = true;
            waitFor(isWriting);
            settings.setValue("output", "second");
            otherIsDone = true;
        });
        while (!otherIsDone)
            QCoreApplication::processEvents();
        other.join();
        QCoreApplication::processEvents();
        if (!otherWaits || settings.value("output") != "second")
            return 2;
    }
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    std::printf("Qt %s: \"second\" was set last, the file is\n%s", qVersion(), content.constData());
    return content.contains("second") ? 0 : 1;
}
