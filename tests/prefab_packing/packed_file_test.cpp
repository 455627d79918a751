#include <prefab_packing/packed_file.h>

#include <prefab_editing/canonical_form.h>
#include <prefab_editing/random_document.h>
#include <resource/resource_pack.h>
#include <resource/resource_text.h>
#include <support/temporary_directory.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabPackingTests {

namespace {

using PrefabPacking::packFile;
using PrefabPacking::unpackFile;

class PackedFile : public testing::Test {
protected:
    /// The pack of one document.
    [[nodiscard]] SmartPointer<ResourcePack> packOf(PackDocument document) const {
        std::vector<PackDocument> documents;
        documents.push_back(std::move(document));
        std::string problem;
        EXPECT_TRUE(writePack(m_directory.path("a.kilnpack"), std::move(documents), {}, problem)) << problem;
        SmartPointer<ResourcePack> pack = ResourcePack::open(m_directory.path("a.kilnpack"), problem);
        EXPECT_TRUE(pack) << problem;
        return pack;
    }

    /// What is unpacked after a text was packed.
    [[nodiscard]] std::string unpacked(const std::string& text) const {
        FileContent content;
        std::string problem;
        EXPECT_TRUE(packOf(packFile("a.prefab", text, false))->read(0, content, problem)) << problem;
        return unpackFile(std::move(content), problem).value_or(problem);
    }

    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(PackedFile, usualPrefab_needsNoAnnex) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<prefab>\n\t<formatVersion>1</formatVersion>\n"
        "\t<gameObjects></gameObjects>\n</prefab>\n";
    EXPECT_EQ(packFile("a.prefab", text, false).annex, "");
    EXPECT_EQ(unpacked(text), text);
}

TEST_F(PackedFile, commentsAndAttributes_areKept) {
    EXPECT_EQ(unpacked("<!-- a --><prefab  x='1'><b>1</b> <!-- c --></prefab>"),
              "<!-- a -->\n<prefab x='1'>\n\t<b>1</b> <!-- c -->\n</prefab>\n");
}

TEST_F(PackedFile, randomDocuments_areUnpackedInCanonicalForm) {
    std::mt19937 random(6);
    int treesCount = 0;
    for (int i = 0; i < 1000; ++i) {
        const bool hasMark = PrefabEditingTests::below(random, 4) == 0;
        const std::string text =
            PrefabEditingTests::RandomLayout(random, PrefabEditingTests::below(random, 2) == 0 ? "\n" : "\r\n")
                .write(PrefabEditingTests::RandomDocument(random).make(), hasMark);
        XmlProblem problem;
        treesCount += packFile("a.prefab", text, false).isText() ? 0 : 1;
        ASSERT_EQ(unpacked(text), PrefabEditing::canonicalForm(text, problem)) << text;
    }
    EXPECT_EQ(treesCount, 1000);
}

TEST_F(PackedFile, textThatIsNoDocument_isKeptAsItIs) {
    EXPECT_TRUE(packFile("a.prefab", "<a>", false).isText());
    EXPECT_EQ(unpacked("<a>"), "<a>");
    EXPECT_EQ(unpacked(""), "");
}

TEST_F(PackedFile, repacking_yieldsTheSameDocument) {
    const std::string text = "<!-- a --><prefab><b>1</b><c>text</c><d>mixed<e/></d></prefab>";
    for (const bool keepsPositions : {false, true}) {
        const SmartPointer<ResourcePack> pack = packOf(packFile("a.prefab", text, keepsPositions));
        const auto bytesOf = [&] {
            std::ifstream stream(m_directory.path("a.kilnpack"), std::ios::binary);
            return std::string{std::istreambuf_iterator<char>(stream), {}};
        };
        const std::string bytes = bytesOf();
        FileContent content;
        std::string problem;
        ASSERT_TRUE(pack->read(0, content, problem));
        std::optional<PackDocument> again =
            PrefabPacking::repackFile("a.prefab", std::move(content), sourceChecksum(text), keepsPositions);
        ASSERT_TRUE(again);
        static_cast<void>(packOf(std::move(*again)));
        EXPECT_EQ(bytesOf(), bytes);
    }
}

TEST_F(PackedFile, repackingWithOtherPositions_isRefused) {
    FileContent content;
    std::string problem;
    ASSERT_TRUE(packOf(packFile("a.prefab", "<a/>", false))->read(0, content, problem));
    EXPECT_FALSE(PrefabPacking::repackFile("a.prefab", std::move(content), 0, true));
}

TEST_F(PackedFile, damagedAnnex_isReported) {
    PackDocument document = packFile("a.prefab", "<a/>", false);
    document.annex = "\x7f\x7f\x7f";
    FileContent content;
    std::string problem;
    ASSERT_TRUE(packOf(std::move(document))->read(0, content, problem)) << problem;
    EXPECT_FALSE(unpackFile(std::move(content), problem));
    EXPECT_EQ(problem, "what the pack has about its text is damaged");
}

} // namespace

} // namespace Kiln::PrefabPackingTests
