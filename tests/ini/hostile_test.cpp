// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// How far a hostile file or storage name reaches; SECURITY.md tells it by these names.

#include "support/qtdifferences.h"
#include "support/settingsfixture.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QUrl>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <new>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// An application may have registered a type of its own like this one.
struct Command
{
    QByteArray text;
    static int unpacked;
};

int Command::unpacked = 0;

QDataStream &operator<<(QDataStream &stream, const Command &command)
{
    return stream << command.text;
}

// cppcheck-suppress constParameter // takes the second >> for a shift
QDataStream &operator>>(QDataStream &stream, Command &command)
{
    ++Command::unpacked;
    return stream >> command.text;
}

} // namespace

Q_DECLARE_METATYPE(Command)

class QtHostileFile : public SettingsFixture
{
protected:
    QtHostileFile()
    {
        rlimit stack{};
        getrlimit(RLIMIT_STACK, &stack);
        stack.rlim_cur = std::min(stack.rlim_cur, rlim_t{8} << 20); // even if the shell allows more
        setrlimit(RLIMIT_STACK, &stack);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none); // the processes that are meant to die leave no files behind
    }

    // Lists of one list each: Qt calls itself once for each of them.
    static QByteArray nested()
    {
        return "@Variant(" + QByteArray("\\0\\0\\0\\x9\\0\\0\\0\\x1").repeated(100000) + ')';
    }

    // Lists of texts that end where their first element should begin, and claim more than any
    // memory holds. "DateTime" says, before the length, whether the value is null.
    static QByteArrayList claimedLists()
    {
        return {"@Variant(\\0\\0\\0\\xb\\x7f\\xff\\xff\\xff)",
                "@DateTime(\\0\\0\\0\\xb\\0\\x7f\\xff\\xff\\xff)"};
    }

    void writeHostileFile(const QByteArray &value)
    {
        scratch.write("data/custom.conf", "[Good]\nx=1\n[Hostile]\nx=1\ny=" + value + '\n');
    }
};

TEST_F(QtHostileFile, MakesQtConstructAValueOfAnyTypeThatItCanUnpack)
{
    writeCustomFile("[a]\nurl=@Variant(\\0\\0\\0\\x11\\0\\0\\0\\x3q:r)\n");

    EXPECT_THAT(valueOf("a", "url"), IsVariant(QUrl("q:r")));
}

TEST_F(QtHostileFile, CallsTheUnpackingOperatorsThatTheApplicationHasRegistered)
{
    qRegisterMetaType<Command>("Command");
#if QT_VERSION_MAJOR < 6
    qRegisterMetaTypeStreamOperators<Command>("Command");
#endif
    writeCustomFile("[a]\nx=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\bCommand\\0\\0\\0\\0\\x2rm)\n");
    Command::unpacked = 0;

    EXPECT_EQ(valueOf("a", "x").value<Command>().text, "rm");
    EXPECT_EQ(Command::unpacked, 1);
}

TEST_F(QtHostileFile, ShadowsADefaultByAValueThatConvertsToNothing)
{
    writeDefaultFile("[Video]\nrate=50\n");
    writeCustomFile("[Video]\nrate=@Variant(\\0\\0\\0\\x9\\0\\0\\0\\0)\n");

    EXPECT_EQ(valueOf("Video", "rate").toInt(), 0);
    EXPECT_EQ(valueOf("Video", "rate").toString(), QString());
}

TEST_F(QtHostileFile, StopsTheProcessByNestedValues)
{
    writeHostileFile(nested());

    EXPECT_DEATH(customStorage()->value("Hostile", "y"), "");
}

TEST_F(QtHostileFile, StopsTheProcessOnlyOnceTheHostileSectionIsRead)
{
    writeHostileFile(nested());

    EXPECT_EXIT(
        {
            const bool isRead = valueOf("Good", "x").toString() == "1"
                && !customStorage()->contains("Absent", "x") && customStorage()->isValid();
            std::_Exit(isRead ? 0 : 1);
        },
        ExitedWithCode(0), "");
    EXPECT_DEATH(valueOf("Hostile", "absent"), "");
    EXPECT_DEATH(customStorage()->allKeys(), "");
}

