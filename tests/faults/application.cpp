// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT
//
// An application that the tests beside it put through faults. It does what its standard input says,
// a command of JSON words in each line, and answers each with a line of JSON. At the end of the
// input it destroys its manager and exits.

#include "waysout.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <iostream>
#include <map>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using stbconfig::ConfigurationManager;

namespace {

struct Reports final : stbconfig::IErrorHandler
{
    void handleError(const QString &message) override { messages.append(message); }
    QStringList messages;
};

Reports reports;
std::unique_ptr<ConfigurationManager> manager;
std::vector<int> descriptors;

stbconfig::IStorableBackend *custom()
{
    return manager->dynamicStorage(ConfigurationManager::CustomConfPersistent);
}

// JSON's null stands for an invalid value, for which neither JSON nor an INI file has a text.
QJsonValue toJson(const QVariant &value)
{
    return value.isValid() ? QJsonValue(value.toString()) : QJsonValue();
}

QJsonValue open(const QStringList &words)
{
    manager = std::make_unique<ConfigurationManager>(words[0], words[1], &reports);
    return true;
}

QJsonValue close(const QStringList &)
{
    manager.reset();
    return true;
}

// Makes a change through a second manager of the same files.
QJsonValue setBeside(const QStringList &words)
{
    const ConfigurationManager second(words[0], words[1], &reports);
    second.dynamicStorage(ConfigurationManager::CustomConfPersistent)
        ->setValue(words[2], words[3], words[4]);
    return true;
}

QJsonValue set(const QStringList &words)
{
    custom()->setValue(words[0], words[1], words[2]);
    return true;
}

// Makes any number of entries, k0 to k(N-1), of one group, all with one value.
QJsonValue setMany(const QStringList &words)
{
    for (int i = 0; i < words[1].toInt(); ++i)
        custom()->setValue(words[0], QString("k%1").arg(i), words[2]);
    return true;
}

QJsonValue remove(const QStringList &words)
{
    custom()->remove(words[0], words[1]);
    return true;
}

QJsonValue value(const QStringList &words) { return toJson(custom()->value(words[0], words[1])); }

QJsonValue length(const QStringList &words)
{
    return custom()->value(words[0], words[1]).toString().size();
}

QJsonValue merged(const QStringList &words)
{
    return toJson(manager->value(words[0], words[1], "default"));
}

QJsonValue keys(const QStringList &) { return custom()->allKeys().size(); }

QJsonValue entries(const QStringList &)
{
    QJsonObject result;
    const QStringList all = custom()->allKeys();
    for (const QString &key : all)
        result.insert(key, toJson(custom()->value({}, key)));
    return result;
}

QJsonValue valid(const QStringList &) { return custom()->isValid(); }

QJsonValue turn(const QStringList &)
{
    QCoreApplication::processEvents();
    return true;
}

// Makes N changes of as many entries and lets each be written.
QJsonValue writeMany(const QStringList &words)
{
    for (int i = 0; i < words[1].toInt(); ++i) {
        custom()->setValue(words[0], QString("k%1").arg(i), i);
        QCoreApplication::processEvents();
    }
    return true;
}

QJsonValue takeReports(const QStringList &)
{
    return QJsonArray::fromStringList(std::exchange(reports.messages, {}));
}

QJsonValue becomeOrdinaryUser(const QStringList &)
{
    constexpr uid_t nobody = 65534;
    return setgroups(0, nullptr) == 0 && setresgid(nobody, nobody, nobody) == 0
        && setresuid(nobody, nobody, nobody) == 0;
}

// Limits the file size as an application finds it that knows nothing of SIGXFSZ.
QJsonValue limitFileSizeBySignal(const QStringList &words)
{
    const rlimit limit{words[0].toULongLong(), RLIM_INFINITY};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

QJsonValue limitFileSize(const QStringList &words)
{
    std::signal(SIGXFSZ, SIG_IGN);
    return limitFileSizeBySignal(words);
}

QJsonValue useUpDescriptors(const QStringList &)
{
    const rlimit limit{64, 64};
    setrlimit(RLIMIT_NOFILE, &limit);
    for (int descriptor = 0; descriptor >= 0;
         descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC))
        descriptors.push_back(descriptor);
    return errno == EMFILE;
}

QJsonValue freeDescriptors(const QStringList &)
{
    for (std::size_t i = 1; i < descriptors.size(); ++i)
        ::close(descriptors[i]);
    descriptors.clear();
    return true;
}

// Counts up for ever and never answers again. Each time, N entries change and are written together.
QJsonValue writeForEver(const QStringList &words)
{
    for (int round = 0;; ++round) {
        setMany({"Torn", words[0], QString::number(round)});
        QCoreApplication::processEvents();
    }
}

pid_t child = -1;
int endOfChild = -1;

// A child that does nothing until it is let go on. It then ends as the word says: "exit" destroys the
// manager, as a return from main() does, and "_exit" does not.
QJsonValue fork(const QStringList &words)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return false;
    child = ::fork();
    if (child == 0) {
        ::close(ends[1]);
        char byte = 0;
        static_cast<void>(!::read(ends[0], &byte, 1));
        if (words[0] == "exit")
            manager.reset();
        _exit(0);
    }
    ::close(ends[0]);
    endOfChild = ends[1];
    return child > 0;
}

