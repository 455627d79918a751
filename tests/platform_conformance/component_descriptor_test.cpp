#include "platform_access.h"
#include "test_components.h"

#include <object_framework/hierarchy_component.h>
#include <object_serialization/game_object_descriptor.h>
#include <object_serialization/override_records.h>
#include <variant/variant_converter.h>

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

class Descriptors : public testing::Test {
protected:
    [[nodiscard]] BeaconDescriptor& beacon() const { return static_cast<BeaconDescriptor&>(*descriptor); }
    [[nodiscard]] const Beacon::Config& config() const { return std::as_const(beacon()).config(); }

    /// Stores `text` as the prefab's own value.
    void store(const std::string& text) const {
        beacon().config().text = text;
        descriptor->storePrefabProperties();
    }

    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    const SmartPointer<OverrideRecords> records = OverrideRecords::create(
        "<overrides><gameObject><uuid>00000000-0000-0000-0000-000000000000</uuid><component><type>ConformanceBeacon"
        "</type><properties><other>overridden</other></properties></component></gameObject></overrides>");
    const ComponentOverrideRecords* const record = records->getComponentRecord(Uuid::ZERO, Beacon::NAME);
};

/// The product fills the copy of a hierarchy component without storing it.
TEST_F(Descriptors, beforeTheFirstStore_changesAreThePrefabsValues) {
    beacon().config().text = "changed";
    EXPECT_EQ(beacon().prefabProperties().text, "changed");
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(config().text, "changed");
}

TEST_F(Descriptors, afterAStore_changesAreSeenInTheConfigurationAlone) {
    store("stored");
    beacon().config().text = "changed";
    EXPECT_EQ(config().text, "changed");
    EXPECT_EQ(beacon().prefabProperties().text, "stored");
}

TEST_F(Descriptors, storePrefabProperties_takesTheChangesOver) {
    store("stored");
    beacon().config().text = "changed";
    descriptor->storePrefabProperties();
    EXPECT_EQ(beacon().prefabProperties().text, "changed");
}

TEST_F(Descriptors, setupOverrides_null_restores) {
    store("stored");
    beacon().config().text = "changed";
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(config().text, "stored");
}

TEST_F(Descriptors, setupOverrides_startsFromThePrefabsValuesEachTime) {
    store("stored");
    beacon().config().text = "changed";
    descriptor->setupOverrides(record);
    EXPECT_EQ(config().text, "stored");
    EXPECT_EQ(config().other, "overridden");
    EXPECT_EQ(beacon().prefabProperties().other, "");
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(config().other, "");
}

TEST_F(Descriptors, setState_isSeenInBothFaces) {
    store("stored");
    beacon().config().text = "changed";
    beacon().setState(&Beacon::Config::isMarked, true);
    EXPECT_TRUE(config().isMarked);
    EXPECT_TRUE(beacon().prefabProperties().isMarked);
    EXPECT_EQ(config().text, "changed");
}

TEST_F(Descriptors, configuration_isTheConfiguration) {
    store("stored");
    auto* const link = vessa::VariantConverter::convertTo<ILinkConfig>(descriptor->configuration().propertyAt(2).get());
    ASSERT_NE(link, nullptr);
    link->setUuid(Uuid(5, 6));
    EXPECT_EQ(config().link.uuid(), Uuid(5, 6));
    EXPECT_EQ(beacon().prefabProperties().link.uuid(), Uuid::ZERO);
}

TEST_F(Descriptors, instanceOptions_areWhatWasSet) {
    descriptor->setInstanceOptions(ComponentOptions(0x21U));
    EXPECT_EQ(descriptor->getInstanceOptions().bits(), 0x21U);
}

/// What workers read while the main thread applies overrides. ThreadSanitizer sees it when this is a race.
TEST_F(Descriptors, prefabProperties_areReadableWhileOverridesAreApplied) {
    store("stored");
    std::atomic<bool> isDone{false};
    std::atomic<int> differencesCount{0};
    std::thread reader([&] {
        while (!isDone) {
            descriptor->preload();
            differencesCount += beacon().prefabProperties().text == "stored" && descriptor->name() == Beacon::NAME &&
                                        descriptor->type() == NativeComponent<Beacon>::getType()
                                    ? 0
                                    : 1;
        }
    });
    for (int round = 0; round < 2000; ++round) {
        descriptor->setupOverrides(record);
        descriptor->setupOverrides(nullptr);
    }
    isDone = true;
    reader.join();
    EXPECT_EQ(differencesCount, 0);
}

