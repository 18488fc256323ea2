// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "mockstorage.h"
#include "support/settingsfixture.h"

#include <stbconfig/backendregistry_p.h>
#include <stbconfig/configurationmanager_p.h>

#include <limits>

using namespace stbconfig;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

namespace {

// The mocks are strict: a call that a test does not expect, such as isValid(), fails the test.
using Mock = StrictMock<MockStorage>;
using Location = ConfigurationManager::SettingsLocation;
using Registry = BackendRegistry<IStorableBackend>;

constexpr Location location(int number) { return static_cast<Location>(number); }

Mock &add(Registry &registry, int priority, int locationNumber)
{
    const auto mock = QSharedPointer<Mock>::create();
    registry.insert({priority, location(locationNumber)}, mock);
    return *mock;
}

void expectHit(Mock &mock, const QVariant &value)
{
    EXPECT_CALL(mock, contains(QString("group"), QString("key"))).WillOnce(Return(true));
    EXPECT_CALL(mock, value(QString("group"), QString("key"))).WillOnce(Return(value));
}

void expectMiss(Mock &mock)
{
    EXPECT_CALL(mock, contains(QString("group"), QString("key"))).WillOnce(Return(false));
}

} // namespace

TEST(LookUp, AsksFromTheLargestKeyDownAndReadsEveryHolder)
{
    Registry registry;
    Mock &first = add(registry, 0, 3);
    Mock &second = add(registry, 2, 0);
    Mock &third = add(registry, 2, 1);
    Mock &fourth = add(registry, 7, 0);
    const InSequence sequence;
    expectHit(fourth, "fourth");
    expectMiss(third);
    expectHit(second, "second");
    expectHit(first, "first");

    EXPECT_THAT(lookUp(registry, "group", "key", "default"), IsText("first"));
}

TEST(LookUp, ComparesPrioritiesAndLocationsAsSignedNumbers)
{
    Registry registry;
    Mock &negative = add(registry, -1, 0);
    Mock &zero = add(registry, 0, 0);
    Mock &zeroAtNegativeLocation = add(registry, 0, -5);
    const InSequence sequence;
    expectHit(zero, "zero");
    expectHit(zeroAtNegativeLocation, "negative location");
    expectHit(negative, "negative priority");

    EXPECT_THAT(lookUp(registry, "group", "key", {}), IsText("negative priority"));
}

TEST(LookUp, AnInvalidValueReplacesTheResult)
{
    Registry registry;
    expectHit(add(registry, 1, 0), QVariant());
    expectHit(add(registry, 2, 0), "shadowed");

    EXPECT_THAT(lookUp(registry, "group", "key", "default"), IsInvalid());
}

TEST(LookUp, AValueReplacesAnInvalidOne)
{
    Registry registry;
    expectHit(add(registry, 1, 0), "value");
    expectHit(add(registry, 2, 0), QVariant());

    EXPECT_THAT(lookUp(registry, "group", "key", "default"), IsText("value"));
}

TEST(LookUp, GivesTheDefaultWhenNobodyHoldsTheSetting)
{
    Registry registry;
    expectMiss(add(registry, 1, 0));
    expectMiss(add(registry, 2, 0));

    EXPECT_THAT(lookUp(registry, "group", "key", 7), IsVariant(7));
}

TEST(LookUp, GivesTheDefaultOfAnEmptyRegistry)
{
    EXPECT_THAT(lookUp(Registry(), "group", "key", "default"), IsText("default"));
    EXPECT_THAT(lookUp(Registry(), "group", "key", {}), IsInvalid());
}

TEST(FindByLocation, GivesTheLowestPriorityOfALocation)
{
    Registry registry;
    add(registry, 5, 1);
    Mock &lowest = add(registry, -2, 1);
    add(registry, -3, 0);
    add(registry, 3, 1);

    EXPECT_EQ(findByLocation(registry, location(1)), &lowest);
}

TEST(FindByLocation, GivesNullForALocationThatIsNotThere)
{
    Registry registry;
    add(registry, 5, 1);

    EXPECT_EQ(findByLocation(registry, location(5)), nullptr);
    EXPECT_EQ(findByLocation(Registry(), location(1)), nullptr);
}