QJsonValue letChildEnd(const QStringList &)
{
    ::close(endOfChild);
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

QJsonValue askWhenWritten(const QStringList &)
{
    QJsonValue told;
    waysout::whenWritten(custom(), [&told](bool written) { told = written; });
    QCoreApplication::processEvents();
    return told;
}

QJsonValue isOnDisk(const QStringList &words) { return waysout::isOnDisk(words[0], custom()); }

QJsonValue hasRoomToWrite(const QStringList &words) { return waysout::hasRoomToWrite(words[0]); }

QJsonValue wasRead(const QStringList &words) { return waysout::wasRead(words[0], custom()); }

QJsonValue makeDurable(const QStringList &words)
{
    return waysout::makeDurable(words[0], custom());
}

QJsonValue dropEmptyLock(const QStringList &words)
{
    waysout::dropEmptyLock(words[0]);
    return true;
}

QJsonValue answer(const QStringList &words)
{
    static const std::map<QString, std::function<QJsonValue(const QStringList &)>> commands = {
        {"open", open},
        {"close", close},
        {"set", set},
        {"set beside", setBeside},
        {"set many", setMany},
        {"write many", writeMany},
        {"remove", remove},
        {"value", value},
        {"length", length},
        {"merged", merged},
        {"keys", keys},
        {"entries", entries},
        {"valid", valid},
        {"turn", turn},
        {"reports", takeReports},
        {"become ordinary user", becomeOrdinaryUser},
        {"limit file size", limitFileSize},
        {"limit file size by signal", limitFileSizeBySignal},
        {"fork", fork},
        {"let child end", letChildEnd},
        {"use up descriptors", useUpDescriptors},
        {"free descriptors", freeDescriptors},
        {"write for ever", writeForEver},
        {"when written", askWhenWritten},
        {"is on disk", isOnDisk},
        {"has room", hasRoomToWrite},
        {"was read", wasRead},
        {"make durable", makeDurable},
        {"drop empty lock", dropEmptyLock},
    };
    return commands.at(words.front())(words.mid(1));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    for (std::string line; std::getline(std::cin, line);) {
        QStringList words;
        const QJsonArray given = QJsonDocument::fromJson(QByteArray::fromStdString(line)).array();
        for (const QJsonValue &word : given)
            words.append(word.toString());
        std::cout
            << QJsonDocument(QJsonArray{answer(words)}).toJson(QJsonDocument::Compact).constData()
            << std::endl;
    }
    manager.reset();
    return 0;
}