TEST(ObjectDescriptors, new_isEmpty) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    EXPECT_EQ(object->uuid(), Uuid::ZERO);
    EXPECT_TRUE(object->components().empty());
    EXPECT_EQ(object->flags().to_ulong(), 0U);
    EXPECT_FALSE(object->isInactiveByDefault());
    EXPECT_EQ(object->parentLink(), nullptr);
}

TEST(ObjectDescriptors, addComponent_keepsTheOrderAndIgnoresNull) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    const SmartPointer<IComponentDescriptor> bell = makeDescriptor(Bell::NAME);
    const SmartPointer<IComponentDescriptor> beacon = makeDescriptor(Beacon::NAME);
    object->addComponent(bell);
    object->addComponent(nullptr);
    object->addComponent(beacon);
    ASSERT_EQ(object->components().size(), 2U);
    EXPECT_TRUE(object->components()[0] == bell);
    EXPECT_TRUE(object->components()[1] == beacon);
}

TEST(ObjectDescriptors, findComponent_worksByTypeAndByName) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    EXPECT_FALSE(object->hasComponent(NativeComponent<Bell>::getType()));
    object->addComponent(makeDescriptor(Bell::NAME));
    object->addComponent(makeDescriptor(Beacon::NAME));
    IComponentDescriptor* const beacon = object->components()[1].get();
    EXPECT_EQ(object->findComponent(NativeComponent<Beacon>::getType()), beacon);
    EXPECT_EQ(object->findComponent(Beacon::NAME), beacon);
    EXPECT_TRUE(object->hasComponent(NativeComponent<Bell>::getType()));
    EXPECT_EQ(object->findComponent("Other"), nullptr);
}

TEST(ObjectDescriptors, manyComponents_areAllFound) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    for (int i = 0; i < 20; ++i) {
        object->addComponent(makeDescriptor(Bell::NAME));
    }
    object->addComponent(makeDescriptor(Beacon::NAME));
    EXPECT_EQ(object->components().size(), 21U);
    EXPECT_EQ(object->findComponent(NativeComponent<Beacon>::getType()), object->components()[20].get());
}

/// The merged root of a nested prefab shares components with the document.
TEST(ObjectDescriptors, componentDescriptor_isSharedByObjects) {
    const SmartPointer<GameObjectDescriptor> first = makeSmart<GameObjectDescriptor>();
    const SmartPointer<IComponentDescriptor> shared = makeDescriptor(Beacon::NAME);
    first->addComponent(shared);
    {
        const SmartPointer<GameObjectDescriptor> second = makeSmart<GameObjectDescriptor>();
        second->addComponent(shared);
    }
    EXPECT_EQ(first->components()[0]->name(), Beacon::NAME);
}

TEST(ObjectDescriptors, flags_firstBitIsInactiveByDefault) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    object->setFlags(std::bitset<6>(0x3E));
    EXPECT_FALSE(object->isInactiveByDefault());
    object->setFlags(std::bitset<6>(0x01));
    EXPECT_TRUE(object->isInactiveByDefault());
    EXPECT_EQ(object->flags().to_ulong(), 1U);
}

TEST(ObjectDescriptors, parentLink_isThatOfTheHierarchyComponent) {
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    const SmartPointer<IComponentDescriptor> hierarchy = makeDescriptor("HierarchyComponent");
    object->addComponent(hierarchy);
    ASSERT_NE(object->parentLink(), nullptr);
    static_cast<ComponentDescriptor<HierarchyComponent>&>(*hierarchy).config().parent.setUuid(Uuid(5, 6));
    EXPECT_EQ(object->parentLink()->uuid(), Uuid(5, 6));
    EXPECT_FALSE(object->parentLink()->isLiveUuid());
}

} // namespace
} // namespace Conformance
