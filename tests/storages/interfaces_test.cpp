// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "support/matchers.h"

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>

#include <QtCore/QMetaEnum>

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

using namespace stbconfig;
using ::testing::IsSupersetOf;

namespace {

// The position of a virtual function in its class's table, as the Itanium C++ ABI encodes it in a
// member pointer. (ARM keeps the offset itself, other processors the offset plus one.)
template <typename MemberFunction>
size_t slotOf(MemberFunction function)
{
    ptrdiff_t offset = 0;
    std::memcpy(&offset, &function, sizeof offset);
    return static_cast<size_t>(offset & ~ptrdiff_t(1)) / sizeof(void *);
}

class CountsDestructions final : public IStorableBackend
{
public:
    explicit CountsDestructions(int *counter) : destructions(counter) {}
    ~CountsDestructions() override { ++*destructions; }
    bool isValid() const override { return true; }
    bool contains(const QString &, const QString &) const override { return false; }
    QVariant value(const QString &, const QString &) const override { return {}; }
    QStringList allKeys() const override { return {}; }
    void setValue(const QString &, const QString &, const QVariant &) override {}
    void remove(const QString &, const QString &) override {}

private:
    int *destructions;
};

} // namespace

// An application built against an older library calls by slot: the order may never change. The
// two slots of the destructor come first.

TEST(Interfaces, ReadableBackendKeepsTheOrderOfItsSlots)
{
    EXPECT_EQ(slotOf(&IReadableBackend::isValid), 2U);
    EXPECT_EQ(slotOf(&IReadableBackend::contains), 3U);
    EXPECT_EQ(slotOf(&IReadableBackend::value), 4U);
    EXPECT_EQ(slotOf(&IReadableBackend::allKeys), 5U);
}

TEST(Interfaces, StorableBackendAddsItsSlotsAfterTheReadableOnes)
{
    EXPECT_EQ(slotOf(&IStorableBackend::allKeys), 5U);
    EXPECT_EQ(slotOf(&IStorableBackend::setValue), 6U);
    EXPECT_EQ(slotOf(&IStorableBackend::remove), 7U);
}

TEST(Interfaces, ErrorHandlerHasOneSlotAfterItsDestructor)
{
    EXPECT_EQ(slotOf(&IErrorHandler::handleError), 2U);
}

TEST(Interfaces, BackendsAreDestroyedThroughEitherInterface)
{
    int destructions = 0;
    delete static_cast<IReadableBackend *>(new CountsDestructions(&destructions));
    delete static_cast<IStorableBackend *>(new CountsDestructions(&destructions));

    EXPECT_EQ(destructions, 2);
}

TEST(Interfaces, AreAbstractAndHoldNothingButTheirTable)
{
    static_assert(
        std::is_abstract_v<
            IReadableBackend> && std::is_abstract_v<IStorableBackend> && std::is_abstract_v<IErrorHandler>);
    static_assert(
        std::has_virtual_destructor_v<
            IReadableBackend> && std::has_virtual_destructor_v<IStorableBackend> && std::has_virtual_destructor_v<IErrorHandler>);
    static_assert(sizeof(IReadableBackend) == sizeof(void *)
                  && sizeof(IStorableBackend) == sizeof(void *)
                  && sizeof(IErrorHandler) == sizeof(void *));
}

TEST(Interfaces, AStorableBackendIsAReadableOneAtTheSameAddress)
{
    static_assert(std::is_convertible_v<IStorableBackend *, IReadableBackend *>);
    static_assert(!std::is_convertible_v<IReadableBackend *, IStorableBackend *>);
    int destructions = 0;
    CountsDestructions backend(&destructions);
    IStorableBackend *storable = &backend;

    EXPECT_EQ(static_cast<void *>(static_cast<IReadableBackend *>(storable)), storable);
}

TEST(Interfaces, ExportedClassesHoldOnePointerAndNoTable)
{
    static_assert(sizeof(ConfigurationManager) == sizeof(void *));
    static_assert(sizeof(LogsConfigWrapper) == sizeof(void *));
    static_assert(!std::is_polymorphic_v<ConfigurationManager>);
    static_assert(!std::is_polymorphic_v<LogsConfigWrapper>);
}

TEST(Interfaces, ExportedClassesAreNeitherCopiedNorMoved)
{
    static_assert(
        !std::is_copy_constructible_v<
            ConfigurationManager> && !std::is_move_constructible_v<ConfigurationManager> && !std::is_copy_assignable_v<ConfigurationManager> && !std::is_move_assignable_v<ConfigurationManager>);
    static_assert(
        !std::is_copy_constructible_v<
            LogsConfigWrapper> && !std::is_move_constructible_v<LogsConfigWrapper> && !std::is_copy_assignable_v<LogsConfigWrapper> && !std::is_move_assignable_v<LogsConfigWrapper>);
}

