#include "prefab_benchmark.h"

#include "sample_statistics.h"

#include <core/non_copyable.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <prefab_inspection/composition/dependency_graph.h>
#include <resource/resource_text.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <malloc.h>
#include <sys/resource.h>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using PrefabInspection::DependencyGraph;
using PrefabInspection::PrefabFile;
using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::detail::InstanceCreation;

/// Instances are created for measuring memory until they have this many objects.
constexpr std::size_t MAX_OBJECTS_FOR_MEMORY = 100'000;

enum Step : std::size_t { COLD_LOAD, WARM_LOAD, EXPAND, CREATE, ACTIVATE, REMOVE };

/// Bytes that the program has allocated and not freed, in all threads.
[[nodiscard]] std::int64_t allocatedBytes() {
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<std::int64_t>(info.uordblks) + static_cast<std::int64_t>(info.hblkhd);
}

[[nodiscard]] std::int64_t peakResidentBytes() {
    struct rusage usage {};
    return ::getrusage(RUSAGE_SELF, &usage) == 0 ? static_cast<std::int64_t>(usage.ru_maxrss) * 1024 : 0;
}

[[nodiscard]] std::int64_t median(std::vector<std::int64_t> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A world for the instances; destroyed with everything that is cached.
class BenchmarkWorld : NonCopyable {
public:
    BenchmarkWorld() : m_id(Tessel::EntryPoint::instance().createWorld()) {}
    ~BenchmarkWorld() {
        Tessel::EntryPoint::instance().destroyWorld(m_id);
        Tessel::Loading::fullyClearCache();
    }

    [[nodiscard]] int id() const noexcept { return m_id; }
    [[nodiscard]] Tessel::GameObjectManager& manager() const { return *Tessel::getGameObjectManager(m_id); }

private:
    int m_id;
};

class PrefabBenchmark : NonCopyable {
public:
    PrefabBenchmark(const std::string& path, std::size_t repeat) : m_path(path) {
        for (const auto& [name, readsFiles] :
             {std::pair("load, cold", true), std::pair("load, warm", false), std::pair("expand", false),
              std::pair("create", false), std::pair("activate", false), std::pair("remove", false)}) {
            m_result.steps.push_back({name, {}, readsFiles});
            m_result.steps.back().samples.reserve(repeat);
        }
        m_documentBytes.reserve(repeat);
    }

    [[nodiscard]] PrefabMeasurement run(std::size_t repeat, const std::function<void(std::size_t)>& onRepetition) {
        readSizes();
        for (std::size_t i = 0; m_result.problem.empty() && i <= repeat; ++i) {
            if (onRepetition) {
                onRepetition(i);
            }
            m_isCounted = i > 0; // The first repetition loads code and grows tables.
            measure();
        }
        m_result.documentBytes = median(std::move(m_documentBytes));
        if (m_result.problem.empty()) {
            measureMemory(repeat);
        }
        m_result.peakResidentBytes = peakResidentBytes();
        return std::move(m_result);
    }

private:
    void readSizes() {
        const DependencyGraph graph({m_path});
        for (const DependencyGraph::File& file : graph.files()) {
            if (file.path == m_path && file.status != PrefabFile::Status::READ) {
                m_result.problem = "the file " + file.problem;
            }
            if (file.status == PrefabFile::Status::READ) {
                m_files.push_back(file.path);
                m_result.bytes += FS::Utils::readResource(file.path).content.text().size();
            }
        }
        m_result.filesCount = m_files.size();
    }

    template <class Work>
    void time(Step step, const Work& work) {
        const Clock::time_point start = Clock::now();
        work();
        const Clock::duration duration = Clock::now() - start;
        if (m_isCounted) {
            m_result.steps[step].samples.push_back(duration);
        }
    }

    void load() {
        m_result.nodesCount = 0;
        for (const std::string& file : m_files) {
            const GameObjectPrefab* const prefab = Tessel::Loading::loadDescriptorSync(file);
            m_result.nodesCount += prefab ? prefab->nodesCount() : 0;
        }
    }

    /// One repetition, from an empty cache to an empty world.
    void measure() {
        Tessel::Loading::fullyClearCache();
        const std::int64_t before = allocatedBytes();
        time(COLD_LOAD, [this] { load(); });
        const std::int64_t loaded = allocatedBytes();
        time(WARM_LOAD, [this] { load(); });
        const GameObjectPrefab* const prefab = Tessel::Loading::loadDescriptorSync(m_path);
        if (!prefab) {
            m_result.problem = "the prefab cannot be loaded";
            return;
        }
        measureInstance(*prefab);
        if (m_isCounted) {
            m_documentBytes.push_back(loaded - before);
        }
    }

    [[nodiscard]] GameObjectPrefab::CreateConfig newConfig() const {
        GameObjectPrefab::CreateConfig config;
        config.worldId = m_world.id();
        config.instanceUuid = Uuid::generate();
        return config;
    }

    void measureInstance(const GameObjectPrefab& prefab) {
        GameObjectPrefab::CreateConfig config = newConfig();
        std::vector<GameObject> objects;
        {
            InstanceCreation creation(prefab, config);
            time(EXPAND, [&creation] { creation.step({}, InstanceCreation::Stage::CREATING_OBJECTS); });
            try {
                time(CREATE, [&creation] { creation.step({}); });
            } catch (const std::exception& error) {
                m_result.problem = "a component cannot be created: " + std::string(error.what());
                return;
            }
            if (creation.stage() != InstanceCreation::Stage::SUCCEEDED) {
                m_result.problem = "the prefab cannot be created";
                return;
            }
            objects = creation.takeObjects();
        }
        m_result.objectsCount = objects.size();
        Tessel::GameObjectManager& manager = m_world.manager();
        const GameObject root = objects.front();
        time(ACTIVATE, [&manager, root] { manager.activateGameObject(root); });
        time(REMOVE, [&manager, root] { manager.removeGameObject(root); });
    }

    /// The pools of components allocate in blocks and keep them, so only several instances together tell what one
    /// needs.
    void measureMemory(std::size_t repeat) {
        const GameObjectPrefab* const prefab = Tessel::Loading::loadDescriptorSync(m_path);
        if (!prefab) {
            return;
        }
        const std::size_t count = std::clamp<std::size_t>(MAX_OBJECTS_FOR_MEMORY / m_result.objectsCount, 1,
                                                          std::max<std::size_t>(repeat, 1));
        std::vector<GameObject> roots;
        roots.reserve(count);
        const std::int64_t before = allocatedBytes();
        for (std::size_t i = 0; i < count; ++i) {
            GameObjectPrefab::CreateConfig config = newConfig();
            roots.push_back(prefab->createGameObjects(config).front());
            m_world.manager().activateGameObject(roots.back());
        }
        m_result.instanceBytes = (allocatedBytes() - before) / static_cast<std::int64_t>(count);
        for (const GameObject root : roots) {
            m_world.manager().removeGameObject(root);
        }
    }

    const std::string& m_path;
    BenchmarkWorld m_world;
    std::vector<std::string> m_files;
    bool m_isCounted = false;
    std::vector<std::int64_t> m_documentBytes;
    PrefabMeasurement m_result;
};

} // namespace

PrefabMeasurement measurePrefab(const std::string& path, std::size_t repeat,
                                const std::function<void(std::size_t)>& onRepetition) {
    return PrefabBenchmark(path, repeat).run(repeat, onRepetition);
}

} // namespace Kiln::PrefabTool
