#include "harbour_fixture.h"

#include <build_paths.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <object_serialization/deseriralize_error_handler.h>
#include <resource/data_section.h>

#include <set>

namespace Kiln::SamplesTests {

using namespace Kiln::Tessel;
using testing::IsEmpty;

namespace {

[[nodiscard]] std::vector<std::string> prefabPaths() {
    const std::filesystem::path root = KILN_SOURCE_DIR "/samples";
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.path().extension() == ".prefab") {
            paths.push_back(std::filesystem::relative(entry.path(), root).generic_string());
        }
    }
    return paths;
}

} // namespace

class HarbourFiles : public HarbourFixture {};

TEST_F(HarbourFiles, everyPrefab_isReadWithoutAnyMessage) {
    const std::vector<std::string> paths = prefabPaths();
    EXPECT_EQ(paths.size(), 10U);
    for (const std::string& path : paths) {
        std::vector<std::string> problems;
        DeseriralizeErrorHandler handler;
        handler.context = path;
        handler.callback = [&](const std::string& problem) { problems.push_back(problem); };

        const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(path, &handler);

        ASSERT_NE(prefab, nullptr) << path;
        EXPECT_FALSE(prefab->isEmpty()) << path;
        EXPECT_THAT(problems, IsEmpty()) << path;
    }
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(HarbourFiles, everyPrefab_hasOneRootAsItsFirstObject) {
    for (const std::string& path : prefabPaths()) {
        const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(path, nullptr);
        for (std::size_t node = 0; node < prefab->nodesCount(); ++node) {
            EXPECT_EQ(prefab->isRootNode(node), node == 0) << path << ", object " << node;
        }
    }
}

TEST_F(HarbourFiles, uuids_areUsedOnceInAllFiles) {
    std::set<Uuid> seen;
    for (const std::string& path : prefabPaths()) {
        const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(path, nullptr);
        for (std::size_t node = 0; node < prefab->nodesCount(); ++node) {
            EXPECT_TRUE(seen.insert(prefab->getGameObject(node)->uuid()).second) << path << ", object " << node;
        }
    }
}

TEST_F(HarbourFiles, everyPrefab_writtenAndReadAgain_isTheSame) {
    for (const std::string& path : prefabPaths()) {
        const SmartPointer<DataSection> first = DataSection::create("prefab");
        GameObjectPrefab::loadHierarchy(path, nullptr)->serialize(first);
        const SmartPointer<DataSection> second = DataSection::create("prefab");
        GameObjectPrefab::loadHierarchy(DataSection::fromText(first->toText(), path), nullptr)->serialize(second);
        EXPECT_EQ(first->toText(), second->toText()) << path;
    }
}

} // namespace Kiln::SamplesTests
