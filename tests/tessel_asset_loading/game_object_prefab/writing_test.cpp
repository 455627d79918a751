#include "odd_components.h"
#include <tessel_asset_loading/support/document_fixture.h>

#include <map>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::ComponentOptions;
using Tessel::GameObjectPrefab;
using Tessel::HierarchyComponent;
using Tessel::NativeComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

class Writing : public DocumentFixture {
protected:
    [[nodiscard]] static SmartPointer<DataSection> parsed(const std::string& text) {
        return DataSection::fromText(text, "expected document");
    }

    /// The text of the document that a prefab is written to.
    [[nodiscard]] std::string written(const GameObjectPrefab& from) const {
        from.serialize(section);
        return section->toText();
    }

    /// The message that writing logs for the id of a type without a record.
    [[nodiscard]] static std::string messageAboutTheUnrecordedType() {
        try {
            (void)ComponentLibrary::instance().componentMeta(NativeComponent<UnrecordedComponent>::getType());
        } catch (const std::runtime_error& error) {
            return std::string("5: GameObjectPrefab: ") + error.what();
        }
        return "the type has a record";
    }

    /// The texts that the children of a section have below a name.
    [[nodiscard]] static std::vector<std::string> childTexts(const DataSection& parent, const std::string& name) {
        std::vector<std::string> texts;
        for (const SmartPointer<DataSection> child : parent) {
            texts.push_back(child->readString(name));
        }
        return texts;
    }

    SmartPointer<DataSection> section = DataSection::create("prefab");
};

TEST_F(Writing, serialize_wholeDocument_isWrittenInTheStatedOrder) {
    // Components are added against the order of their ids, nodes in the order of the document.
    PrefabBuilder builder;
    builder.root(id(1), "Harbour", 0x02).with<TagComponent>({"a & b", "n"});
    builder.nested(id(2), "Lamp", id(1), "props/lamp.prefab");
    builder.child(id(3), "Crate", id(1)).with<TagComponent>({"wood", {}});
    std::string pools[3] = {
        element("pool", element("type", "HierarchyComponent") + element("version", "1") +
                            element("item", element("gameObject", "1") + element("options", "35") +
                                                element("properties", element("parent", id(1).toString()))) +
                            element("item", element("gameObject", "2") + element("options", "35") +
                                                element("properties", element("parent", id(1).toString())))),
        element("pool",
                element("type", "PrefabComponent") + element("version", "1") +
                    element("item", element("gameObject", "1") + element("options", "35") +
                                        element("properties", PrefabText::prefabProperties("props/lamp.prefab")))),
        element("pool",
                element("type", "TagComponent") + element("version", "1") +
                    element("item", element("gameObject", "0") + element("options", "35") +
                                        element("properties", element("tag", "a &amp; b") + element("note", "n"))) +
                    element("item", element("gameObject", "2") + element("options", "35") +
                                        element("properties", element("tag", "wood") + element("note", ""))))};
    // The order of the pools is that of the component ids, which the loading order of the libraries decides.
    std::map<Tessel::ComponentTypeId, std::string> poolsById{
        {NativeComponent<HierarchyComponent>::getType(), pools[0]},
        {NativeComponent<Tessel::PrefabComponent>::getType(), pools[1]},
        {NativeComponent<TagComponent>::getType(), pools[2]}};
    std::string components;
    for (const auto& [typeId, pool] : poolsById) {
        components += pool;
    }
    const auto gameObject = [](const Uuid& uuid, const std::string& name, const std::string& flags) {
        return element("gameObject",
                       element("uuid", uuid.toString()) + element("name", name) + element("flags", flags));
    };
    const std::string expected = element("prefab", element("formatVersion", "1") +
                                                       element("gameObjects", gameObject(id(1), "Harbour", "2") +
                                                                                  gameObject(id(2), "Lamp", "0") +
                                                                                  gameObject(id(3), "Crate", "0")) +
                                                       element("components", components));
    EXPECT_EQ(written(builder.build()), parsed(expected)->toText());
}

TEST_F(Writing, serialize_nodesWithoutComponents_writesAnEmptyComponentStorage) {
    const std::string expected =
        element("prefab",
                element("formatVersion", "1") +
                    element("gameObjects", element("gameObject", element("uuid", id(1).toString()) +
                                                                     element("name", "Bare") + element("flags", "0"))) +
                    element("components", ""));
    EXPECT_EQ(written(PrefabBuilder().root(id(1), "Bare").build()), parsed(expected)->toText());
}

