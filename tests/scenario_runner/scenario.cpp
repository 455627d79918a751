#include "scenario.h"

#include "live_text.h"
#include "log_text.h"

#include <core/assertions.h>
#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <resource/file_system_utils.h>
#include <support/packed_folder.h>
#include <support/temporary_directory.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_asset_loading/support/live_objects.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Kiln::ScenarioRunner {

namespace {

using Json = nlohmann::json;
using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
namespace Loading = Tessel::Loading;

const std::string MAIN_WORLD = "main";
constexpr const char* DEFAULT_INSTANCE = "11111111-0000-4000-8000-000000000000";

[[nodiscard]] std::string readFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Scenario : NonCopyable {
public:
    Scenario(const std::filesystem::path& folder, ResourceSource source) : m_folder(folder) {
        FileIOTaskManager::instance().setThreadCount(1); // One worker makes the order of its messages fixed.
        Loading::fullyClearCache();
        FS::Utils::clearResourceRoots();
        if (source == ResourceSource::PACK) {
            const std::string pack = m_packDirectory.path("scenario.kilnpack");
            TestSupport::packFolder(folder, pack, false);
            FS::Utils::addResourcePack(pack);
        } else {
            FS::Utils::addResourceRoot(folder.string());
        }
        m_previousHandler = setAssertionHandler([this](const AssertionFailure& failure) {
            note("assertion: " + std::string(failure.expression) + " " + std::string(failure.message));
        });
    }

    ~Scenario() {
        waitForWorkers();
        for (const auto& [name, id] : m_worlds) {
            EntryPoint::instance().destroyWorld(id);
        }
        Loading::fullyClearCache();
        FS::Utils::clearResourceRoots();
        FS::Utils::clearResourcePacks();
        setAssertionHandler(std::move(m_previousHandler));
    }

    [[nodiscard]] Outcome run() {
        const Json description = Json::parse(readFile(m_folder / "scenario.json"));
        if (description.at("purpose").get<std::string>().empty()) {
            throw std::runtime_error("a scenario needs a purpose");
        }
        worldId(MAIN_WORLD);
        for (const Json& step : description.at("steps")) {
            runStep(step);
        }
        waitForWorkers();
        frame();
        const bool isFolding = description.value("foldDepthMessages", true);
        return {hierarchy(), toText(isFolding ? foldDepthMessages(m_log) : m_log)};
    }

private:
    /// Logs the calls of a load's callback.
    class NotingCallback final : public IObjectLoadedCallback {
    public:
        NotingCallback(Scenario& scenario, bool isActivated) : m_scenario(scenario), m_isActivated(isActivated) {}

        bool onPreactivate(GameObject root, GameObjectManager& manager) override {
            note("onPreactivate", root, manager);
            return m_isActivated;
        }
        void onObjectLoaded(GameObject root, GameObjectManager& manager) override {
            note("onObjectLoaded", root, manager);
        }
        void onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& manager) override {
            note("onObjectLoadedIntoHierarchy", root, manager);
        }
        void releaseCallback() override { m_scenario.note("callback: releaseCallback"); }

    private:
        void note(const std::string& call, GameObject root, const GameObjectManager& manager) {
            m_scenario.note("callback: " + call + " \"" + manager.getGameObjectName(root) + "\"" +
                            (manager.isActive(root) ? " active" : " inactive"));
        }

        Scenario& m_scenario;
        bool m_isActivated;
    };