TEST(Locations, NamesEachOnce)
{
    Registry registry;
    add(registry, 5, 1);
    add(registry, 3, 1);
    add(registry, 3, 4);

    EXPECT_EQ(locations(registry), QSet<Location>({location(1), location(4)}));
}

class Registries : public SettingsFixture
{
protected:
    ConfigurationManagerPrivate &d() { return *ConfigurationManagerPrivate::get(&manager()); }
};

TEST_F(Registries, HoldExactlyTheStoragesOfTheTable)
{
    EXPECT_THAT(d().readableBackends.keys(),
                ElementsAre(BackendKey(0, EnvironmentVariables), BackendKey(3, StbappConfDefault)));
    EXPECT_THAT(d().storableBackends.keys(),
                ElementsAre(BackendKey(2, CustomConfPersistent),
                            BackendKey(4, TemporaryApplicationStorage)));
    EXPECT_THAT(d().independentStorages.keys(), ElementsAre("ravel"));
}

TEST_F(Registries, KeepEveryIndependentStorageThatWasAskedFor)
{
    manager().independentStorage("ravel");
    IStorableBackend *channels = manager().independentStorage("channels");
    manager().independentStorage("channels");

    EXPECT_THAT(d().independentStorages.keys(), ElementsAre("channels", "ravel"));
    EXPECT_EQ(d().independentStorages.value("channels").data(), channels);
    EXPECT_EQ(d().storableBackends.size(), 2);
}

TEST_F(Registries, OwnTheirStoragesAlone)
{
    // A lookup's copy of the registry is gone when it returns.
    valueOf("Video", "output");

    EXPECT_TRUE(d().readableBackends.isDetached());
    EXPECT_TRUE(d().storableBackends.isDetached());
}

TEST_F(Registries, BelongToTheirManager)
{
    EXPECT_EQ(d().q_ptr, &manager());
    EXPECT_EQ(d().errorHandler, &handler);
    EXPECT_EQ(d().persistentStoragePrefix, persistentPrefix());
}

TEST_F(Registries, GiveTheDefaultWhenTheyAreEmpty)
{
    d().readableBackends.clear();
    d().storableBackends.clear();

    EXPECT_THAT(valueOf("Video", "output"), IsText("default"));
}

TEST_F(Registries, PassTheReadOnlyResultOnAsTheDynamicDefault)
{
    hold(StbappConfDefault, "Video", "output", "hdmi");

    EXPECT_THAT(d().readOnlyValue("Video", "output", "default"), IsText("hdmi"));
    EXPECT_THAT(d().dynamicValue("Video", "output", "default"), IsText("default"));
    EXPECT_THAT(valueOf("Video", "output"), IsText("hdmi"));
}

TEST_F(Registries, AnyStorableBackendWinsOverAnyReadableOne)
{
    hold(EnvironmentVariables, "group", "key", "environment");
    const auto storable = QSharedPointer<Mock>::create();
    d().storableBackends = {{{1000, location(9)}, storable}};
    expectHit(*storable, "storable");

    EXPECT_THAT(valueOf("group", "key"), IsText("storable"));
}

TEST_F(Registries, ReadOnlyStorageLooksIntoTheReadableOnesFirst)
{
    const auto readable = QSharedPointer<Mock>::create();
    d().readableBackends.insert({99, CustomConfPersistent}, readable);

    EXPECT_EQ(manager().readOnlyStorage(CustomConfPersistent), readable.data());
    EXPECT_NE(manager().dynamicStorage(CustomConfPersistent), readable.data());
}

TEST_F(Registries, ALookupSeesThemAsTheyWereWhenItBegan)
{
    const auto mock = QSharedPointer<Mock>::create();
    d().storableBackends = {{{1, location(9)}, mock}};
    EXPECT_CALL(*mock, contains(_, _)).WillOnce([this](const QString &, const QString &) {
        d().storableBackends.clear();
        d().storableBackends.insert({0, location(8)}, QSharedPointer<Mock>::create());
        return true;
    });
    EXPECT_CALL(*mock, value(_, _)).WillOnce(Return("old"));

    EXPECT_THAT(valueOf("group", "key"), IsText("old"));
}