TEST_F(Writing, serialize_nullSection_isReportedAndStoresNothing) {
    PrefabBuilder().root(id(1), "Bare").build().serialize(nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to serialize prefab. There is no section to write to."));
}

TEST_F(Writing, serialize_emptyPrefab_writesEmptyPools) {
    EXPECT_EQ(written(prefab),
              parsed(element("prefab", element("formatVersion", "1") + "<gameObjects/><components/>"))->toText());
}

TEST_F(Writing, serialize_poolsAreInTheOrderOfTheTypeIds) {
    PrefabBuilder builder;
    builder.root(id(1)).with<LastComponent>().with<AdvancedComponent>().with<PinnedComponent>();
    builder.build().serialize(section);
    std::vector<std::string> types;
    const SmartPointer<DataSection> components = section->openSection("components", false);
    for (const SmartPointer<DataSection> pool : *components) {
        types.push_back(pool->readString("type"));
    }
    EXPECT_THAT(types, ElementsAre("PinnedComponent", "AdvancedComponent", "LastComponent"));
}

TEST_F(Writing, serialize_poolVersionIsThatOfTheRecord) {
    PrefabBuilder().root(id(1)).with<AdvancedComponent>().build().serialize(section);
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->readUInt64("version"), ADVANCED_VERSION);
}

TEST_F(Writing, serialize_optionsAreMaskedToTheRoles) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>();
    findDescriptor<TagComponent>(builder.last()).setInstanceOptions(ComponentOptions(0xFFFFFFFFU));
    builder.build().serialize(section);
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->openSection("item", false)->readUInt64("options"), 0x23U);
}

TEST_F(Writing, serialize_optionsWithinTheMaskStayAsTheyAre) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>();
    findDescriptor<TagComponent>(builder.last()).setInstanceOptions(ComponentOptions(0x1AU));
    builder.build().serialize(section);
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->openSection("item", false)->readUInt64("options", 99), 0x02U);
}

TEST_F(Writing, serialize_changedConfiguration_isWrittenAndBecomesThePrefabsOwn) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>({"old", {}});
    ComponentDescriptor<TagComponent>& tag = findDescriptor<TagComponent>(builder.last());
    tag.config().tag = "new";
    builder.build().serialize(section);
    EXPECT_FALSE(tag.isOffPrefabProperties());
    EXPECT_EQ(tag.prefabProperties().tag, "new");
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->openSection("item", false)->openSection("properties", false)->readString("tag"), "new");
}

TEST_F(Writing, serialize_existingPools_areAppendedToAndKeepTheirVersion) {
    PrefabText existing;
    existing.root(id(1), "Present");
    existing.poolVersion("TagComponent", 5).component("TagComponent", 0, element("tag", "present"));
    section = existing.section();
    PrefabBuilder().root(id(2), "Added").with<TagComponent>({"added", {}}).build().serialize(section);
    const SmartPointer<DataSection> gameObjects = section->openSection("gameObjects", false);
    EXPECT_THAT(childTexts(*gameObjects, "name"), ElementsAre("Present", "Added"));
    const SmartPointer<DataSection> components = section->openSection("components", false);
    ASSERT_EQ(components->childrenCount(), 1U);
    const SmartPointer<DataSection> pool = *components->begin();
    EXPECT_EQ(pool->readUInt64("version"), 5U);
    EXPECT_EQ(pool->childrenCount(), 4U); // Type, version and two items.
    // The new item names the node by its id, whatever the document held before.
    EXPECT_THAT(childTexts(*pool, "gameObject"), ElementsAre("", "", "0", "0"));
}

TEST_F(Writing, serialize_existingFormatVersion_isReplaced) {
    section = PrefabText().formatVersion(9).section();
    prefab.serialize(section);
    EXPECT_EQ(section->readUInt64("formatVersion"), 1U);
}

TEST_F(Writing, serialize_typeWithoutRecord_isLoggedAndTheLaterTypesAreWritten) {
    PrefabBuilder().root(id(1)).with<LastComponent>().build().serialize(section);
    EXPECT_THAT(logged(), ElementsAre(messageAboutTheUnrecordedType()));
    EXPECT_EQ(section->openSection("components", false)->childrenCount(), 1U);
}

TEST_F(Writing, serialize_nodeWithTwoOfAType_writesTheFirst) {
    PrefabBuilder().root(id(1)).with<TagComponent>({"a", {}}).with<TagComponent>({"b", {}}).build().serialize(section);
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->childrenCount(), 3U); // Type, version and one item.
    EXPECT_EQ(pool->openSection("item", false)->openSection("properties", false)->readString("tag"), "a");
}

TEST_F(Writing, serialize_existingEmptyPool_keepsItsVersion) {
    section = PrefabText().poolVersion("AdvancedComponent", 5).section();
    PrefabBuilder().root(id(1)).with<AdvancedComponent>().build().serialize(section);
    const SmartPointer<DataSection> pool = *section->openSection("components", false)->begin();
    EXPECT_EQ(pool->readUInt64("version"), 5U);
    EXPECT_EQ(pool->childrenCount(), 3U); // Type, version and one item.
}

