#include "document_fixture.h"

#include <support/scoped_limits.h>

namespace Kiln::SerializationTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReadingVectors : public PropertiesFixture<ValuesComponent> {};

TEST_F(ReadingVectors, elements_replaceTheDefault) {
    read("<numbers><value>1</value><value> -2 </value><value>3</value></numbers>");
    EXPECT_THAT(config.numbers, ElementsAre(1, -2, 3));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingVectors, emptySection_isAnEmptyVector) {
    read("<numbers></numbers>");
    EXPECT_THAT(config.numbers, IsEmpty());
}

TEST_F(ReadingVectors, strings_areKeptByteForByte) {
    read("<texts><value> a </value><value></value><value>&lt;\n</value></texts>");
    EXPECT_THAT(config.texts, ElementsAre(" a ", "", "<\n"));
}

TEST_F(ReadingVectors, vectorsOfVectors) {
    read("<rows><value><value>1</value><value>2</value></value><value/></rows>");
    EXPECT_THAT(config.rows, ElementsAre(ElementsAre(1, 2), IsEmpty()));
}

TEST_F(ReadingVectors, unreadableElement_isADefaultElementAndAnError) {
    read("<numbers>\n<value>1</value>\n<value>x</value>\n<value>3</value></numbers>");
    EXPECT_THAT(config.numbers, ElementsAre(1, 0, 3));
    EXPECT_THAT(log.messages(), ElementsAre(propertyError("Component 'Name': property 'value' can't be read as int32 "
                                                          "from 'x' (test.prefab, line 3)")));
}

TEST_F(ReadingVectors, childOfAnotherName_isAWarningAndNoElement) {
    read("<numbers><value>1</value><item>2</item></numbers>");
    EXPECT_THAT(config.numbers, ElementsAre(1));
    EXPECT_THAT(log.messages(), ElementsAre(propertyWarning("Component 'Name': property 'item' is not an element of a "
                                                            "vector and is skipped (test.prefab, line 1)")));
}

TEST_F(ReadingVectors, structure_readsItsPropertiesAndKeepsTheAbsentOnes) {
    read("<point><label> L </label></point>");
    EXPECT_EQ(config.point.label, " L ");
    EXPECT_EQ(config.point.x, 1.0F);
}

TEST_F(ReadingVectors, structureWithUnknownProperty_isAWarning) {
    read("<point><z>3</z><x>2</x></point>");
    EXPECT_EQ(config.point.x, 2.0F);
    EXPECT_THAT(log.messages(), ElementsAre(propertyWarning("Component 'Name': property 'z' is not known and is "
                                                            "skipped (test.prefab, line 1)")));
}

TEST_F(ReadingVectors, vectorOfStructures) {
    read("<points><value><x>2</x><label>a</label></value><value/></points>");
    ASSERT_EQ(config.points.size(), 2U);
    EXPECT_EQ(config.points[0].x, 2.0F);
    EXPECT_EQ(config.points[0].label, "a");
    EXPECT_EQ(config.points[1].x, 1.0F);
}

TEST_F(ReadingVectors, structureOfStructures) {
    read("<route><start><label>a</label></start><stops><value><label>b</label></value></stops></route>");
    EXPECT_EQ(config.route.start.label, "a");
    ASSERT_EQ(config.route.stops.size(), 1U);
    EXPECT_EQ(config.route.stops[0].label, "b");
}

TEST_F(ReadingVectors, readTwice_theSecondTextReplacesVectorsAndFillsStructuresUp) {
    read("<numbers><value>1</value><value>2</value></numbers><point><x>5</x></point>");
    read("<numbers><value>9</value></numbers><point><label>l</label></point>");
    EXPECT_THAT(config.numbers, ElementsAre(9));
    EXPECT_EQ(config.point.x, 5.0F);
    EXPECT_EQ(config.point.label, "l");
}

/// Recursive structures: each level below the property `tree` costs two steps, the vector and its element.
class DeepNesting : public PropertiesFixture<TreeComponent> {
protected:
    static constexpr int DEEPEST = 63;

    /// A `tree` with that many levels of children.
    [[nodiscard]] static std::string treeText(int levels) {
        std::string text = "<tree>";
        for (int i = 0; i < levels; ++i) {
            text += "<children><value>";
        }
        text += "<name>leaf</name>";
        for (int i = 0; i < levels; ++i) {
            text += "</value></children>";
        }
        return text + "</tree>";
    }

    [[nodiscard]] const Tree& descend(int levels) const {
        const Tree* tree = &config.tree;
        for (int i = 0; i < levels; ++i) {
            tree = &tree->children.at(0);
        }
        return *tree;
    }
};

TEST_F(DeepNesting, asDeepAsAllowed_isRead) {
    read(treeText(DEEPEST));
    EXPECT_EQ(descend(DEEPEST).name, "leaf");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(DeepNesting, oneLevelDeeper_isAnErrorAndNotRead) {
    read(treeText(DEEPEST + 1));
    EXPECT_EQ(descend(DEEPEST).name, "");
    EXPECT_THAT(log.messages(), ElementsAre(propertyError("Component 'Name': property 'name' is nested too deep and "
                                                          "is skipped (test.prefab, line 1)")));
}

TEST_F(DeepNesting, farTooDeep_isOneErrorAndDoesNotExhaustTheStack) {
    const TestSupport::ScopedLimits limits({.elementDepth = 1'000'000});
    read(treeText(100000));
    EXPECT_EQ(descend(DEEPEST).name, "");
    EXPECT_EQ(log.messages().size(), 1U);
}

} // namespace
} // namespace Kiln::SerializationTests
