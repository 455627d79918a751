#include "harbour_fixture.h"

#include <generic_components/transform_component.h>
#include <gmock/gmock.h>
#include <harbour_components/berth_component.h>
#include <harbour_components/lamp_component.h>
#include <harbour_components/sign_component.h>
#include <tessel_asset_loading/prefab_component.h>

#include <ostream>
#include <string_view>
#include <unordered_map>

namespace Kiln::SamplesTests {

using namespace Kiln::Tessel;
using Harbour::BerthComponent;
using Harbour::LampComponent;
using Harbour::SignComponent;
using testing::UnorderedElementsAre;

namespace {

const Uuid OVERRIDES_INSTANCE(0x51f8a30be79c4d20, 0xa3c96f1287d4e05b);
const Uuid SECOND_OVERRIDES_INSTANCE(0xe4067b95d21a4f8c, 0x8f3d5ab0c6e79142);

struct Light {
    std::string colour = "warm white";
    float brightness = 450;
    bool isLit = true;

    friend bool operator==(const Light&, const Light&) = default;
};

void PrintTo(const Light& light, std::ostream* stream) {
    *stream << light.colour << ", " << light.brightness << ", " << (light.isLit ? "lit" : "dark");
}

} // namespace

class HarbourOverrides : public HarbourFixture {
protected:
    HarbourOverrides() { spawn(OVERRIDES_INSTANCE); }

    using HarbourFixture::object;
    [[nodiscard]] GameObject object(const std::vector<std::string>& names) { return object(OVERRIDES_INSTANCE, names); }

    /// The child of that name; the invalid object when there is none.
    [[nodiscard]] GameObject child(GameObject parent, std::string_view name) const {
        for (const GameObject candidate : manager().getChildren(parent)) {
            if (manager().getGameObjectName(candidate) == name) {
                return candidate;
            }
        }
        return GameObject::INVALID_GAME_OBJECT;
    }

    [[nodiscard]] Light light(GameObject object) const {
        const auto* const lamp = manager().findComponent<LampComponent>(object);
        return lamp ? Light{lamp->colour, lamp->brightness, lamp->isLit} : Light{"no lamp", 0, false};
    }
    [[nodiscard]] std::string sign(GameObject object) const {
        const auto* const component = manager().findComponent<SignComponent>(object);
        return component ? component->text : "no sign";
    }
    [[nodiscard]] double depth(const std::vector<std::string>& names) {
        return manager().findComponent<BerthComponent>(object(names))->depth;
    }
    [[nodiscard]] Matrix localTransform(const std::vector<std::string>& names) {
        return manager().findComponent<TransformComponent>(object(names))->local;
    }
    [[nodiscard]] std::string resource(const std::vector<std::string>& names) {
        return manager().findComponent<PrefabComponent>(object(names))->resource();
    }

