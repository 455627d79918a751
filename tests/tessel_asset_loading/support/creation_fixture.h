#pragma once

#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace Kiln::TestSupport {

/// Creates the objects of a prefab in the fixture's world, as an instance of a known UUID.
class CreationFixture : public WorldFixture {
protected:
    static constexpr Uuid INSTANCE{0x1234, 0x5678};

    static constexpr const char* FAILED = "5: Failed to create prefab instance.\n";
    static constexpr const char* TOO_DEEP =
        "5: Nested prefabs depth has exceeded limit. It can be result of recursive references.";
    static constexpr const char* CONFLICT = "5: UUID conflict detected. Trying to generate new instance UUID.";
    static constexpr const char* CONFLICT_WITH_MAP = "5: This conflict can't be resolved because of external uuid map";
    static constexpr const char* CONFLICT_STAYS =
        "5: Failed to workaround UUID conflict. Check content for Game Objects with duplicate UUIDs.";
    static constexpr const char* SECOND_ROOT = "5: Game Objects hierarchy has more than one root.";
    static constexpr const char* NO_ROOT = "5: Game Objects hierarchy doesn't have root.";

    CreationFixture() { config = makeConfig(); }

    [[nodiscard]] Tessel::GameObjectPrefab::CreateConfig makeConfig(const Uuid& instance = INSTANCE) const {
        return {worldId, instance, nullptr, {}};
    }

    /// Creates with the fixture's `config`.
    std::vector<Tessel::GameObject> create(const Tessel::GameObjectPrefab& prefab) {
        return prefab.createGameObjects(config);
    }
    std::vector<Tessel::GameObject> create(const PrefabBuilder& builder) { return create(builder.build()); }

    /// Names of the created objects in the order of the result.
    std::vector<std::string> createdNames(const PrefabBuilder& builder) { return namesOf(manager(), create(builder)); }

    void setOverrides(const OverridesText& overrides) { config.overrides = OverrideRecords::create(overrides.text()); }

    [[nodiscard]] Tessel::GameObject object(const std::string& name) const { return findByName(manager(), name); }
    [[nodiscard]] Uuid uuidOf(const std::string& name) const { return manager().getGameObjectUuid(object(name)); }
    [[nodiscard]] std::string parentOf(const std::string& name) const { return parentNameOf(manager(), object(name)); }
    [[nodiscard]] std::string tagOf(const std::string& name) const { return configOf<TagComponent>(name).tag; }

    /// The message that the platform logs about a link without a target.
    [[nodiscard]] static std::string unresolved(const std::string& object, const std::string& component,
                                                const Uuid& uuid) {
        return "4: Game object '" + object + "', component '" + component + "': the link to " + uuid.toString() +
               " resolves to nothing";
    }

    Tessel::GameObjectPrefab::CreateConfig config;
};

/// The result of a failed creation.
MATCHER(IsFailure, "is just the invalid object") {
    return arg.size() == 1 && arg[0] == Tessel::GameObject::INVALID_GAME_OBJECT;
}

} // namespace Kiln::TestSupport