TEST_F(QtHostileFile, StopsTheProcessThatWritesAnotherSection)
{
    writeHostileFile(nested());

    EXPECT_DEATH(
        {
            customStorage()->setValue("Good", "x", 2);
            restart();
        },
        "");
}

TEST_F(QtHostileFile, ThrowsBadAllocByAListOfClaimedLengthWithQt5)
{
    if (isSanitized)
        GTEST_SKIP() << "a sanitizer ends the process where malloc() would refuse";
    for (const QByteArray &list : claimedLists()) {
        SCOPED_TRACE(list.constData());
        writeHostileFile(list);
        if (qtdifferences::claimedLengthsAreReserved)
            EXPECT_THROW(valueOf("Hostile", "y"), std::bad_alloc);
        else
            EXPECT_THAT(valueOf("Hostile", "y"), IsVariant(QStringList()));
        restart();
    }
}

TEST_F(QtHostileFile, LosesAChangeInSilenceByAListOfClaimedLengthWithQt5)
{
    if (isSanitized)
        GTEST_SKIP() << "a sanitizer ends the process where malloc() would refuse";
    for (const QByteArray &list : claimedLists()) {
        SCOPED_TRACE(list.constData());
        writeHostileFile(list);
        const QByteArray before = contentOf(customFile());
        // This runs in a process that then ends: a new manager of the file would make Qt read at null.
        EXPECT_EXIT(
            {
                customStorage()->setValue("Good", "x", 2);
                restart();
                std::_Exit(handler.messages().isEmpty() ? 0 : 1);
            },
            ExitedWithCode(0), "");

        EXPECT_EQ(contentOf(customFile()) == before, qtdifferences::claimedLengthsAreReserved);
    }
}

class HostileName : public SettingsFixture
{
protected:
    void writeStorage(const QString &name)
    {
        manager().independentStorage(name)->setValue("a", "x", 1);
        restart();
    }

    QStringList filesIn(const QString &directory) const
    {
        return QDir(scratch.path(directory))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
};

TEST_F(HostileName, OfAStorageRewritesAnyFileOfTheSuffix)
{
    scratch.write("etc/other.db", "; a comment\n[b]\ny=2\n");
    writeStorage("../etc/other");

    EXPECT_EQ(contentOf(scratch.path("etc/other.db")), "[a]\nx=1\n\n[b]\ny=2\n");
}

TEST_F(HostileName, OfAStorageIsAbsoluteOnlyWhereThePrefixIsEmpty)
{
    writeStorage(scratch.path("absolute/x"));
    EXPECT_EQ(contentOf(persistentPrefix() + scratch.path("absolute/x.db")), "[a]\nx=1\n");
    EXPECT_FALSE(QFile::exists(scratch.path("absolute/x.db")));

    {
        const ConfigurationManager withoutPrefix("", defaultPrefix(), &handler);
        withoutPrefix.independentStorage(scratch.path("absolute/x"))->setValue("a", "x", 1);
    }
    EXPECT_EQ(contentOf(scratch.path("absolute/x.db")), "[a]\nx=1\n");
}

using QtHostileName = HostileName;

// Qt refuses the path of the file but not that of its lock.
TEST_F(QtHostileName, OfAStorageWithANulLosesTheChangeInSilenceAndLeavesALockFile)
{
    scratch.write("data/kept", "");
    const auto previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    writeStorage(QString("name") + QChar(0) + "kept");
    qInstallMessageHandler(previous);

    EXPECT_THAT(filesIn("data"), ElementsAre("kept", "name"));
    EXPECT_EQ(contentOf(scratch.path("data/kept")), "");
    EXPECT_TRUE(contentOf(scratch.path("data/name"))
                    .startsWith(QByteArray::number(qlonglong(getpid())) + '\n'));
    EXPECT_THAT(handler.messages(), IsEmpty());
}

TEST_F(HostileName, OfAGroupOrKeyReachesNoOtherFile)
{
    customStorage()->setValue("../../outside", "../x", 1);
    restart();

    EXPECT_THAT(filesIn("data"), ElementsAre("custom.conf"));
    EXPECT_THAT(filesIn(""), ElementsAre("data"));
}
