#include <prefab_packing/pack_comparison.h>

#include <prefab_packing/packed_file.h>
#include <support/temporary_directory.h>

#include <fstream>
#include <ios>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabPackingTests {

namespace {

using PrefabPacking::PackDifference;
using testing::ElementsAre;
using testing::IsEmpty;

class PackComparisonTest : public testing::Test {
protected:
    [[nodiscard]] SmartPointer<ResourcePack>
    pack(const std::string& name, const std::map<std::string, std::string>& texts, bool isCompressed = false) const {
        std::vector<PackDocument> documents;
        for (const auto& [path, text] : texts) {
            documents.push_back(PrefabPacking::packFile(path, text, isCompressed));
        }
        PackOptions options;
        options.isCompressed = isCompressed;
        std::string problem;
        EXPECT_TRUE(writePack(m_directory.path(name), std::move(documents), options, problem)) << problem;
        SmartPointer<ResourcePack> opened = ResourcePack::open(m_directory.path(name), problem);
        EXPECT_TRUE(opened) << problem;
        return opened;
    }

    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(PackComparisonTest, differences_areSortedByPath) {
    const auto a = pack("a", {{"a", "<a/>"}, {"b", "<b>1</b>"}, {"d", "<d/>"}});
    const auto b = pack("b", {{"b", "<b>2</b>"}, {"c", "<c/>"}, {"d", "<d></d>"}});
    EXPECT_THAT(PrefabPacking::comparePacks(*a, *b).differences,
                ElementsAre(PackDifference{PackDifference::Kind::ONLY_IN_A, "a"},
                            PackDifference{PackDifference::Kind::CHANGED, "b"},
                            PackDifference{PackDifference::Kind::ONLY_IN_B, "c"}));
}

TEST_F(PackComparisonTest, storage_doesNotMatter) {
    const std::string text = "<a>" + std::string(1000, 'x') + "</a>";
    const auto a = pack("a", {{"a", text}});
    const auto b = pack("b", {{"a", text}}, true);
    const PrefabPacking::PackComparison comparison = PrefabPacking::comparePacks(*a, *b);
    EXPECT_THAT(comparison.differences, IsEmpty());
    EXPECT_THAT(comparison.problems, IsEmpty());
}

TEST_F(PackComparisonTest, comments_matter) {
    const auto a = pack("a", {{"a", "<a/>"}});
    const auto b = pack("b", {{"a", "<a><!-- x --></a>"}});
    EXPECT_THAT(PrefabPacking::comparePacks(*a, *b).differences,
                ElementsAre(PackDifference{PackDifference::Kind::CHANGED, "a"}));
}

TEST_F(PackComparisonTest, damagedDocument_isFound) {
    EXPECT_THAT(PrefabPacking::verifyPack(*pack("a", {{"a", "<a>text</a>"}, {"b", "<a/>"}})), IsEmpty());
    {
        std::fstream file(m_directory.path("a"), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(-1, std::ios::end);
        file.put('x');
    }
    std::string problem;
    const SmartPointer<ResourcePack> damaged = ResourcePack::open(m_directory.path("a"), problem);
    ASSERT_TRUE(damaged) << problem;
    EXPECT_THAT(PrefabPacking::verifyPack(*damaged),
                ElementsAre("Cannot read 'b': the pack '" + m_directory.path("a") +
                            "' is damaged: the checksum of the document is wrong"));
}

} // namespace

} // namespace Kiln::PrefabPackingTests