TEST_F(Writing, serialize_changedConfigurations_ofAllNodesAreTaken) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>().child(id(2), "Child", id(1)).with<TagComponent>();
    const GameObjectPrefab original = builder.build();
    for (std::size_t node = 0; node < 2; ++node) {
        findDescriptor<TagComponent>(*original.getGameObject(node)).config().tag = "changed";
    }
    original.serialize(section);
    EXPECT_FALSE(findDescriptor<TagComponent>(*original.getGameObject(0)).isOffPrefabProperties());
    EXPECT_FALSE(findDescriptor<TagComponent>(*original.getGameObject(1)).isOffPrefabProperties());
}

TEST_F(Writing, serialize_leavesThePrefabAsItWas) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<TagComponent>({"tag", "note"}).child(id(2), "Child", id(1));
    const GameObjectPrefab original = builder.build();
    original.serialize(section);
    ASSERT_EQ(original.nodesCount(), 2U);
    EXPECT_EQ(original.getGameObject(0)->components().size(), 1U);
    EXPECT_EQ(findDescriptor<TagComponent>(*original.getGameObject(0)).config().tag, "tag");
    EXPECT_EQ(original.parentNodeId(1), 0U);
}

// Round trips.

TEST_F(Writing, roundTrip_keepsNodesAndComponentTypes) {
    PrefabBuilder builder;
    builder.root(id(1), "Root", 0x25).with<TransformComponent>().with<TagComponent>();
    builder.child(id(2), "", id(1)).nested(id(3), "Nested", id(2), "a.prefab");
    builder.build().serialize(section);
    prefab.deserialize(section, &handler);
    ASSERT_EQ(prefab.nodesCount(), 3U);
    EXPECT_EQ(prefab.getGameObject(0)->uuid(), id(1));
    EXPECT_EQ(prefab.getGameObject(0)->name(), "Root");
    EXPECT_EQ(prefab.getGameObject(0)->flags().to_ulong(), 0x25U);
    EXPECT_EQ(prefab.getGameObject(0)->components().size(), 2U);
    EXPECT_TRUE(prefab.getGameObject(0)->hasComponent(NativeComponent<TransformComponent>::getType()));
    EXPECT_TRUE(prefab.getGameObject(0)->hasComponent(NativeComponent<TagComponent>::getType()));
    EXPECT_EQ(prefab.getGameObject(1)->components().size(), 1U);
    EXPECT_EQ(prefab.parentNodeId(1), 0U);
    EXPECT_EQ(prefab.parentNodeId(2), 1U);
    EXPECT_THAT(prefab.getNestedPrefabs(), ElementsAre("a.prefab"));
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(Writing, roundTrip_keepsEveryKindOfValue) {
    ValuesComponent::Config config;
    config.isOn = true;
    config.signedNumber = -2147483647 - 1;
    config.unsignedNumber = 18446744073709551615ULL;
    config.single = 0.1F;
    config.real = -1.0 / 3;
    config.text = " <two>\n lines & \"quotes\" ";
    config.uuid = Uuid(0x5b0f1c2e6a0d4f43ULL, 0x9f6e0d9a35b1c001ULL);
    config.matrix = Matrix::translation(1, -2.5F, 1e-7F);
    config.numbers = {1, -2, 3};
    config.measure = {"m", 2.5};
    config.measures = {{"kg", 1e300}, {"", -0.0}};
    PrefabBuilder().root(id(1)).with<ValuesComponent>(config).build().serialize(section);
    prefab.deserialize(DataSection::fromText(section->toText(), "written document"), &handler);
    ASSERT_EQ(prefab.nodesCount(), 1U);
    EXPECT_EQ(findDescriptor<ValuesComponent>(*prefab.getGameObject(0)).config(), config);
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(Writing, roundTrip_losesOptionsOtherThanTheRoles) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>();
    findDescriptor<TagComponent>(builder.last()).setInstanceOptions(ComponentOptions(0x3DU));
    builder.build().serialize(section);
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(findDescriptor<TagComponent>(*prefab.getGameObject(0)).getInstanceOptions().bits(), 0x21U);
}

TEST_F(Writing, roundTrip_ofAReadDocument_isTheSameText) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<TagComponent>({"t", "n"}).child(id(2), "Child", id(1)).with<ValuesComponent>();
    const std::string first = written(builder.build());
    prefab.deserialize(DataSection::fromText(first, "first"), nullptr);
    section = DataSection::create("prefab");
    EXPECT_EQ(written(prefab), first);
}

} // namespace
} // namespace Kiln::TestSupport
