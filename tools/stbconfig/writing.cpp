// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "writing.h"

#include "commands.h"
#include "output.h"
#include "session.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QList>
#include <QtCore/QLockFile>
#include <QtCore/QSysInfo>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using stbconfig::ConfigurationManager;

namespace {

int denied(const QString &path, int mode)
{
    return access(QFile::encodeName(path).constData(), mode) == 0 ? 0 : errno;
}

bool isMountPoint(const QString &path)
{
    QFile mounts(QStringLiteral("/proc/self/mountinfo"));
    if (!mounts.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = mounts.readAll().split('\n');
    return std::any_of(lines.cbegin(), lines.cend(), [&path](const QByteArray &line) {
        // The kernel writes a blank in a path as an octal escape.
        return line.split(' ').value(4).replace("\\040", " ") == QFile::encodeName(path);
    });
}

// The directory that is to be written, or the one in which it would be made.
QString existingDirectory(const QString &file)
{
    const QFileInfo info(file);
    QString directory =
        info.exists() ? QFileInfo(info.canonicalFilePath()).absolutePath() : info.absolutePath();
    while (!QFileInfo::exists(directory) && directory != QLatin1String("/"))
        directory = QFileInfo(directory).absolutePath();
    return directory;
}

// What the settings may add to a file: QSettings writes up to six bytes for a character, and its
// punctuation.
qint64 growthOf(const QVector<writing::Expectation> &settings)
{
    const auto written = [](const QString &text) { return qint64{6} * text.size() + 16; };
    qint64 growth = 0;
    for (const auto &[address, value] : settings) {
        growth += written(settingOf(address));
        const QStringList items = texts(value);
        for (const QString &item : items)
            growth += written(item);
    }
    return growth;
}

// Of the file that is to replace this one: what a person has typed can become four times as long
// when QSettings escapes it.
qint64 estimatedSize(const QFileInfo &file, qint64 growth) { return 4 * file.size() + growth; }

// QSettings puts a new file in the old one's place however little of it could be written.
std::pair<QString, QString> lackOfSpace(const QString &directory, qint64 size)
{
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
        && limit.rlim_cur < static_cast<rlim_t>(size)) {
        return {QStringLiteral("files may have %1 bytes here, %2 may be needed")
                    .arg(limit.rlim_cur)
                    .arg(size),
                QStringLiteral("raise the limit, ulimit -f")};
    }
    struct statvfs space = {};
    if (statvfs(QFile::encodeName(directory).constData(), &space) != 0)
        return {};
    const auto block = static_cast<qint64>(space.f_frsize);
    const qint64 available = static_cast<qint64>(space.f_bavail) * block;
    // The old file stays meanwhile, and the lock takes a block too.
    const qint64 needed = (size + block - 1) / block * block + block;
    if (available < needed) {
        return {QStringLiteral("the file system is full: %1 bytes are free, %2 may be needed")
                    .arg(available)
                    .arg(needed),
                QStringLiteral("free some space where ") + directory + QStringLiteral(" is")};
    }
    return {};
}

// Starts the program with pipes for its input and output; 0 if it cannot be started. Not by QProcess,
// which starts nothing under qemu-user, where builds for other processors are tested.
pid_t start(const QString &program, const QStringList &arguments, QFile &input, QFile &output)
{
    QVector<QByteArray> words{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int to[2];
    int from[2];
    if (pipe2(to, O_CLOEXEC) != 0)
        return 0;
    input.open(to[1], QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    QFile theirInput;
    theirInput.open(to[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    if (pipe2(from, O_CLOEXEC) != 0)
        return 0;
    output.open(from[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    QFile theirOutput;
    theirOutput.open(from[1], QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);

    posix_spawn_file_actions_t redirections;
    posix_spawn_file_actions_init(&redirections);
    posix_spawn_file_actions_adddup2(&redirections, to[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&redirections, from[1], STDOUT_FILENO);
    pid_t process = 0;
    if (posix_spawnp(&process, argv[0], &redirections, nullptr, argv.data(), environ) != 0)
        process = 0;
    posix_spawn_file_actions_destroy(&redirections);
    return process;
}

// What the file holds for each setting, as a process without our cache sees it.
QJsonArray readBackInFreshProcess(const Options &options, const QString &file,
                                  const QVector<writing::Expectation> &expected)
{
    QStringList arguments{QStringLiteral("--persistent"), options.persistentPrefix,
                          QStringLiteral("--defaults"), options.defaultsPrefix};
    if (!options.root.isEmpty())
        arguments << QStringLiteral("--root") << options.root;
    arguments << QStringLiteral("read-back");
    if (options.storage)
        arguments << QStringLiteral("--storage=") + *options.storage;
    QJsonArray settings;
    for (const auto &[address, value] : expected)
        settings.append(QJsonArray{address.group, address.key});
    // Neither always works: the name may be anything, and an unpacked image has no /proc.
    for (const QString &program : {options.program, QStringLiteral("/proc/self/exe")}) {
        QFile input;
        QFile output;
        const pid_t process = start(program, arguments, input, output);
        if (process == 0)
            continue;
        std::signal(SIGPIPE, SIG_IGN); // the missing answer of a dead process says enough
        input.write(QJsonDocument(settings).toJson());
        input.close();
        const QByteArray answer = output.readAll();
        int status = 0;
        waitpid(process, &status, 0);
        // Where vfork is a fork, as under qemu-user, this alone tells that nothing was started.
        if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
            continue;
        return QJsonDocument::fromJson(answer).array();
    }
    throw Failure{NotSaved, file,
                  QStringLiteral("written, but not proved: no fresh process could be started"),
                  QStringLiteral("mount /proc and ask again with stbconfig get")};
}

QJsonValue onDisk(const QVariant &value)
{
    return value.isValid() ? QJsonValue(QJsonArray::fromStringList(texts(value))) : QJsonValue();
}

} // namespace

namespace writing {

QString lockHolder(const QString &file)
{
    const QString path = file + QLatin1String(".lock");
    if (!QFileInfo::exists(path))
        return {};
    // Nor does Qt wait for an older one.
    constexpr qint64 longest = 30000;
    if (qAbs(QFileInfo(path).lastModified().msecsTo(QDateTime::currentDateTime())) > longest)
        return {};
    qint64 pid = 0;
    QString host;
    QString application;
    if (!QLockFile(path).getLockInfo(&pid, &host, &application))
        return QStringLiteral("an empty or unreadable lock");
    if (!host.isEmpty() && host != QSysInfo::machineHostName())
        return QStringLiteral("process %1 of %2").arg(pid).arg(host);
    // The lock of a dead process is removed at the next write.
    if (kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)
        return {};
    return QStringLiteral("process %1").arg(pid);
}

std::pair<QString, QString> obstacle(const QString &file, qint64 growth)
{
    const QFileInfo info(file);
    if (info.exists() && !info.isFile())
        return {QStringLiteral("not a file"), QStringLiteral("move it away")};
    // Qt would put a file in its place.
    if (denied(file, F_OK) == ELOOP) {
        return {QStringLiteral("a symbolic link that leads back to itself"),
                QStringLiteral("remove it, or let it lead to a file")};
    }
    if (info.exists()) {
        if (isMountPoint(info.canonicalFilePath())) {
            return {QStringLiteral("the file is a mount point and cannot be replaced"),
                    QStringLiteral("mount its directory instead")};
        }
        const int error = denied(file, W_OK);
        if (error == EROFS) {
            return {QStringLiteral("read-only file system"),
                    QStringLiteral("remount it read-write")};
        }
        if (error)
            return {QStringLiteral("the file is not writable"), QStringLiteral("make it writable")};
    }
    const QString directory = existingDirectory(file);
    if (!QFileInfo(directory).isDir())
        return {directory + QLatin1String(" is no directory"),
                QStringLiteral("correct the prefix")};
    const int error = denied(directory, W_OK | X_OK);
    if (error == EROFS) {
        return {QStringLiteral("read-only file system"), QStringLiteral("remount it read-write")};
    }
    if (error) {
        return {QLatin1String("the directory ") + directory + QLatin1String(" is not writable"),
                QStringLiteral("make it writable, the file alone is not enough")};
    }
    return lackOfSpace(directory, estimatedSize(info, growth));
}

void save(const Options &options, const Change &change, const QVector<Expectation> &expected)
{
    const QString file = [&options] { return Session(options).writtenFile(); }();
    const auto refuse = [&file](const std::pair<QString, QString> &why) {
        throw Failure{NotSaved, file, QLatin1String("not saved: ") + why.first, why.second};
    };
    const auto why = obstacle(file, growthOf(expected));
    if (!why.first.isEmpty())
        refuse(why);
    const QString holder = lockHolder(file);
    if (options.dryRun)
        return;
    if (!holder.isEmpty()) {
        output::note(file + QLatin1String(".lock"),
                     QLatin1String("waiting for ") + holder + QLatin1String(", up to 30 seconds"));
    }
    {
        // Destroying the manager writes the change back.
        const Session session(options);
        stbconfig::IStorableBackend *storage = session.namedStorage(NotSaved);
        if (!storage) {
            storage = session.manager().dynamicStorage(ConfigurationManager::CustomConfPersistent);
            requireReadable(file, *storage);
        }
        change(*storage);
    }
    QJsonArray wanted;
    for (const auto &[address, value] : expected)
        wanted.append(onDisk(value));
    if (readBackInFreshProcess(options, file, expected) != wanted) {
        const auto cause = obstacle(file, growthOf(expected));
        if (!cause.first.isEmpty())
            refuse(cause);
        if (!lockHolder(file).isEmpty()) {
            refuse({lockHolder(file) + QLatin1String(" holds ") + file + QLatin1String(".lock"),
                    QStringLiteral("wait for it, or remove a left-over lock")});
        }
        refuse({QStringLiteral("the file does not hold the change, perhaps for lack of space"),
                QStringLiteral("check the file system, then try again")});
    }
    if (options.verbose) {
        output::note(file,
                     QStringLiteral("saved; a running application sees the change when it "
                                    "restarts or next writes that file"));
    }
}

} // namespace writing

ExitStatus readBack(const Options &options)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return CannotRead;
    const Session session(options);
    const stbconfig::IReadableBackend *storage = session.namedStorage(CannotRead);
    if (!storage)
        storage = session.readable(ConfigurationManager::CustomConfPersistent);
    QJsonArray values;
    const QJsonArray settings = QJsonDocument::fromJson(input.readAll()).array();
    for (const QJsonValue &setting : settings) {
        const QString group = setting.toArray().at(0).toString();
        const QString key = setting.toArray().at(1).toString();
        values.append(storage->contains(group, key) ? onDisk(storage->value(group, key))
                                                    : QJsonValue());
    }
    output::json(values);
    return Done;
}
