#pragma once

#include "document_fixture.h"

#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>

#include <string_view>

namespace Kiln::SerializationTests {

/// Every test has its own world.
class LiveFixture : public DocumentFixture {
protected:
    ~LiveFixture() override { Tessel::EntryPoint::instance().destroyWorld(worldId); }

    [[nodiscard]] Tessel::World& world() const { return *Tessel::EntryPoint::instance().findValidWorld(worldId); }
    [[nodiscard]] Tessel::GameObjectManager& manager() const { return world().manager(); }

    [[nodiscard]] Tessel::GameObject create(std::string_view name = {}) const {
        const Tessel::GameObject object = manager().createGameObject();
        manager().setGameObjectName(object, name);
        return object;
    }

    const int worldId = Tessel::EntryPoint::instance().createWorld();
};

} // namespace Kiln::SerializationTests
