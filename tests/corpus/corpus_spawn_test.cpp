#include "corpus.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <object_serialization/component_library.h>
#include <support/log_capture.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <chrono>
#include <unordered_map>

#include <gmock/gmock.h>

namespace Kiln::CorpusTests {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;

/// Prefix of the messages that every load by path logs: the root of such a file refers to the file itself, and the
/// walks through nested prefabs follow this reference down to the limit.
constexpr const char* DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references.";

/// Files of the corpus in a world of their own.
class CorpusSpawn : public CorpusFileFixture {
protected:
    ~CorpusSpawn() override { EntryPoint::instance().destroyWorld(m_worldId); }

    /// Loads the file; returns the root, or the invalid object if the load failed.
    [[nodiscard]] GameObject spawn() const {
        GameObject root;
        Tessel::Loading::loadGameObject(
            path(), m_worldId, {},
            [&root](GameObject loaded, GameObjectManager& /*manager*/) {
                root = loaded;
                return true;
            },
            Uuid::fromString("11111111-1111-4111-8111-111111111111"));
        EXPECT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)));
        EntryPoint::instance().tick();
        return root;
    }

    [[nodiscard]] GameObjectManager& manager() const { return *Tessel::getGameObjectManager(m_worldId); }

    /// All objects, the root first and the others in order of creation, described as expected.json does.
    [[nodiscard]] std::vector<ExpectedObject> describeAll(GameObject root) const {
        std::vector<GameObject> objects = manager().gameObjects();
        const auto rootPosition = std::find(objects.begin(), objects.end(), root);
        EXPECT_NE(rootPosition, objects.end());
        std::rotate(objects.begin(), rootPosition, rootPosition + 1);
        std::unordered_map<GameObject, std::size_t> indices;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            indices.emplace(objects[i], i);
        }
        std::vector<ExpectedObject> described;
        for (const GameObject object : objects) {
            const GameObject parent = manager().getParent(object);
            described.push_back({pathOf(object), parent.isInvalid() ? std::nullopt : std::optional(indices.at(parent)),
                                 componentNames(object), manager().getGameObjectUuid(object).toString()});
        }
        return described;
    }

    void expectToBeFoundByUuid(const std::vector<ExpectedObject>& objects) const {
        for (const ExpectedObject& object : objects) {
            EXPECT_EQ(pathOf(manager().findGameObject(*Uuid::fromString(object.uuid))), object.path);
        }
    }

    TestSupport::LogCapture log;

private:
    [[nodiscard]] std::string pathOf(GameObject object) const {
        std::string path;
        for (; !object.isInvalid(); object = manager().getParent(object)) {
            path = "/" + manager().getGameObjectName(object) + path;
        }
        return path;
    }

    [[nodiscard]] std::vector<std::string> componentNames(GameObject object) const {
        std::vector<std::string> names;
        for (const Tessel::ComponentTypeId type : manager().componentTypes(object)) {
            names.push_back(ComponentLibrary::instance().componentName(type));
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const int m_worldId = EntryPoint::instance().createWorld();
};

TEST_P(CorpusSpawn, yieldsTheExpectedObjects) {
    const GameObject root = spawn();
    if (expected().fails) {
        EXPECT_TRUE(root.isInvalid());
        EXPECT_EQ(manager().gameObjectsCount(), 0U);
        return;
    }
    ASSERT_FALSE(root.isInvalid());
    EXPECT_EQ(describeAll(root), expected().objects);
    EXPECT_TRUE(manager().isActive(root));
    expectToBeFoundByUuid(expected().objects);
    EXPECT_THAT(log.texts(), testing::Each(testing::StartsWith(DEPTH_MESSAGE)));

    Tessel::removeGameObject(root);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusSpawn, testing::ValuesIn(files()), testName);

} // namespace
} // namespace Kiln::CorpusTests
