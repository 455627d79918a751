#pragma once

#include "weak_combine.h"

#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {

/// Creates prefabs whose UUIDs collide.
class ConflictFixture : public CreationFixture {
protected:
    std::vector<Tessel::GameObject> create(const PrefabBuilder& builder, const Uuid& instance) {
        config.instanceUuid = instance;
        return CreationFixture::create(builder);
    }

    /// A root and two children, of which the second collides with the first in COLLIDING_INSTANCE.
    [[nodiscard]] static PrefabBuilder collidingChildren() {
        PrefabBuilder builder;
        builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(0x12), "Second", id(1));
        return builder;
    }

    /// Whether the creation failed and left no object.
    void expectNothingIsLeft(const std::vector<Tessel::GameObject>& created) const {
        EXPECT_THAT(created, IsFailure());
        EXPECT_EQ(manager().gameObjectsCount(), 0U);
        EXPECT_THAT(config.uuidMap, testing::IsEmpty());
    }
};

} // namespace Kiln::TestSupport
