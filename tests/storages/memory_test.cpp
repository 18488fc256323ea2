// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/settingsfixture.h"

using namespace stbconfig;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Memory : public SettingsFixture
{
protected:
    IStorableBackend &memory() { return *temporaryStorage(); }
};

TEST_F(Memory, KeepsTheTypeOfAValue)
{
    const QVariant values[] = {3,
                               true,
                               2.5,
                               QString("text"),
                               QByteArray("\0\xff", 2),
                               QStringList({"a", "b"}),
                               QVariantMap{{"nested", 1}}};
    for (const QVariant &value : values) {
        memory().setValue("Logging", "level", value);
        EXPECT_THAT(memory().value("Logging", "level"), IsVariant(value));
    }
}

TEST_F(Memory, HoldsAnInvalidValue)
{
    memory().setValue("Logging", "level", QVariant());

    EXPECT_TRUE(memory().contains("Logging", "level"));
    EXPECT_THAT(memory().value("Logging", "level"), IsInvalid());
    EXPECT_THAT(memory().allKeys(), ElementsAre("Logging/level"));
}

TEST_F(Memory, DistinguishesCaseAndBlanks)
{
    memory().setValue("Logging", "level", 1);
    memory().setValue("Logging", "Level", 2);
    memory().setValue("Logging", " level", 3);
    memory().setValue("logging", "level", 4);

    EXPECT_THAT(memory().value("Logging", "level"), IsVariant(1));
    EXPECT_THAT(memory().value("Logging", "Level"), IsVariant(2));
    EXPECT_THAT(memory().value("Logging", " level"), IsVariant(3));
    EXPECT_THAT(memory().value("logging", "level"), IsVariant(4));
}

TEST_F(Memory, RemovingAnEmptyKeyRemovesThatKeyAlone)
{
    memory().setValue("Logging", "", 1);
    memory().setValue("Logging", "level", 3);
    memory().remove("Logging", "");
    memory().remove("", "");

    EXPECT_THAT(memory().allKeys(), ElementsAre("Logging/level"));
}

TEST_F(Memory, AGroupOutlivesItsLastKey)
{
    memory().setValue("Logging", "level", 3);
    memory().remove("Logging", "level");
    EXPECT_THAT(memory().allKeys(), IsEmpty());

    memory().setValue("Logging", "limit", 512);
    EXPECT_THAT(memory().allKeys(), ElementsAre("Logging/limit"));
    EXPECT_FALSE(memory().contains("Logging", "level"));
}

TEST_F(Memory, ListsByGroupAndThenByKey)
{
    for (const char *group : {"b", "a"}) {
        for (const char *key : {"z", "y"})
            memory().setValue(group, key, 1);
    }
    EXPECT_THAT(memory().allKeys(), ElementsAre("a/y", "a/z", "b/y", "b/z"));

    memory().setValue("B", "z", 1);
    EXPECT_THAT(memory().allKeys(), ElementsAre("B/z", "a/y", "a/z", "b/y", "b/z"));
}

// "a-b" < "a/b" < "ab" as joined texts, but "a" < "a-b" as groups.
TEST_F(Memory, OrdersGroupsByThemselvesNotByTheListedText)
{
    memory().setValue("a-b", "k", 1);
    memory().setValue("a", "k", 1);

    EXPECT_THAT(memory().allKeys(), ElementsAre("a/k", "a-b/k"));
}

TEST_F(Memory, DoesNotEscapeSlashes)
{
    memory().setValue("a/b", "c", 1);
    memory().setValue("a", "b/c", 2);

    EXPECT_THAT(memory().allKeys(), ElementsAre("a/b/c", "a/b/c"));
    EXPECT_THAT(memory().value("a/b", "c"), IsVariant(1));
    EXPECT_THAT(memory().value("a", "b/c"), IsVariant(2));
}

TEST_F(Memory, EmptyNamesAreOrdinaryNames)
{
    memory().setValue("", "k", 1);
    memory().setValue("g", "", 2);
    memory().setValue("", "", 3);

    EXPECT_THAT(memory().value("", "k"), IsVariant(1));
    EXPECT_THAT(memory().value("g", ""), IsVariant(2));
    EXPECT_THAT(memory().value("", ""), IsVariant(3));
    EXPECT_THAT(memory().allKeys(), ElementsAre("/", "/k", "g/"));
}

TEST_F(Memory, AGroupWithAPlaceMarkerReceivesTheKeyThere)
{
    memory().setValue("x%1", "k", 1);
    EXPECT_THAT(memory().allKeys(), ElementsAre("xk/%2"));
}

TEST_F(Memory, TheLowestPlaceMarkerReceivesTheKey)
{
    memory().setValue("x%5", "k", 1);
    memory().setValue("y%2", "k", 1);
    memory().setValue("z", "%1", 1);

    EXPECT_THAT(memory().allKeys(), ElementsAre("x%5/k", "yk/k", "z/%1"));
    EXPECT_THAT(memory().value("x%5", "k"), IsVariant(1));
}
