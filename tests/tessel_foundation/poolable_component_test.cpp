#include "pool_test_types.h"

#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace Kiln::Tessel::PoolTests {
namespace {

using AllocationState = ElemState::AllocationState;

class Burning final : public PoolableComponent<Burning, IComponent> {
public:
    explicit Burning(int heat) : value(heat), blockAtConstruction(block()) {}

    int value;
    BlockPool<Burning>* blockAtConstruction;
};

class NamedBase : public IComponent {
public:
    explicit NamedBase(std::string name) : m_name(std::move(name)) {}
    [[nodiscard]] const std::string& name() const { return m_name; }

private:
    std::string m_name;
};

class Named final : public PoolableComponent<Named, NamedBase> {
public:
    using PoolableComponent::PoolableComponent;
};

TEST(PoolableComponent, construction_hasNoBlock) {
    const Burning burning(1);
    EXPECT_EQ(burning.blockAtConstruction, nullptr);
    EXPECT_EQ(burning.block(), nullptr);
}

TEST(PoolableComponent, createdInPool_blockLinkIsSetAfterConstruction) {
    MultiBlockPool<Burning> pool(2);
    Burning* const burning = pool.createData(1);
    EXPECT_EQ(burning->blockAtConstruction, nullptr);
    EXPECT_EQ(burning->block(), &pool.block(0));
    burning->block()->deallocate(burning);
}

TEST(PoolableComponent, type_isIdOfTheClass) {
    const Burning burning(1);
    const Named named("fire");
    EXPECT_EQ(burning.type(), NativeComponent<Burning>::getType());
    EXPECT_EQ(burning.type(), IComponent::types().registerType(typeid(Burning)));
    EXPECT_EQ(named.type(), NativeComponent<Named>::getType());
    EXPECT_NE(burning.type(), named.type());
}

TEST(PoolableComponent, activateAndDeactivate_goThroughTheBlock) {
    MultiBlockPool<Burning> pool(2);
    RecordingListener<Burning> listener;
    pool.setListener(&listener);
    Burning* const burning = pool.createData(4);
    IComponent& component = *burning;
    component.activate();
    EXPECT_EQ(pool.block(0).state(0).allocationState, AllocationState::ACTIVE);
    component.deactivate();
    EXPECT_EQ(pool.block(0).state(0).allocationState, AllocationState::INACTIVE);
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"+4@0", "-4@0"}));
    burning->block()->deallocate(burning);
}

TEST(PoolableComponent, withoutBlock_activationHasNoEffect) {
    TestSupport::AssertionCapture assertions;
    Burning burning(1);
    burning.activate();
    burning.deactivate();
    EXPECT_EQ(assertions.count(), 0U);
}

TEST(PoolableComponent, baseWithArguments_isConstructedWithThem) {
    EXPECT_EQ(Named("ember").name(), "ember");
}

TEST(PoolableComponent, blockLink_directlyFollowsTheBase) {
    const Burning burning(1);
    const auto begin = reinterpret_cast<std::uintptr_t>(static_cast<const IComponent*>(&burning));
    const auto link = reinterpret_cast<std::uintptr_t>(static_cast<const BlockAllocable<Burning>*>(&burning));
    EXPECT_EQ(link - begin, sizeof(IComponent));
}

TEST(PoolableComponent, isNotCopyable) {
    EXPECT_FALSE(std::is_copy_constructible_v<Burning>);
    EXPECT_FALSE(std::is_copy_assignable_v<Burning>);
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