    static void waitForWorkers() {
        if (!FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60))) {
            throw std::runtime_error("the workers do not come to an end");
        }
    }

    [[nodiscard]] static Tessel::PrefabService& service() {
        return *EntryPoint::instance().getService<Tessel::PrefabService>();
    }

    void note(std::string line) {
        for (std::size_t end; (end = line.find('\n')) != std::string::npos;) {
            line.replace(end, 1, "\\n");
        }
        for (std::size_t start; (start = line.find(m_folder.string())) != std::string::npos;) {
            line.replace(start, m_folder.string().size(), "<folder>");
        }
        const std::scoped_lock lock(m_logMutex);
        append(m_log, {std::move(line)});
    }

    int worldId(const std::string& name) {
        const auto known = m_worlds.find(name);
        return known != m_worlds.end() ? known->second
                                       : m_worlds.emplace(name, EntryPoint::instance().createWorld()).first->second;
    }

    void runStep(const Json& step) {
        const std::string kind = step.contains("load") ? "load" : step.items().begin().key();
        if (kind == "load") {
            load(step);
            return;
        }
        waitForWorkers(); // Makes the order of loads and other steps independent of threads.
        if (kind == "validate") {
            validate(step.at(kind));
        } else if (kind == "cache") {
            Loading::cacheGameObjects({step.at(kind)}, true);
        } else if (kind == "clearCache") {
            Loading::fullyClearCache();
        } else if (kind == "destroyWorld") {
            EntryPoint::instance().destroyWorld(worldId(step.at(kind)));
            m_worlds.erase(step.at(kind).get<std::string>());
        } else if (kind == "frame") {
            frame();
        } else {
            throw std::runtime_error("unknown step: " + kind);
        }
    }

    void load(const Json& step) {
        const std::string path = step.at("load");
        const int world = worldId(step.value("world", MAIN_WORLD));
        const Uuid uuid = Uuid::fromString(step.value("uuid", DEFAULT_INSTANCE)).value();
        const bool isActivated = step.value("activate", true);
        if (step.contains("under")) {
            loadUnder(path, world, uuid, step.at("under"), isActivated);
            return;
        }
        SmartPointer<IObjectLoadedCallback> callback;
        if (step.value("callback", true)) {
            callback = makeSmart<NotingCallback>(*this, isActivated);
        }
        SmartPointer<OverrideRecords> overrides;
        if (step.contains("overrides")) {
            overrides = OverrideRecords::create(readFile(m_folder / step.at("overrides")));
        }
        if (step.value("section", false)) {
            service().loadGameObject(FS::Utils::openXmlSection(path, true), world, uuid, callback, overrides);
        } else {
            service().loadGameObject(path, world, uuid, callback, overrides);
        }
    }

    void loadUnder(const std::string& path, int world, const Uuid& uuid, const std::string& parentName,
                   bool isActivated) {
        const GameObject parent =
            TestSupport::findByName(EntryPoint::instance().findValidWorld(world)->manager(), parentName);
        Loading::loadGameObjectIntoHierarchy(
            path, parent, std::nullopt,
            [this, isActivated](GameObject root, GameObjectManager& manager) {
                note("callback: loaded \"" + manager.getGameObjectName(root) + "\"");
                return isActivated;
            },
            uuid,
            [this, isActivated](GameObject root, GameObjectManager& manager, GameObject itsParent) {
                note("callback: loaded into hierarchy \"" + manager.getGameObjectName(root) + "\" under \"" +
                     manager.getGameObjectName(itsParent) + "\"");
                return isActivated;
            });
    }

    void validate(const std::string& path) {
        Tessel::DeseriralizeErrorHandler handler{path + ": ",
                                                 [this](const std::string& message) { note("handler: " + message); }};
        const SmartPointer<DataSection> section = DataSection::create("validate");
        section->writeString("resource", path);
        Loading::validateHierarchy(section, handler);
    }

    void frame() {
        note("frame " + std::to_string(++m_frame));
        EntryPoint::instance().tick();
    }

    [[nodiscard]] std::string hierarchy() {
        std::string text;
        for (const auto& [name, id] : m_worlds) {
            Tessel::World& world = *EntryPoint::instance().findValidWorld(id);
            text += "world " + name + ": " + std::to_string(world.manager().gameObjectsCount()) + " objects\n";
            text += liveText(world);
        }
        return text + "waiting loads: " + std::to_string(service().loadingQueue().size() - m_oldLoaders) + "\n";
    }

    std::filesystem::path m_folder;
    TestSupport::TemporaryDirectory m_packDirectory;
    std::map<std::string, int> m_worlds;
    int m_frame = 0;
    std::size_t m_oldLoaders = service().loadingQueue().size();
    AssertionHandler m_previousHandler;
    std::mutex m_logMutex; ///< Guards m_log while workers run.
    std::vector<LogLine> m_log;
    ScopedLogSink m_sink{[this](const LogMessage& message) {
        note("[" + std::to_string(message.severity) + "] " + std::string(message.text) +
             (message.category.empty() ? "" : " (" + std::string(message.category) + ")"));
    }};
};

} // namespace

Outcome run(const std::filesystem::path& folder, ResourceSource source) {
    return Scenario(folder, source).run();
}

} // namespace Kiln::ScenarioRunner
