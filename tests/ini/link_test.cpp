// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// What becomes of a symbolic link in the file's place; docs/reliability.md tells it by these names.

#include "support/settingsfixture.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <unistd.h>

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QtIniLink : public SettingsFixture
{
protected:
    void link(const char *target) const
    {
        ASSERT_TRUE(QDir().mkpath(persistentPrefix()));
        ASSERT_EQ(symlink(target, QFile::encodeName(customFile()).constData()), 0);
    }

    bool isLink() const { return QFileInfo(customFile()).isSymLink(); }

    // Writes the change as the event loop of an application does, and tells whether that was well.
    bool changes()
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        customStorage()->setValue("Video", "output", "scart");
        QCoreApplication::processEvents();
        EXPECT_THAT(handler.messages(), IsEmpty());
        return customStorage()->isValid();
    }
};

TEST_F(QtIniLink, StaysAndItsTargetIsReplaced)
{
    scratch.write("target/real.conf", "[Audio]\nvolume=7\n");
    link("../target/real.conf");

    EXPECT_TRUE(changes());
    EXPECT_TRUE(isLink());
    EXPECT_EQ(contentOf(scratch.path("target/real.conf")),
              "[Audio]\nvolume=7\n\n[Video]\noutput=scart\n");
    EXPECT_THAT(QDir(scratch.path("target")).entryList(QDir::Files), ElementsAre("real.conf"));
}

TEST_F(QtIniLink, ThatLeadsToNoFileHasItMade)
{
    link("../real.conf");

    EXPECT_TRUE(changes());
    EXPECT_TRUE(isLink());
    EXPECT_EQ(contentOf(scratch.path("real.conf")), "[Video]\noutput=scart\n");
}

TEST_F(QtIniLink, IntoAMissingDirectoryLosesTheChangeInSilence)
{
    link("../missing/real.conf");

    EXPECT_FALSE(changes());
    EXPECT_TRUE(isLink());
    restart();
    EXPECT_FALSE(QFile::exists(scratch.path("missing")));
}

TEST_F(QtIniLink, ThatLeadsBackToItselfIsReplacedByAFile)
{
    link("custom.conf");

    EXPECT_TRUE(changes());
    EXPECT_FALSE(isLink());
    EXPECT_EQ(contentOf(customFile()), "[Video]\noutput=scart\n");
}
