#include "comparison_fixture.h"

#include <prefab_comparison/text_comparison.h>

#include <iterator>
#include <random>

namespace Kiln::PrefabComparisonTests {

namespace {

using PrefabComparison::TextComparison;
using testing::ElementsAre;
using testing::IsEmpty;

/// The changes that a comparison of the texts finds, with the lines. They have to be those of the whole documents.
[[nodiscard]] std::vector<std::string> compared(const std::string& a, const std::string& b) {
    const auto describe = [](const std::vector<Change>& changes) {
        std::vector<std::string> lines;
        for (const Change& change : changes) {
            lines.push_back(lineOf(change) + " @" + std::to_string(change.lineBefore) + " @" +
                            std::to_string(change.lineAfter));
        }
        return lines;
    };
    const TextComparison found =
        PrefabComparison::compareTexts("a", FileContent::copyOf(a), "b", FileContent::copyOf(b));
    const LoadedDocument documentA("a", FileContent::copyOf(a));
    const LoadedDocument documentB("b", FileContent::copyOf(b));
    const std::string& problem = documentA.problem().empty() ? documentB.problem() : documentA.problem();
    EXPECT_EQ(found.problem, problem);
    if (problem.empty()) {
        EXPECT_EQ(describe(found.changes), describe(compareDocuments(documentA, documentB)));
    }
    return describe(found.changes);
}

/// Three components, one element a line.
[[nodiscard]] std::string document() {
    std::string text = PrefabText()
                           .object(id(1), "A")
                           .component("PlateComponent", 0, element("width", "1"))
                           .component("PlateComponent", 0, element("width", "2") + element("text", "two"))
                           .component("PlateComponent", 0, element("width", "3"))
                           .text();
    for (std::size_t end = text.find("><"); end != std::string::npos; end = text.find("><", end + 1)) {
        text.insert(end + 1, "\n");
    }
    return text;
}

[[nodiscard]] std::string replaced(std::string text, const std::string& old, const std::string& by) {
    return text.replace(text.find(old), old.size(), by);
}

TEST(TextComparison, sameTexts_haveNoChange) {
    EXPECT_THAT(compared(document(), document()), IsEmpty());
}

TEST(TextComparison, changeInsideOfAnItem_hasTheLinesOfTheFiles) {
    EXPECT_THAT(compared(document(), replaced(document(), "2</width>", "\n\n7</width>\n<note/>")),
                ElementsAre("value-changed 1 A PlateComponent#1 .width: 2 -> \n\n7 @23 @23",
                            "value-added 1 A PlateComponent#1 .note: none ->  @20 @26"));
}

TEST(TextComparison, everyReplacementOfATag_isComparedAsAWhole) {
    const std::string text = document();
    for (std::size_t start = text.find("<pool>"); start != std::string::npos; start = text.find('<', start + 1)) {
        SCOPED_TRACE(start);
        const std::size_t end = text.find('>', start) + 1;
        for (const char* const by :
             {"", "<item>", "</item>", "<item/>", "</item><item>", "</item><!--", "<width>8</width>",
              "</item></pool><pool><type>X</type><item>", "<gameObject>7</gameObject>", "<![CDATA["}) {
            SCOPED_TRACE(by);
            static_cast<void>(compared(text, text.substr(0, start) + by + text.substr(end)));
            static_cast<void>(compared(text, text.substr(0, start) + by + text.substr(start)));
        }
    }
}

TEST(TextComparison, everyChangeOfALetter_isComparedAsAWhole) {
    const std::string text = document();
    for (std::size_t position = text.find("<pool>"); position < text.size(); ++position) {
        SCOPED_TRACE(position);
        std::string changed = text;
        changed[position] = changed[position] == '4' ? '5' : '4';
        static_cast<void>(compared(text, changed));
        changed.erase(position, 1);
        static_cast<void>(compared(text, changed));
    }
}

TEST(TextComparison, changesInSeveralItems_areInTheOrderOfTheObjects) {
    PrefabText prefab;
    prefab.object(id(1), "A").object(id(2), "B");
    prefab.component("PlateComponent", 1, element("width", "1")).component("PlateComponent", 0, element("width", "2"));
    prefab.component("LampComponent", 1, element("glow", "3")).component("LampComponent", 0, element("glow", "4"));
    std::string text = prefab.text();
    for (std::size_t end = text.find("><"); end != std::string::npos; end = text.find("><", end + 1)) {
        text.insert(end + 1, "\n");
    }
    std::string changed = replaced(text, "1</width>", "\n\n5</width>");
    changed = replaced(changed, "2</width>", "6</width>\n<note/>");
    changed = replaced(changed, "4</glow>", "7</glow>");
    EXPECT_THAT(compared(text, changed), ElementsAre("value-changed 1 A PlateComponent .width: 2 -> 6 @28 @30",
                                                     "value-added 1 A PlateComponent .note: none ->  @25 @31",
                                                     "value-changed 1 A LampComponent .glow: 4 -> 7 @44 @47",
                                                     "value-changed 2 B PlateComponent .width: 1 -> \n\n5 @22 @22"));
}

TEST(TextComparison, randomChangesInItems_areThoseOfTheWholeDocuments) {
    PrefabText prefab;
    for (unsigned object = 0; object < 12; ++object) {
        prefab.object(id(object + 1), "Object " + std::to_string(object));
    }
    for (const char* const type : {"PlateComponent", "LampComponent"}) {
        for (unsigned object = 0; object < 12; ++object) {
            prefab.component(type, 11 - object, element("width", std::to_string(object)) + element("text", "abc"));
        }
    }
    std::string text = prefab.text();
    for (std::size_t end = text.find("><"); end != std::string::npos; end = text.find("><", end + 1)) {
        text.insert(end + 1, "\n");
    }
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        std::string changed = text;
        const std::size_t count = random() % 6 + 1;
        for (std::size_t i = 0; i < count; ++i) {
            static constexpr const char* REPLACEMENTS[] = {
                "",     "x",  "\n", "<a/>", "&amp;\n", "</text>\n<text>", "<item>", "</item>", "</item>\n<item>",
                "<!--", "]]>"};
            const std::size_t begin = changed.find("<components>");
            const std::size_t position = begin + random() % (changed.size() - begin);
            changed.replace(position, random() % 3, REPLACEMENTS[random() % std::size(REPLACEMENTS)]);
        }
        static_cast<void>(compared(text, changed));
        static_cast<void>(compared(changed, text));
    }
}

TEST(TextComparison, commentsWithTags_areNoItems) {
    const std::string commented = replaced(document(), "2</width>", "2</width><!-- <item> </item> -->");
    EXPECT_THAT(compared(commented, replaced(commented, "two", "three")), testing::SizeIs(1));
    const std::string between = replaced(document(), "</item>", "</item><!-- </item> -->");
    EXPECT_THAT(compared(between, replaced(between, "1</width>", "4</width>")), testing::SizeIs(1));
    EXPECT_THAT(compared(between, replaced(between, "<!-- </item> -->", "<!-- </item>! -->")), IsEmpty());
}

TEST(TextComparison, moveOfAnObject_changesThePath) {
    const std::string text =
        PrefabText().object(id(1), "A").object(id(2), "B").object(id(3), "C").parent(1, id(1)).parent(2, id(1)).text();
    const std::size_t last = text.rfind(id(1).toString());
    EXPECT_THAT(compared(text, text.substr(0, last) + id(2).toString() + text.substr(last + 36)),
                ElementsAre("object-moved 3 A/B/C: 1 -> 2 @1 @1"));
}

} // namespace

} // namespace Kiln::PrefabComparisonTests
