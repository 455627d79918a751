// Streams a harbour and 2 000 lamps into a world, in frames that take at most two milliseconds for it, cancels a ship,
// and lets the world follow a change of a file. The progress goes to stderr.

#include "sample_support.h"

#include <tessel_streaming/streaming.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Kiln;
using namespace Kiln::Tessel;

namespace {

constexpr const char* LAMP = "harbour/props/lamp.prefab";

/// A copy of the harbour's files, which this program may change. It is the only resource root.
class WorkingCopy : NonCopyable {
public:
    explicit WorkingCopy(const std::filesystem::path& samples) {
        std::string pattern = (std::filesystem::temp_directory_path() / "kiln_sample_XXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            throw std::runtime_error("cannot create a directory for the copy");
        }
        m_directory = pattern;
        std::filesystem::copy(samples / "harbour", m_directory / "harbour", std::filesystem::copy_options::recursive);
        FS::Utils::clearResourceRoots();
        FS::Utils::addResourceRoot(m_directory.string());
    }
    ~WorkingCopy() { std::filesystem::remove_all(m_directory); }

    /// Edits a file as a person would: replaces a text in it and saves it.
    void replace(const std::string& path, const std::string& before, const std::string& after) const {
        std::ifstream input(m_directory / path, std::ios::binary);
        std::string text(std::istreambuf_iterator<char>(input), {});
        text.replace(text.find(before), before.size(), after);
        std::ofstream(m_directory / path, std::ios::binary | std::ios::trunc) << text;
    }

private:
    std::filesystem::path m_directory;
};

/// Positions in rows of fifty, two metres apart.
std::vector<Matrix> grid(std::size_t count) {
    std::vector<Matrix> placements;
    for (std::size_t i = 0; i < count; ++i) {
        placements.push_back(Matrix::translation(2 * static_cast<float>(i % 50), 0, 2 * static_cast<float>(i / 50)));
    }
    return placements;
}

void printHarbour(const Streaming::LoadHandle& /*handle*/, const Streaming::LoadResult& result) {
    for (const Streaming::LoadFailure& failure : result.failures) {
        std::printf("%s\n", failure.text().c_str());
    }
    // The components of the harbour belong to a plug-in that this program does not load, which is no failure.
    std::printf("%zu lists of unknown components were skipped\n", result.skippedComponents.size());
}

void runFrame(const Streaming::LoadHandle& shown) {
    constexpr const char* PHASES[] = {"waiting", "reading", "creating", "activating"};
    EntryPoint::instance().tick();
    const Streaming::LoadProgress progress = shown.progress();
    std::fprintf(stderr, "\r%-10s %3.0f %%, %zu of %zu objects", PHASES[static_cast<int>(progress.phase)],
                 progress.ratio * 100, progress.objectsCreated, progress.objectsTotal);
    std::this_thread::sleep_for(std::chrono::milliseconds(1)); // The rest of the frame: the game.
}

} // namespace

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);
    const WorkingCopy files(argc > 1 ? argv[1] : "samples");
    const int worldId = EntryPoint::instance().createWorld();
    const GameObjectManager& manager = *getGameObjectManager(worldId);

    Streaming::setFrameBudget(std::chrono::milliseconds(2));
    Streaming::LoadOptions options;
    options.follow = true; // Update the instances when their files change.
    const Streaming::LoadHandle harbour = Streaming::load("harbour/harbour.prefab", worldId, options, &printHarbour);
    const Streaming::LoadHandle lamps = Streaming::spawn(LAMP, worldId, grid(2000), options);

    const Streaming::LoadHandle ship = Streaming::load("harbour/ships/freighter.prefab", worldId);
    ship.cancel(); // From now on, nothing of the ship appears.

    while (!harbour.isFinished() || !lamps.isFinished()) { // Every request ends.
        runFrame(lamps);
    }
    std::fputs("\n", stderr);
    std::printf("%s and %zu lamps: %zu objects\n", manager.getGameObjectName(harbour.root()).c_str(),
                lamps.result().roots.size(), manager.gameObjectsCount());
    std::puts(ship.state() == Streaming::LoadState::CANCELLED ? "The ship was cancelled" : "The ship has arrived");

    bool isUpdated = false;
    std::size_t instances = 0;
    Streaming::UpdateListener listener;
    listener.onUpdated = [&](const Streaming::InstanceUpdate& /*update*/) {
        ++instances;
        isUpdated = true;
    };
    const int listenerId = Streaming::addUpdateListener(listener);
    const GameObject post = manager.getChildren(lamps.root()).front();
    Samples::printPosition(manager, post);

    Streaming::watch(true);
    files.replace(LAMP, "0 2 0 1</local>", "0 4.5 0 1</local>"); // The post of the lamp.
    if (!Samples::runFramesUntil(isUpdated)) {
        return 1;
    }
    Streaming::watch(false);
    Streaming::removeUpdateListener(listenerId);

    // All instances change in the same frame, also those that the harbour nests. Their objects are the same as before.
    std::printf("%zu instances were updated\n", instances);
    Samples::printPosition(manager, post);
    return 0;
}