    /// The lamps of an instance that differ from the lamp prefab.
    [[nodiscard]] std::unordered_map<GameObject, Light> unusualLights(const std::vector<GameObject>& objects) const {
        std::unordered_map<GameObject, Light> unusual;
        for (const GameObject object : objects) {
            if (light(object) != Light()) {
                unusual.emplace(object, light(object));
            }
        }
        return unusual;
    }
};

TEST_F(HarbourOverrides, lamps_differExactlyWhereTheyAreOverridden) {
    const std::vector<GameObject> lamps = objectsWith<LampComponent>();
    EXPECT_EQ(lamps.size(), 14U);

    const GameObject mast = child(child(object({"South quay"}), "East lamp"), "Mast");
    const Light floodlight{"cold white", 12000, true};
    EXPECT_THAT(unusualLights(lamps),
                UnorderedElementsAre(
                    // The quay prefab overrides what its crane prefab nests.
                    std::pair(object({"North quay", "Crane", "Jib lamp", "Bulb"}), Light{"warm white", 900, true}),
                    std::pair(object({"South quay", "Crane", "Jib lamp", "Bulb"}), Light{"warm white", 900, true}),
                    // The harbour overrides the same lamp, two prefabs deeper, in one of its quays.
                    std::pair(object({"South quay", "Crane", "Cabin lamp", "Bulb"}), Light{"red", 450, false}),
                    std::pair(object({"Meridian", "Stern lamp", "Bulb"}), Light{"warm white", 1200, true}),
                    // These are the lamps of another prefab.
                    std::pair(child(mast, "Left head"), floodlight), std::pair(child(mast, "Right head"), floodlight)));
}

TEST_F(HarbourOverrides, signs_haveTheTextOfTheirInstance) {
    std::unordered_map<GameObject, std::string> signs;
    for (const GameObject object : objectsWith<SignComponent>()) {
        signs.emplace(object, sign(object));
    }
    EXPECT_THAT(signs,
                UnorderedElementsAre(
                    std::pair(object({"North quay"}), "North quay"), std::pair(object({"South quay"}), "South quay"),
                    std::pair(object({"North quay", "Load limit plate"}), "40 t at 32 m"),
                    std::pair(object({"South quay", "Load limit plate"}), "40 t at 32 m"),
                    std::pair(object({"Harbour office"}), "Harbour office\nVHF channel 12"),
                    std::pair(object({"Storm warning"}), "Storm warning: wind force 10 & rising"),
                    std::pair(object({"Annika"}), "ANNIKA"), std::pair(object({"Meridian"}), "MERIDIAN"),
                    std::pair(object({"Meridian", "Container 1"}), "HBCU 310 442"),
                    std::pair(object({"Meridian", "Container 2"}), "HBCU 310 458"),
                    std::pair(object({"Meridian", "Container 3"}), "HBCU 507 113"),
                    std::pair(object({"Meridian", "Container 4"}), "HBCU 640 029")));
}

TEST_F(HarbourOverrides, plainObjectOfANestedPrefab_isOverriddenInOneInstance) {
    EXPECT_EQ(depth({"North quay", "Berth"}), 12.5);
    EXPECT_EQ(depth({"South quay", "Berth"}), 9.5);
    EXPECT_EQ(depth({"Roadstead"}), 18);
}

TEST_F(HarbourOverrides, overriddenProperty_leavesTheOthersAsTheyAre) {
    const auto* const berth = manager().findComponent<BerthComponent>(object({"North quay", "Berth"}));
    EXPECT_EQ(berth->moorings.size(), 2U);
}

TEST_F(HarbourOverrides, overriddenResource_nestsAnotherPrefabInOneInstance) {
    EXPECT_EQ(resource({"North quay", "East lamp"}), "harbour/props/lamp.prefab");

    const GameObject floodlight = child(object({"South quay"}), "East lamp");
    const auto* const prefab = manager().findComponent<PrefabComponent>(floodlight);
    ASSERT_NE(prefab, nullptr);
    EXPECT_EQ(prefab->resource(), "harbour/props/floodlight.prefab");
}

TEST_F(HarbourOverrides, componentOfAnIntegrationPoint_isOverriddenThroughItsOwnOverridesData) {
    EXPECT_EQ(localTransform({"North quay", "Crane"}), Matrix::translation(20, 0, 4));
    EXPECT_EQ(localTransform({"South quay", "Crane"}), Matrix::translation(40, 0, 4));
}

TEST_F(HarbourOverrides, secondInstance_hasTheSameOverridesAtTheSamePlaces) {
    const std::vector<GameObject> first = objectsWith<LampComponent>();
    spawn(SECOND_OVERRIDES_INSTANCE);
    std::vector<GameObject> second = objectsWith<LampComponent>();
    second.erase(second.begin(), second.begin() + static_cast<std::ptrdiff_t>(first.size()));
    EXPECT_EQ(unusualLights(second).size(), unusualLights(first).size());
    EXPECT_EQ(light(object(SECOND_OVERRIDES_INSTANCE, {"South quay", "Crane", "Cabin lamp", "Bulb"})),
              (Light{"red", 450, false}));
    EXPECT_EQ(light(object(SECOND_OVERRIDES_INSTANCE, {"North quay", "Crane", "Cabin lamp", "Bulb"})), Light());
    EXPECT_EQ(sign(object(SECOND_OVERRIDES_INSTANCE, {"Meridian", "Container 3"})), "HBCU 507 113");
}

} // namespace Kiln::SamplesTests
