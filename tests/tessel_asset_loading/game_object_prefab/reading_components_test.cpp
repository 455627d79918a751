#include "odd_components.h"
#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::ALL_ROLES;
using Tessel::ComponentOptions;
using Tessel::HierarchyComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

class ReadingComponents : public DocumentFixture {
protected:
    ReadingComponents() {
        document.root(id(1), "Root");
        document.child(id(2), "Child", id(1));
    }
    ~ReadingComponents() override { Tessel::setProcessRoles(ALL_ROLES); }

    void read(Tessel::DeseriralizeErrorHandler* errorHandler = nullptr) {
        prefab.deserialize(document.section(), errorHandler);
    }

    [[nodiscard]] GameObjectDescriptor& node(std::size_t index) const { return *prefab.getGameObject(index); }

    [[nodiscard]] std::vector<std::string> componentNames(std::size_t index) const {
        std::vector<std::string> names;
        for (const SmartPointer<IComponentDescriptor>& component : node(index).components()) {
            names.push_back(component->name());
        }
        return names;
    }

    /// Reads one item of that type on the root; the options that the descriptor got, or nothing without descriptor.
    [[nodiscard]] std::optional<std::uint32_t> optionsAfterReading(const std::string& type,
                                                                   std::optional<unsigned> options) {
        document.component(type, 0, {}, options);
        read();
        const IComponentDescriptor* const component = node(0).findComponent(type);
        return component ? std::optional(component->getInstanceOptions().bits()) : std::nullopt;
    }

    PrefabText document; // A root and its child.
};

// Components and their order.

TEST_F(ReadingComponents, item_isAttachedToItsGameObjectWithItsConfiguration) {
    document.component("TagComponent", 1, element("tag", "lit"));
    read(&handler);
    EXPECT_THAT(componentNames(0), IsEmpty());
    EXPECT_THAT(componentNames(1), ElementsAre("HierarchyComponent", "TagComponent"));
    EXPECT_EQ(findDescriptor<TagComponent>(node(1)).config().tag, "lit");
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ReadingComponents, configuration_becomesThePrefabsOwnValues) {
    document.component("TagComponent", 1, element("tag", "lit"));
    read();
    ComponentDescriptor<TagComponent>& tag = findDescriptor<TagComponent>(node(1));
    EXPECT_FALSE(tag.isOffPrefabProperties());
    tag.config().tag = "changed";
    tag.setupOverrides(nullptr);
    EXPECT_EQ(tag.config().tag, "lit");
}

TEST_F(ReadingComponents, order_isThatOfThePoolsThenOfTheItems) {
    document.component("TagComponent", 0, element("tag", "b")).component("ValuesComponent", 0);
    document.component("TagComponent", 0, element("tag", "a")).component("TransformComponent", 0);
    read();
    EXPECT_THAT(componentNames(0),
                ElementsAre("TagComponent", "TagComponent", "ValuesComponent", "TransformComponent"));
    EXPECT_EQ(findDescriptor<TagComponent>(node(0)).config().tag, "b");
}

TEST_F(ReadingComponents, configurationProblem_isLoggedAndNotReportedToTheHandler) {
    document.component("ValuesComponent", 0, element("signedNumber", "many") + element("text", "kept"));
    read(&handler);
    EXPECT_EQ(findDescriptor<ValuesComponent>(node(0)).config().text, "kept");
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_EQ(log.errors().size(), 1U);
}

// Unknown types.

TEST_F(ReadingComponents, unknownType_withHandler_isReportedThereAndItsPoolSkipped) {
    document.component("NoSuchComponent", 0).component("NoSuchComponent", 99).component("TagComponent", 0);
    read(&handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: NoSuchComponent"));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(componentNames(0), ElementsAre("TagComponent"));
}

TEST_F(ReadingComponents, unknownType_withoutHandler_isSilent) {
    document.component("NoSuchComponent", 0);
    read();
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(prefab.nodesCount(), 2U);
}

TEST_F(ReadingComponents, unknownTypes_areReportedOncePerPoolInPoolOrder) {
    document.component("Second", 0).component("First", 0).component("Second", 1);
    read(&handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: Second",
                                     "Checking harbour. Cannot found component: First"));
}

