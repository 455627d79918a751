#include <prefab_comparison/document_index.h>
#include <prefab_comparison/override_records.h>
#include <prefab_comparison/value_comparison.h>
#include <support/prefab_text.h>

#include <object_serialization/component_library.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabComparisonTests {

namespace {

using PrefabComparison::DocumentIndex;
using PrefabComparison::OverrideText;
using PrefabComparison::ValueComparison;
using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// A document and its index.
struct Indexed {
    explicit Indexed(const PrefabText& text) : document(text.section()), index(document) {}

    PrefabInspection::PrefabDocument document;
    DocumentIndex index;
};

TEST(DocumentIndex, objects_areFoundByUuid) {
    const Indexed indexed(PrefabText().object(id(1), "A").object(id(2), "B").object(id(1), "C").object(id(1), "D"));
    EXPECT_EQ(indexed.index.findObject(id(2)), 1U);
    EXPECT_EQ(indexed.index.findObject(id(3)), DocumentIndex::NONE);
    EXPECT_EQ(indexed.index.findObject(id(1)), 0U);
    EXPECT_EQ(indexed.index.nextWithSameUuid(0), 2U);
    EXPECT_EQ(indexed.index.nextWithSameUuid(2), 3U);
    EXPECT_EQ(indexed.index.nextWithSameUuid(3), DocumentIndex::NONE);
    EXPECT_TRUE(indexed.index.hasRepeatedUuids());
}

TEST(DocumentIndex, emptyDocument_hasNoObjects) {
    const Indexed indexed((PrefabText()));
    EXPECT_EQ(indexed.index.findObject(id(1)), DocumentIndex::NONE);
    EXPECT_TRUE(indexed.index.strayComponents().empty());
}

TEST(DocumentIndex, components_areThoseOfTheObject) {
    const Indexed indexed(PrefabText()
                              .object(id(1), "A")
                              .object(id(2), "B")
                              .component("PlateComponent", 1)
                              .component("LanternComponent", 1)
                              .component("PlateComponent", 1)
                              .component("PlateComponent", 7));
    EXPECT_EQ(indexed.index.components(0).size(), 0U);
    EXPECT_EQ(indexed.index.components(1).size(), 3U);
    EXPECT_EQ(indexed.index.strayComponents().size(), 1U);
    EXPECT_EQ(indexed.index.findComponent(1, "PlateComponent", 1)->item, &indexed.document.pools[0].items[1]);
    EXPECT_EQ(indexed.index.findComponent(1, "PlateComponent", 2), nullptr);
}

TEST(DocumentIndex, parent_isThatOfTheHierarchyComponent) {
    const Indexed indexed(PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)));
    EXPECT_FALSE(indexed.index.parent(0));
    EXPECT_EQ(indexed.index.parent(1)->uuid, id(1));
    EXPECT_EQ(indexed.index.path(1), "A/B");
}

TEST(DocumentIndex, unreadableParent_isNotUsed) {
    const Indexed indexed(
        PrefabText().object(id(1), "A").component("HierarchyComponent", 0, element("parent", "lamp")));
    EXPECT_FALSE(indexed.index.parent(0)->isReadable);
    EXPECT_EQ(indexed.index.path(0), "A");
}

TEST(DocumentIndex, pathInACycle_namesEachObjectOnce) {
    const Indexed indexed(PrefabText().object(id(1), "A").object(id(2), "B").parent(0, id(2)).parent(1, id(1)));
    EXPECT_EQ(indexed.index.path(0), "B/A");
}

TEST(DocumentIndex, longPath_isCutOff) {
    PrefabText text;
    text.object(id(1), "A");
    for (std::size_t i = 1; i < 200; ++i) {
        text.object(id(i + 1), "A").parent(i, id(i));
    }
    const std::string path = Indexed(text).index.path(199);
    EXPECT_THAT(path, testing::StartsWith(".../A/A"));
    EXPECT_EQ(path.size(), 203U);
}

TEST(OverrideText, records_areListedByProperty) {
    const OverrideText text(TestSupport::OverridesText()
                                .record(id(1), "PlateComponent", element("width", "1") + element("text", "t"))
                                .record(id(1), "PlateComponent", element("width", "2"))
                                .record(id(2), "PlateComponent", "")
                                .text());
    ASSERT_EQ(text.records().size(), 4U);
    EXPECT_EQ(text.find({id(1).toString(), "PlateComponent", "width", 1})->element.text(), "2");
    EXPECT_TRUE(text.find({id(2).toString(), "PlateComponent", "", 0}));
    EXPECT_FALSE(text.find({id(2).toString(), "PlateComponent", "width", 0}));
}

TEST(OverrideText, textThatTheLoaderIgnores_isNotReadable) {
    EXPECT_TRUE(OverrideText("").isReadable());
    EXPECT_TRUE(OverrideText("<overrides/>").isReadable());
    EXPECT_FALSE(OverrideText("  ").isReadable());
    EXPECT_FALSE(OverrideText("<other/>").isReadable());
    EXPECT_FALSE(OverrideText("<overrides>").isReadable());
}

TEST(ValueComparison, typedValues_areComparedByValue) {
    const auto isSame = [](const char* type, const std::string& a, const std::string& b) {
        const SmartPointer<DataSection> sectionA = DataSection::fromText("<a>" + a + "</a>", "a");
        const SmartPointer<DataSection> sectionB = DataSection::fromText("<a>" + b + "</a>", "b");
        const DataNode nodeA = sectionA->node().firstChild();
        const DataNode nodeB = sectionB->node().firstChild();
        return ValueComparison().isSameValue(ComponentLibrary::instance().findComponent(type), nodeA.name(), nodeA,
                                             nodeB);
    };
    const std::string matrix = " 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";
    EXPECT_TRUE(isSame("TransformComponent", element("local", "1" + matrix), element("local", "1.0" + matrix)));
    EXPECT_FALSE(isSame("TransformComponent", element("local", "1" + matrix), element("local", "2" + matrix)));
    EXPECT_TRUE(isSame("PlateComponent", element("target", "ABCDEF00-0000-0000-0000-000000000001"),
                       element("target", "abcdef00-0000-0000-0000-000000000001")));
    EXPECT_FALSE(isSame("PlateComponent", "<width>1<x/></width>", element("width", "1")));
    EXPECT_FALSE(isSame("PlateComponent", "<rows><value/><note/></rows>", "<rows><value/></rows>"));
    EXPECT_FALSE(isSame("PlateComponent", "<rows>text<value/></rows>", "<rows><value/></rows>"));
    EXPECT_TRUE(isSame("LanternComponent", "<rows> <value/> </rows>", "<rows><value/></rows>"));
    EXPECT_FALSE(isSame("LanternComponent", "<rows><a/><b/></rows>", "<rows><b/><a/></rows>"));
}

} // namespace

} // namespace Kiln::PrefabComparisonTests
