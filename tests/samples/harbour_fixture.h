#pragma once

#include <common/uuid.h>
#include <core/log.h>
#include <gtest/gtest.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Kiln::SamplesTests {

inline constexpr const char* HARBOUR = "harbour/harbour.prefab";

/// Adds the folder samples/, or a pack of it, to the search path; each test program has one of the two forms.
void addResources(const std::string& samples);

/// Loads the plug-in with the harbour's components and lets resource paths start in samples/; a fresh world and an
/// empty prefab cache per test.
class HarbourFixture : public testing::Test {
protected:
    HarbourFixture();
    ~HarbourFixture() override;

    /// Loads the harbour under an instance UUID and returns its root; fails the test if the load does not finish.
    Tessel::GameObject spawn(const Uuid& instanceUuid);

    [[nodiscard]] Tessel::GameObjectManager& manager() const;

    /// The live object of a node of the prefabs, found by the names on the path to it:
    /// {"South quay", "Crane", "Hook"} is the Hook in the crane prefab in the quay prefab that "South quay" nests.
    [[nodiscard]] Tessel::GameObject object(const Uuid& instanceUuid, const std::vector<std::string>& names);

    /// All objects of the world that have a component of type T.
    template <class T>
    [[nodiscard]] std::vector<Tessel::GameObject> objectsWith() const {
        std::vector<Tessel::GameObject> found;
        for (const Tessel::GameObject candidate : manager().gameObjects()) {
            if (manager().findComponent<T>(candidate)) {
                found.push_back(candidate);
            }
        }
        return found;
    }

    /// What has been logged, without the messages about the depth limit, which every prefab that is loaded by path
    /// causes.
    [[nodiscard]] std::vector<std::string> messages() const;

private:
    [[nodiscard]] const Tessel::GameObjectPrefab& document(const std::string& path);

    mutable std::mutex m_mutex; ///< Guards m_messages; taken after the log's own lock.
    std::vector<std::string> m_messages;
    ScopedLogSink m_sink;
    int m_worldId;
    std::map<std::string, std::unique_ptr<Tessel::GameObjectPrefab>> m_documents;
};

} // namespace Kiln::SamplesTests
