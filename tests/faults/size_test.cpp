// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Files that are too large.

#include "support.h"

#include <QtCore/QFile>

class SizeFaults : public FaultsFixture
{
};

TEST_F(SizeFaults, ALargeValueIsReadAndWritten)
{
    const int size = (isLongForm() ? 100 : 10) * 1024 * 1024;
    writeCustomFile("");
    {
        QFile file(customFile());
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write("[Large]\nvalue=" + QByteArray(size, 'x') + '\n'), size + 15);
    }
    Application application;
    openAndChange(application);

    EXPECT_TRUE(application.isValid());
    application.exit();
    EXPECT_EQ(QFile(customFile()).size(), size + 15 + 22);
    Application fresh;
    open(fresh);
    EXPECT_EQ(fresh.ask({"length", "Large", "value"}), size);
}

TEST_F(SizeFaults, ManyEntriesAreReadAndWritten)
{
    const int count = isLongForm() ? 1000000 : 100000;
    QByteArray content = "[Many]\n";
    for (int i = 0; i < count; ++i)
        content += 'k' + QByteArray::number(i) + "=1\n";
    scratch.write("data/custom.conf", content);
    Application application;
    openAndChange(application);

    EXPECT_TRUE(application.isValid());
    EXPECT_EQ(application.ask({"keys"}), count + 1);
    application.exit();
    EXPECT_EQ(onDisk("Many", QString("k%1").arg(count - 1)), "1");
    EXPECT_EQ(onDisk("Video", "output"), "scart");
}
