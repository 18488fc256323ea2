// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QStorageInfo>

#include <sched.h>
#include <sys/mount.h>

namespace {

// This only ends a test that would never end.
constexpr int patience = 300000;

const char *const defaultsContent = "; factory settings\n[Video]\noutput=hdmi\n";

QByteArray encoded(const QString &path) { return QFile::encodeName(path); }

} // namespace

Application::Application(const char *faults)
{
    if (*faults) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_PRELOAD", FAULTS_LIBRARY);
        environment.insert("FAULTS", faults);
        process.setProcessEnvironment(environment);
    }
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(FAULTS_APPLICATION, QStringList());
    EXPECT_TRUE(process.waitForStarted(patience));
}

Application::~Application()
{
    if (process.state() != QProcess::NotRunning)
        exit();
}

void Application::tell(const QStringList &words)
{
    const QJsonDocument command(QJsonArray::fromStringList(words));
    process.write(command.toJson(QJsonDocument::Compact) + '\n');
    process.waitForBytesWritten(patience);
}

QJsonValue Application::answer()
{
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(patience)) {
            ADD_FAILURE() << "the application does not answer";
            return QJsonValue::Undefined;
        }
    }
    return QJsonDocument::fromJson(process.readLine()).array().at(0);
}

QJsonValue Application::ask(const QStringList &words)
{
    SCOPED_TRACE(words.join(' ').toStdString());
    tell(words);
    return answer();
}

void Application::set(const QString &group, const QString &key, const QString &text)
{
    ask({"set", group, key, text});
}

QJsonValue Application::value(const QString &group, const QString &key)
{
    return ask({"value", group, key});
}

void Application::exit()
{
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(patience)) << "the application does not exit";
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "the application crashed";
    EXPECT_EQ(process.exitCode(), 0);
}

void Application::kill()
{
    process.kill();
    EXPECT_TRUE(process.waitForFinished(patience));
}

int Application::endingSignal()
{
    if (!process.waitForFinished(20000)) {
        kill();
        return 0;
    }
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    return process.exitCode();
}

SmallDisk::SmallDisk(const QString &place, const char *options) : directory(place)
{
    QDir().mkpath(directory);
    EXPECT_EQ(mount("none", encoded(directory).constData(), "tmpfs", 0, options), 0);
}

SmallDisk::~SmallDisk() { EXPECT_EQ(umount2(encoded(directory).constData(), MNT_DETACH), 0); }

void SmallDisk::makeReadOnly() const
{
    const QByteArray path = encoded(directory);
    EXPECT_EQ(mount("none", path.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void SmallDisk::fill(qint64 bytesLeft) const
{
    QFile file(filler());
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    const QByteArray bytes(int(QStorageInfo(directory).bytesAvailable() - bytesLeft), 'x');
    EXPECT_EQ(file.write(bytes), bytes.size());
}

void SmallDisk::clear() const { EXPECT_TRUE(QFile::remove(filler())); }

void FaultsFixture::SetUp()
{
    writeDefaultFile(defaultsContent);
    ASSERT_EQ(stat(encoded(defaultFile()).constData(), &defaultsBefore), 0);
    ASSERT_TRUE(QDir().mkpath(dataDirectory()));
    changeMode("", 0755); // lets an ordinary user pass
}

void FaultsFixture::TearDown()
{
    struct stat after = {};
    ASSERT_EQ(stat(encoded(defaultFile()).constData(), &after), 0);
    EXPECT_EQ(contentOf(defaultFile()), defaultsContent);
    EXPECT_EQ(after.st_ino, defaultsBefore.st_ino);
    EXPECT_EQ(after.st_mode, defaultsBefore.st_mode);
    EXPECT_EQ(after.st_mtim.tv_sec, defaultsBefore.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, defaultsBefore.st_mtim.tv_nsec);
    EXPECT_EQ(QDir(scratch.path("etc")).entryList(QDir::Files | QDir::Hidden),
              QStringList("stbapp.conf"));
}

void FaultsFixture::open(Application &application) const
{
    EXPECT_TRUE(application.ask({"open", persistentPrefix(), defaultPrefix()}).toBool());
}

void FaultsFixture::openAndChange(Application &application) const
{
    open(application);
    application.set("Video", "output", "scart");
    application.turnEventLoop();
}

QJsonValue FaultsFixture::onDisk(const QString &group, const QString &key) const
{
    Application fresh;
    open(fresh);
    return fresh.value(group, key);
}

QStringList FaultsFixture::leftOvers() const
{
    QStringList names = QDir(dataDirectory()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    names.removeAll("custom.conf");
    return names;
}

void FaultsFixture::changeMode(const QString &name, mode_t mode) const
{
    ASSERT_EQ(chmod(encoded(scratch.path(name)).constData(), mode), 0);
}

bool isLongForm() { return qEnvironmentVariableIsSet("STBCONFIG_FAULTS_LONG"); }

bool mayMount()
{
    static const bool may =
        unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return may;
}
