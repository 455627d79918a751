#include <tessel_asset_loading/object_loaded_callback.h>

#include <tessel_asset_loading/support/virtual_slot.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace Kiln::TestSupport {
namespace {

/// Implements only the pure virtual operations.
class MinimalCallback final : public IObjectLoadedCallback {
public:
    void onObjectLoaded(Tessel::GameObject, Tessel::GameObjectManager&) override {}
    void onObjectLoadedIntoHierarchy(Tessel::GameObject, Tessel::GameObjectManager&) override {}
    void releaseCallback() override {}
};

class ObjectLoadedCallbackInWorld : public WorldFixture {};

TEST_F(ObjectLoadedCallbackInWorld, onPreactivate_byDefault_agreesAndLeavesTheRootAlone) {
    const Tessel::GameObject root = manager().createGameObject();

    EXPECT_TRUE(makeSmart<MinimalCallback>()->onPreactivate(root, manager()));

    EXPECT_TRUE(manager().isGameObjectValid(root));
    EXPECT_FALSE(manager().isActive(root));
}

TEST(ObjectLoadedCallback, copy_hasReferencesOfItsOwn) {
    const SmartPointer<MinimalCallback> original = makeSmart<MinimalCallback>();
    const SmartPointer<MinimalCallback> second = original;

    const SmartPointer<MinimalCallback> copy = makeSmart<MinimalCallback>(*original);

    EXPECT_EQ(original->refCount(), 2U);
    EXPECT_EQ(copy->refCount(), 1U);
}

TEST(ObjectLoadedCallback, assignment_keepsTheReferencesOfBoth) {
    const SmartPointer<MinimalCallback> original = makeSmart<MinimalCallback>();
    const SmartPointer<MinimalCallback> second = original;
    const SmartPointer<MinimalCallback> target = makeSmart<MinimalCallback>();

    *target = *original;

    EXPECT_EQ(original->refCount(), 2U);
    EXPECT_EQ(target->refCount(), 1U);
}

TEST(ObjectLoadedCallback, virtualOperations_areInOrderBehindTheDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<IObjectLoadedCallback>);
    EXPECT_EQ(virtualSlot(&IObjectLoadedCallback::onPreactivate), 2U); // After the two entries of the destructor.
    EXPECT_EQ(virtualSlot(&IObjectLoadedCallback::onObjectLoaded), 3U);
    EXPECT_EQ(virtualSlot(&IObjectLoadedCallback::onObjectLoadedIntoHierarchy), 4U);
    EXPECT_EQ(virtualSlot(&IObjectLoadedCallback::releaseCallback), 5U);
}

TEST(ObjectLoadedCallback, operationsWithoutDefault_arePure) {
    EXPECT_TRUE(std::is_abstract_v<IObjectLoadedCallback>);
}

} // namespace
} // namespace Kiln::TestSupport
