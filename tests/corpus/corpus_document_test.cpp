#include "corpus.h"

#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <gmock/gmock.h>

namespace Kiln::CorpusTests {
namespace {

using Tessel::GameObjectPrefab;

class CorpusContents : public CorpusFixture {};

TEST_F(CorpusContents, everyFile_isExpectedAndThere) {
    std::vector<std::string> expected;
    for (const auto& [path, file] : expectedFiles()) {
        expected.push_back(path);
    }
    EXPECT_EQ(files(), expected);
    EXPECT_FALSE(files().empty());
}

class CorpusDocument : public CorpusFileFixture {};

TEST_P(CorpusDocument, hasTheExpectedNodesAndNestedPrefabs) {
    const TestSupport::LogCapture log;
    const SmartPointer<DataSection> section = FS::Utils::openXmlSection(path(), true);
    ASSERT_TRUE(section);
    EXPECT_EQ(GameObjectPrefab::getNestedPrefabs(section), expected().nested);
    EXPECT_EQ(GameObjectPrefab::hasNestedPrefabs(path()), !expected().nested.empty());
    EXPECT_EQ(GameObjectPrefab::loadHierarchy(section, nullptr)->nodesCount(), expected().nodes);
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusDocument, testing::ValuesIn(files()), testName);

} // namespace
} // namespace Kiln::CorpusTests