TEST_F(ReadingComponents, unknownTypeWithoutItems_isReported) {
    document.poolVersion("NoSuchComponent", 9);
    read(&handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: NoSuchComponent"));
}

TEST_F(ReadingComponents, emptyTypeName_isUnknown) {
    document.component("", 0);
    read(&handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: "));
}

TEST_F(ReadingComponents, typeThatDiffersInCase_isUnknown) {
    document.component("tagcomponent", 0);
    read(&handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: tagcomponent"));
}

// Component versions.

TEST_F(ReadingComponents, differentVersion_withHandler_isReportedThereAndItemsAreRead) {
    document.poolVersion("TagComponent", 3).component("TagComponent", 0, element("tag", "read"));
    read(&handler);
    EXPECT_THAT(handled,
                ElementsAre("Checking harbour. Component version mismatch. Component: 'TagComponent' Current version: "
                            "1. Version in prefab: 3. Content conversion is required. Correct deserialization isn't "
                            "guaranteed."));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(findDescriptor<TagComponent>(node(0)).config().tag, "read");
}

TEST_F(ReadingComponents, differentVersion_withoutHandler_isLoggedAndItemsAreRead) {
    document.poolVersion("TagComponent", 3).component("TagComponent", 0, element("tag", "read"));
    read();
    EXPECT_THAT(logged(), ElementsAre("5: Component version mismatch. Component: 'TagComponent' Current version: 1. "
                                      "Version in prefab: 3. Content conversion is required. Correct deserialization "
                                      "isn't guaranteed."));
    EXPECT_EQ(findDescriptor<TagComponent>(node(0)).config().tag, "read");
}

TEST_F(ReadingComponents, differentVersion_isReportedOncePerPool) {
    document.poolVersion("TagComponent", 3).component("TagComponent", 0).component("TagComponent", 1);
    read(&handler);
    EXPECT_EQ(handled.size(), 1U);
}

TEST_F(ReadingComponents, differentVersionOfAnEmptyPool_isReported) {
    document.poolVersion("TagComponent", 3);
    read(&handler);
    EXPECT_EQ(handled.size(), 1U);
}

TEST_F(ReadingComponents, differentVersion_isReportedBeforeTheItems) {
    document.poolVersion("TagComponent", 3).component("TagComponent", 99);
    read();
    EXPECT_THAT(logged(), ElementsAre(testing::StartsWith("5: Component version mismatch."),
                                      testing::StartsWith("5: Error deserializing component")));
}

TEST_F(ReadingComponents, largestVersion_isPrintedAsASignedNumber) {
    document.poolVersion("TagComponent", 4294967295U);
    read(&handler);
    EXPECT_THAT(handled,
                ElementsAre("Checking harbour. Component version mismatch. Component: 'TagComponent' Current version: "
                            "1. Version in prefab: -1. Content conversion is required. Correct deserialization isn't "
                            "guaranteed."));
}

TEST_F(ReadingComponents, version_isComparedWithTheRecord) {
    document.poolVersion("AdvancedComponent", ADVANCED_VERSION).component("AdvancedComponent", 0);
    read(&handler);
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(ReadingComponents, missingVersion_isOne) {
    document.poolVersion("AdvancedComponent", std::nullopt).component("AdvancedComponent", 0);
    read(&handler);
    EXPECT_THAT(handled,
                ElementsAre("Checking harbour. Component version mismatch. Component: 'AdvancedComponent' Current "
                            "version: 7. Version in prefab: 1. Content conversion is required. Correct deserialization "
                            "isn't guaranteed."));
}

// Game object indices.

TEST_F(ReadingComponents, indexEqualToTheCount_isLoggedAndTheOthersAreRead) {
    document.component("TagComponent", 2).component("TagComponent", 1, element("tag", "read"));
    read(&handler);
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_EQ(findDescriptor<TagComponent>(node(1)).config().tag, "read");
}

TEST_F(ReadingComponents, largestIndex_isOutOfRange) {
    document.item("TagComponent", element("gameObject", "18446744073709551615"));
    read();
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
}

TEST_F(ReadingComponents, indexBeyond32Bits_isOutOfRange) {
    document.component("TagComponent", std::size_t(1) << 32U);
    read();
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
    EXPECT_THAT(componentNames(0), IsEmpty());
}

TEST_F(ReadingComponents, missingIndex_isOutOfRange) {
    document.item("TagComponent", element("options", "35"));
    read(&handler);
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(ReadingComponents, outOfRange_isReportedBeforeTheOptionsAreLookedAt) {
    document.component("TagComponent", 5, {}, 0);
    read();
    EXPECT_EQ(logged().size(), 1U);
}

// Instance options.

TEST_F(ReadingComponents, options_missing_areThoseOfTheRecord) {
    EXPECT_EQ(optionsAfterReading("TagComponent", std::nullopt), 0x23U);
}

TEST_F(ReadingComponents, options_areMaskedWithTheRecords) {
    EXPECT_EQ(optionsAfterReading("TagComponent", 0x3E), 0x22U);
}

TEST_F(ReadingComponents, options_pinnedByTheRecord_replaceTheStoredOnes) {
    EXPECT_EQ(optionsAfterReading("PinnedComponent", 0x22), PINNED_OPTIONS);
}

TEST_F(ReadingComponents, options_pinnedByTheRecord_storedOnesThatDoNotReadAreReportedAllTheSame) {
    document.item("PinnedComponent", element("gameObject", "0") + element("options", "many"));
    read();
    EXPECT_THAT(logged(), ElementsAre(testing::StartsWith("5: 'options' can't be read from 'many'")));
    EXPECT_EQ(node(0).components().size(), 1U);
}

TEST_F(ReadingComponents, options_doNotRead_areReportedOnce) {
    document.item("TagComponent", element("gameObject", "0") + element("options", "many"));
    read();
    EXPECT_THAT(logged(), ElementsAre(testing::StartsWith("5: 'options' can't be read from 'many'")));
    EXPECT_EQ(node(0).components().size(), 1U);
}

TEST_F(ReadingComponents, options_ofAnItemOutOfRange_areNotLookedAt) {
    document.item("TagComponent", element("gameObject", "9") + element("options", "many"));
    read();
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
}

TEST_F(ReadingComponents, options_withoutRoleInCommon_skipTheItemSilently) {
    EXPECT_EQ(optionsAfterReading("TagComponent", 0), std::nullopt);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ReadingComponents, options_roleOfAnotherProcess_skipTheItemSilently) {
    Tessel::setProcessRoles(ComponentOptions(0x01U));
    EXPECT_EQ(optionsAfterReading("TagComponent", 0x22), std::nullopt);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ReadingComponents, options_oneRoleOfThisProcess_areEnough) {
    Tessel::setProcessRoles(ComponentOptions(0x22U));
    EXPECT_EQ(optionsAfterReading("TagComponent", 0x21), 0x21U);
}

TEST_F(ReadingComponents, options_pinned_areCheckedInsteadOfTheStoredOnes) {
    Tessel::setProcessRoles(ComponentOptions(0x02U));
    EXPECT_EQ(optionsAfterReading("PinnedComponent", 0x02), std::nullopt);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ReadingComponents, options_roleCheckSkippedByTheRecord_anyItemIsRead) {
    Tessel::setProcessRoles(ComponentOptions(0x20U));
    EXPECT_EQ(optionsAfterReading("EverywhereComponent", 0x01), 0x01U);
}

TEST_F(ReadingComponents, options_roleCheckSkippedByTheRecord_evenWithoutAnyOption) {
    EXPECT_EQ(optionsAfterReading("EverywhereComponent", 0), 0U);
}

TEST_F(ReadingComponents, options_roleCheckBitOfTheItemAlone_doesNotCount) {
    Tessel::setProcessRoles(ComponentOptions(0x20U));
    EXPECT_EQ(optionsAfterReading("TagComponent", 0x11), std::nullopt);
}

TEST_F(ReadingComponents, options_pinnedAndRoleCheckSkipped_areTheRecords) {
    Tessel::setProcessRoles(ComponentOptions(0x01U));
    EXPECT_EQ(optionsAfterReading("PinnedEverywhereComponent", 0x21), PINNED_EVERYWHERE_OPTIONS);
}

// Descriptors that can't be made.

TEST_F(ReadingComponents, factoryYieldsNull_isLoggedPerItemAndSkipped) {
    document.component("UnmakeableComponent", 0).component("UnmakeableComponent", 1).component("TagComponent", 0);
    read(&handler);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to create a component of type 'UnmakeableComponent'.",
                                      "5: Failed to create a component of type 'UnmakeableComponent'."));
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(componentNames(0), ElementsAre("TagComponent"));
}

TEST_F(ReadingComponents, factoryIsNotReachedForItemsThatAreNotWanted) {
    document.component("UnmakeableComponent", 0, {}, 0);
    read();
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
