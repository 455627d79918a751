#pragma once

#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <support/log_capture.h>
#include <tessel_foundation/poolable_component.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::Tessel::FrameworkTests {

/// A component that records its activation, deactivation and destruction in a journal, if it has one, and counts its
/// living instances.
template <char Letter>
class Journaled final : public PoolableComponent<Journaled<Letter>, IComponent> {
    using Base = PoolableComponent<Journaled<Letter>, IComponent>;

public:
    explicit Journaled(std::vector<std::string>* journal = nullptr, std::string owner = {})
        : m_journal(journal), m_owner(std::move(owner)) {
        ++livingCount;
    }
    ~Journaled() override {
        --livingCount;
        write("destroy");
    }

    void activate() override {
        write("activate");
        isActive = true;
        Base::activate();
    }
    void deactivate() override {
        write("deactivate");
        isActive = false;
        Base::deactivate();
    }

    bool isActive = false;

    static inline int livingCount = 0;

private:
    void write(const char* event) const {
        if (m_journal) {
            m_journal->push_back(std::string(event) + " " + Letter + m_owner);
        }
    }

    std::vector<std::string>* m_journal;
    std::string m_owner;
};

using ComponentA = Journaled<'A'>;
using ComponentB = Journaled<'B'>;

/// Creates a world for each test and destroys it at the end of the test.
class WorldTest : public testing::Test {
protected:
    ~WorldTest() override {
        EntryPoint::instance().destroyWorld(worldId);
        EXPECT_EQ(ComponentA::livingCount, 0);
        EXPECT_EQ(ComponentB::livingCount, 0);
    }

    [[nodiscard]] World& world() const { return *EntryPoint::instance().findValidWorld(worldId); }
    [[nodiscard]] GameObjectManagerInternal& manager() const { return world().manager(); }

    GameObject create(std::string_view name = {}) const {
        const GameObject object = manager().createGameObject();
        manager().setGameObjectName(object, name);
        return object;
    }

    GameObject createChild(GameObject parent, std::string_view name = {}) const {
        const GameObject object = create(name);
        attach(object, parent);
        return object;
    }

    HierarchyComponent* attach(GameObject object, GameObject parent) const {
        return static_cast<HierarchyComponent*>(
            manager().addComponent(object, world().getStorage<HierarchyComponent>().create(parent),
                                   NativeComponent<HierarchyComponent>::getType()));
    }

    template <class T, class... Arguments>
    T* add(GameObject object, Arguments&&... arguments) const {
        return static_cast<T*>(manager().addComponent(
            object, world().getStorage<T>().create(std::forward<Arguments>(arguments)...), typeOf<T>()));
    }

    template <class T>
    void removeComponent(GameObject object) const {
        manager().removeComponent(object, typeOf<T>());
    }

    template <class T>
    [[nodiscard]] static ComponentTypeId typeOf() {
        return NativeComponent<T>::getType();
    }

    [[nodiscard]] std::vector<std::string> namesOf(const std::vector<GameObject>& objects) const {
        std::vector<std::string> names;
        for (const GameObject object : objects) {
            names.push_back(manager().getGameObjectName(object));
        }
        return names;
    }

    /// Names of the active objects, in the order of their creation.
    [[nodiscard]] std::vector<std::string> activeNames() const {
        std::vector<std::string> names;
        for (const GameObject object : manager().gameObjects()) {
            if (manager().isActive(object)) {
                names.push_back(manager().getGameObjectName(object));
            }
        }
        return names;
    }

    const int worldId = EntryPoint::instance().createWorld();
    TestSupport::LogCapture log;
    std::vector<std::string> journal; ///< Written by components, which are destroyed before it.
};

} // namespace Kiln::Tessel::FrameworkTests
