#include "pool_test_types.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tessel_foundation/component_storage.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::Tessel::PoolTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::AssertionCapture;

class Fuel final : public PoolableComponent<Fuel, IComponent> {
public:
    explicit Fuel(int amount, bool fails = false) : value(amount), label(64, 'f') {
        if (fails) {
            throw std::runtime_error("no fuel");
        }
        ++livingCount;
    }
    ~Fuel() override { --livingCount; }

    int value;
    std::string label;

    static inline int livingCount = 0;
};

class Smoke final : public PoolableComponent<Smoke, IComponent> {};

class ComponentStorageTest : public testing::Test {
protected:
    ~ComponentStorageTest() override {
        EXPECT_EQ(storage.componentsCount(), 0U);
        EXPECT_EQ(Fuel::livingCount, 0);
        EXPECT_THAT(assertions.failures(), IsEmpty());
    }

    std::vector<AssertionCapture::Failure> takeFailures() {
        auto failures = assertions.failures();
        assertions.clear();
        return failures;
    }

    AssertionCapture assertions;
    ComponentStorage<Fuel> storage{2};
};

AssertionCapture::Failure activeComponentsLeft() {
    return poolFailure("Active components still exist!", LEAK_TEXT);
}

TEST_F(ComponentStorageTest, type_isThatOfTheComponentClass) {
    EXPECT_EQ(storage.type(), NativeComponent<Fuel>::getType());
}

TEST_F(ComponentStorageTest, elementsPerBlock_default256) {
    EXPECT_EQ(ComponentStorage<Fuel>().pool().elementsPerBlock(), 256U);
    EXPECT_EQ(storage.pool().elementsPerBlock(), 2U);
}

TEST_F(ComponentStorageTest, create_makesInactiveComponentInThePool) {
    const auto fuel = storage.create(5);
    EXPECT_EQ(fuel->value, 5);
    EXPECT_EQ(fuel->block(), &storage.pool().block(0));
    EXPECT_EQ(storage.componentsCount(), 1U);
    EXPECT_EQ(storage.activeCount(), 0U);
}

TEST_F(ComponentStorageTest, create_throwingConstructor_leavesStorageAsItWas) {
    EXPECT_THROW(std::ignore = storage.create(5, true), std::runtime_error);
    EXPECT_EQ(storage.componentsCount(), 0U);
}

TEST_F(ComponentStorageTest, pointer_convertsToComponentPointerAndFrees) {
    ComponentPointer component = storage.create(5);
    EXPECT_EQ(component->type(), storage.type());
    component.reset();
    EXPECT_EQ(storage.componentsCount(), 0U);
    EXPECT_EQ(Fuel::livingCount, 0);
}

TEST_F(ComponentStorageTest, pointer_activeComponent_freesSilently) {
    auto fuel = storage.create(5);
    fuel->activate();
    EXPECT_EQ(storage.activeCount(), 1U);
    fuel.reset();
    EXPECT_EQ(storage.activeCount(), 0U);
    EXPECT_THAT(takeFailures(), IsEmpty());
}

TEST_F(ComponentStorageTest, pointer_givenBack_elementIsUsedAgain) {
    auto first = storage.create(1);
    const auto second = storage.create(2);
    const Fuel* const address = first.get();
    first.reset();
    const auto third = storage.create(3);
    EXPECT_EQ(third.get(), address);
    EXPECT_EQ(storage.pool().blocksCount(), 1U);
}

TEST_F(ComponentStorageTest, activateAndDeactivate_throughGenericStorage) {
    GenericComponentStorage& generic = storage;
    const ComponentPointer component = storage.create(1);
    generic.activate(*component);
    EXPECT_EQ(generic.activeCount(), 1U);
    generic.activate(*component);
    EXPECT_EQ(generic.activeCount(), 1U);
    generic.deactivate(*component);
    EXPECT_EQ(generic.activeCount(), 0U);
    EXPECT_EQ(generic.componentsCount(), 1U);
}

TEST_F(ComponentStorageTest, activate_componentOfOtherStorage_isIgnored) {
    ComponentStorage<Fuel> other;
    ComponentStorage<Smoke> smokes;
    const auto fuel = other.create(1);
    const auto smoke = smokes.create();
    storage.activate(*fuel);
    storage.activate(*smoke);
    EXPECT_EQ(other.activeCount(), 0U);
    EXPECT_EQ(smokes.activeCount(), 0U);

    fuel->activate();
    storage.deactivate(*fuel);
    EXPECT_EQ(other.activeCount(), 1U);
}

TEST_F(ComponentStorageTest, cast_ownComponent_isTyped) {
    const auto fuel = storage.create(1);
    IComponent* const component = fuel.get();
    EXPECT_EQ(storage.cast(component), fuel.get());
}

TEST_F(ComponentStorageTest, cast_anythingElse_isNull) {
    ComponentStorage<Fuel> other;
    ComponentStorage<Smoke> smokes;
    const auto fuel = other.create(1);
    const auto smoke = smokes.create();
    Fuel unpooled(2);
    EXPECT_EQ(storage.cast(nullptr), nullptr);
    EXPECT_EQ(storage.cast(fuel.get()), nullptr);
    EXPECT_EQ(storage.cast(smoke.get()), nullptr);
    EXPECT_EQ(storage.cast(&unpooled), nullptr);
}

TEST_F(ComponentStorageTest, forEachActive_visitsActiveOnly) {
    std::vector<ComponentStorage<Fuel>::Pointer> fuels;
    for (int value = 0; value < 5; ++value) {
        fuels.push_back(storage.create(value));
    }
    fuels[3]->activate();
    fuels[0]->activate();
    EXPECT_THAT(activeValues(storage), ElementsAre(0, 3));
}

TEST_F(ComponentStorageTest, dump_isThatOfThePool) {
    const auto fuel = storage.create(1);
    std::ostringstream fromStorage;
    std::ostringstream fromPool;
    static_cast<const GenericComponentStorage&>(storage).dump(fromStorage);
    storage.pool().dump(fromPool);
    EXPECT_EQ(fromStorage.str(), fromPool.str());
    EXPECT_THAT(fromStorage.str(), testing::StartsWith("Block size: 2 objects, "));
}

TEST_F(ComponentStorageTest, destruction_allGivenBack_isSilent) {
    auto temporary = std::make_unique<ComponentStorage<Fuel>>();
    temporary->create(1)->activate();
    temporary.reset();
    EXPECT_THAT(takeFailures(), IsEmpty());
}

TEST_F(ComponentStorageTest, destruction_activeComponentsLeft_reportsStorageThenBlock) {
    auto temporary = std::make_unique<ComponentStorage<Fuel>>();
    Fuel* const fuel = temporary->create(1).release();
    fuel->activate();
    temporary.reset();
    EXPECT_THAT(takeFailures(), ElementsAre(activeComponentsLeft(), blockNotEmpty()));
    EXPECT_EQ(Fuel::livingCount, 0);
}

TEST_F(ComponentStorageTest, destruction_inactiveComponentsLeft_reportsBlockOnly) {
    auto temporary = std::make_unique<ComponentStorage<Fuel>>();
    std::ignore = temporary->create(1).release();
    temporary.reset();
    EXPECT_THAT(takeFailures(), ElementsAre(blockNotEmpty()));
    EXPECT_EQ(Fuel::livingCount, 0);
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
