#include <tessel_streaming/instances/removal_list.h>
#include <tessel_streaming/support/streaming_fixture.h>

#include <object_framework/hierarchy_component.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using Tessel::GameObject;

class ObjectRemoval : public StreamingFixture {
protected:
    [[nodiscard]] GameObject childOf(GameObject parent) const {
        const GameObject object = manager().createGameObject();
        auto component = world().getStorage<Tessel::HierarchyComponent>().create(parent);
        const Tessel::ComponentTypeId type = component->type();
        manager().addComponent(object, std::move(component), type);
        return object;
    }

    /// A deadline that passed long ago.
    [[nodiscard]] static Tessel::detail::Deadline passed() {
        return Tessel::detail::Deadline(std::chrono::steady_clock::time_point::min());
    }
};

TEST_F(ObjectRemoval, parentAtTheEndOfTheList_isRemovedAfterItsChildren) {
    const GameObject root = manager().createGameObject();
    std::vector<GameObject> objects;
    for (int i = 0; i < 20; ++i) {
        objects.push_back(childOf(root));
    }
    objects.push_back(root);
    detail::UnitCost cost;
    std::size_t before = objectsCount();
    while (!detail::removeObjects(objects, passed(), cost)) {
        EXPECT_GE(objectsCount() + 1, before);
        before = objectsCount();
    }
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(ObjectRemoval, objectOfAnotherParent_isHiddenToo) {
    const GameObject root = manager().createGameObject();
    const GameObject elsewhere = manager().createGameObject();
    manager().activateGameObject(root);
    manager().activateGameObject(elsewhere);
    detail::hideInstance(root, {root, elsewhere});
    EXPECT_FALSE(manager().isActive(root));
    EXPECT_FALSE(manager().isActive(elsewhere));
}

} // namespace
} // namespace Kiln::TestSupport
