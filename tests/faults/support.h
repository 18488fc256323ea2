// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FAULTS_SUPPORT_H
#define STBCONFIG_TESTS_FAULTS_SUPPORT_H

#include "support/settingsfixture.h"

#include <QtCore/QJsonValue>
#include <QtCore/QProcess>

#include <sys/stat.h>

/// A faults_application. Unless it was killed, it must have exited with status 0 in the end.
class Application
{
public:
    Application() : Application("") {}
    /// Makes some of its system calls fail; support/faultycalls.cpp says how they are named.
    explicit Application(const char *faults);
    ~Application();

    /// Gives a command and does not wait for its answer.
    void tell(const QStringList &words);
    /// Waits for the next answer, which comes even if a lock is waited for.
    QJsonValue answer();
    bool answersWithin(int milliseconds) { return process.waitForReadyRead(milliseconds); }
    QJsonValue ask(const QStringList &words);

    void set(const QString &group, const QString &key, const QString &text);
    QJsonValue value(const QString &group, const QString &key);
    bool isValid() { return ask({"valid"}).toBool(); }
    void turnEventLoop() { ask({"turn"}); }
    /// Returns the messages that the error handler has received since the last call.
    QStringList reports() { return ask({"reports"}).toVariant().toStringList(); }

    /// Ends the input, so that the manager is destroyed, and waits for the exit.
    void exit();
    void kill();
    /// Waits until a signal has ended it, and returns the signal; 0 if none comes.
    int endingSignal();

private:
    QProcess process;
};

/// A file system in memory that is mounted over a directory.
class SmallDisk
{
public:
    /// Mounts it with the options of tmpfs that say how small it is.
    SmallDisk(const QString &place, const char *options);
    ~SmallDisk();

    void makeReadOnly() const;
    /// Leaves that many bytes free.
    void fill(qint64 bytesLeft) const;
    void clear() const;

private:
    QString filler() const { return directory + "/filler"; }

    const QString directory;
};

/**
 * A box of the test's own and applications on it. Whatever happens to them, the file of defaults
 * stays untouched.
 */
class FaultsFixture : public SettingsFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    QString dataDirectory() const { return scratch.path("data"); }
    QString refusal() const { return "unable to write " + customFile(); }
    void open(Application &application) const;
    /// Opens, makes the change ("Video", "output") = "scart" and turns the event loop.
    void openAndChange(Application &application) const;
    /// Returns what a fresh process reads from custom.conf, null if nothing.
    QJsonValue onDisk(const QString &group, const QString &key) const;
    /// Returns the files beside custom.conf.
    QStringList leftOvers() const;
    void changeMode(const QString &name, mode_t mode) const;

private:
    struct stat defaultsBefore = {};
};

// GoogleTest finds this by argument-dependent look-up, like those in support/printers.h.
inline void PrintTo(const QJsonValue &value, std::ostream *out) { printDebugText(value, out); }

MATCHER(IsNothing, "") { return arg.isNull(); }

/// Tells whether the tests shall take long: more rounds, more seconds, larger files.
bool isLongForm();

/// Gives this program mounts of its own, if that is permitted.
bool mayMount();

#endif