TEST(Interfaces, AManagerIsMadeFromTwoPrefixesAndAHandlerOnly)
{
    static_assert(std::is_constructible_v<ConfigurationManager, QString, QString, IErrorHandler *>);
    static_assert(!std::is_default_constructible_v<ConfigurationManager>);
    static_assert(!std::is_constructible_v<ConfigurationManager, QString, QString>);
}

TEST(Enumerations, HaveTheirNumbers)
{
    static_assert(ConfigurationManager::IniFile == 0);
    static_assert(ConfigurationManager::CustomConfPersistent == 0);
    static_assert(ConfigurationManager::StbappConfDefault == 1);
    static_assert(ConfigurationManager::DhcpOptionsConf == 2);
    static_assert(ConfigurationManager::EnvironmentVariables == 3);
    static_assert(ConfigurationManager::TemporaryApplicationStorage == 4);
}

TEST(Enumerations, AreUnscopedAndSigned)
{
    static_assert(
        std::is_same_v<std::underlying_type_t<ConfigurationManager::SettingsLocation>, int>);
    static_assert(std::is_same_v<std::underlying_type_t<ConfigurationManager::StorageFormat>, int>);
    static_assert(std::is_convertible_v<ConfigurationManager::SettingsLocation, int>);
    static_assert(std::is_convertible_v<ConfigurationManager::StorageFormat, int>);
}

TEST(MetaObject, DescribesAGadgetWithTwoEnumerationsAndNothingElse)
{
    const QMetaObject &meta = ConfigurationManager::staticMetaObject;

    EXPECT_STREQ(meta.className(), "stbconfig::ConfigurationManager");
    EXPECT_EQ(meta.superClass(), nullptr);
    EXPECT_EQ(meta.methodCount(), 0);
    EXPECT_EQ(meta.propertyCount(), 0);
    EXPECT_EQ(meta.classInfoCount(), 0);
    EXPECT_EQ(meta.constructorCount(), 0);
    EXPECT_EQ(meta.enumeratorCount(), 2);
}

TEST(MetaObject, ListsStorageFormatFirst)
{
    const QMetaEnum format = ConfigurationManager::staticMetaObject.enumerator(0);

    EXPECT_STREQ(format.name(), "StorageFormat");
    EXPECT_FALSE(format.isFlag());
    EXPECT_FALSE(format.isScoped());
    ASSERT_EQ(format.keyCount(), 1);
    EXPECT_STREQ(format.key(0), "IniFile");
    EXPECT_EQ(format.value(0), 0);
}

TEST(MetaObject, ListsEveryLocationUnderItsIdentifier)
{
    const QMetaEnum location = ConfigurationManager::staticMetaObject.enumerator(1);

    EXPECT_STREQ(location.name(), "SettingsLocation");
    EXPECT_FALSE(location.isFlag());
    EXPECT_FALSE(location.isScoped());
    const char *const keys[] = {"CustomConfPersistent", "StbappConfDefault", "DhcpOptionsConf",
                                "EnvironmentVariables", "TemporaryApplicationStorage"};
    ASSERT_EQ(location.keyCount(), 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_STREQ(location.key(i), keys[i]);
        EXPECT_EQ(location.value(i), i);
    }
}

TEST(MetaObject, LetsDebugOutputNameALocation)
{
    QString text;
    QDebug(&text) << ConfigurationManager::DhcpOptionsConf;

    EXPECT_EQ(text.trimmed(), "stbconfig::ConfigurationManager::DhcpOptionsConf");
}

TEST(CommandLineRecord, StartsWithoutALevel)
{
    const auto [level, firstText, flag, secondText] = stbui::CmdLineArgs();

    EXPECT_EQ(level, -1);
    EXPECT_TRUE(firstText.isNull());
    EXPECT_FALSE(flag);
    EXPECT_TRUE(secondText.isNull());
}

// The library reads the members by position: an application's own record may name them otherwise.
TEST(CommandLineRecord, HoldsALevelATextASwitchAndAText)
{
    const auto [level, firstText, flag, secondText] = stbui::CmdLineArgs();

    static_assert(std::is_same_v<decltype(level), const qint32>);
    static_assert(std::is_same_v<decltype(firstText), const QString>);
    static_assert(std::is_same_v<decltype(flag), const bool>);
    static_assert(std::is_same_v<decltype(secondText), const QString>);
}
