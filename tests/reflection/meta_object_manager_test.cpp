#include <reflection/meta_object.h>

#include <atomic>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mirra {

namespace {

struct Known {};
struct Unknown {};
struct Twice {};
struct FirstOfName {};
struct SecondOfName {};
template <int NUMBER>
struct Numbered {};

template <class T>
const BaseStaticMetaObject& registerType(std::string name) {
    return MetaObjectManager::instance().registerType(std::make_unique<StaticMetaObject<T>>(std::move(name)));
}

/// Registered, and looked for, outside of main().
const BaseStaticMetaObject& earlyType = registerType<Known>("manager_test::Known");

} // namespace

TEST(MetaObjectManager, findType_registered) {
    EXPECT_EQ(MetaObjectManager::instance().findType(typeid(Known)), &earlyType);
    EXPECT_EQ(MetaObjectManager::instance().findType("manager_test::Known"), &earlyType);
}

TEST(MetaObjectManager, findType_unknown_isNull) {
    EXPECT_EQ(MetaObjectManager::instance().findType(typeid(Unknown)), nullptr);
    EXPECT_EQ(MetaObjectManager::instance().findType("manager_test::Unknown"), nullptr);
}

TEST(MetaObjectManager, sameTypeAgain_firstDescriptionStays) {
    const BaseStaticMetaObject& first = registerType<Twice>("manager_test::Twice");
    const BaseStaticMetaObject& second = registerType<Twice>("manager_test::Again");

    EXPECT_EQ(&first, &second);
    EXPECT_EQ(first.name(), "manager_test::Twice");
    EXPECT_EQ(MetaObjectManager::instance().findType("manager_test::Again"), nullptr);
}

TEST(MetaObjectManager, sameNameAgain_bothTypesStayAndTheNameIsTheFirst) {
    const BaseStaticMetaObject& first = registerType<FirstOfName>("manager_test::Name");
    const BaseStaticMetaObject& second = registerType<SecondOfName>("manager_test::Name");

    EXPECT_EQ(MetaObjectManager::instance().findType("manager_test::Name"), &first);
    EXPECT_EQ(MetaObjectManager::instance().findType(typeid(SecondOfName)), &second);
}

TEST(MetaObjectManager, registeredWhileOthersFind_everyFindIsRight) {
    std::latch start(3);
    std::atomic<int> wrongFinds{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 1000; ++round) {
                if (MetaObjectManager::instance().findType(typeid(Known)) != &earlyType ||
                    MetaObjectManager::instance().findType("manager_test::Known") != &earlyType) {
                    ++wrongFinds;
                }
            }
        });
    }
    start.arrive_and_wait();
    [&]<int... NUMBERS>(std::integer_sequence<int, NUMBERS...>) {
        (registerType<Numbered<NUMBERS>>("manager_test::Numbered" + std::to_string(NUMBERS)), ...);
    }
    (std::make_integer_sequence<int, 64>());
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(wrongFinds, 0);
    EXPECT_NE(MetaObjectManager::instance().findType("manager_test::Numbered63"), nullptr);
}

} // namespace mirra
