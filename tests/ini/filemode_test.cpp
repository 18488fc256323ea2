// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Who may read and write the files afterwards; SECURITY.md tells it by these names.

#include "support/settingsfixture.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

class QtFileMode : public SettingsFixture
{
protected:
    QtFileMode() : previous(umask(0)) {}
    ~QtFileMode() override { umask(previous); }

    void change(const char *key)
    {
        customStorage()->setValue("a", key, 1);
        restart();
    }

    static struct stat stateOf(const QString &path)
    {
        struct stat state = {};
        EXPECT_EQ(stat(QFile::encodeName(path).constData(), &state), 0);
        return state;
    }
    static unsigned modeOf(const QString &path) { return stateOf(path).st_mode & 07777U; }

private:
    const mode_t previous;
};

TEST_F(QtFileMode, OfANewFileAndItsDirectoryIsWhatTheUmaskLeaves)
{
    for (const mode_t mask : {0U, 022U, 027U, 077U}) {
        umask(mask);
        change("x");
        EXPECT_EQ(modeOf(customFile()), 0666U & ~mask);
        EXPECT_EQ(modeOf(persistentPrefix()), 0777U & ~mask);
        QDir(persistentPrefix()).removeRecursively();
    }
}

TEST_F(QtFileMode, StaysWhenTheFileIsRewritten)
{
    change("x");
    ASSERT_EQ(chmod(QFile::encodeName(customFile()).constData(), 0640), 0);
    change("y");

    EXPECT_EQ(modeOf(customFile()), 0640U);
}

TEST_F(QtFileMode, StaysWhileTheOwnerBecomesWhoeverRewritesTheFile)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to give a file to another user";
    change("x");
    const QByteArray file = QFile::encodeName(customFile());
    ASSERT_EQ(chown(file.constData(), 65534, 65534), 0);
    ASSERT_EQ(chmod(file.constData(), 0600), 0);
    change("y");

    EXPECT_EQ(stateOf(customFile()).st_uid, 0U);
    EXPECT_EQ(stateOf(customFile()).st_gid, getegid());
    EXPECT_EQ(modeOf(customFile()), 0600U);
}
