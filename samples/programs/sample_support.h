#pragma once

// Code that the sample programs share: resource roots, the log, frames, output.

#include <core/log.h>
#include <core/non_copyable.h>
#include <core/task_manager.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/file_system_utils.h>

#include <chrono>
#include <cstdio>
#include <set>
#include <string>
#include <thread>

namespace Samples {

/// Looks up prefabs in the directory that the first argument names, or in "samples", and prints each different line of
/// the log once, on stderr. Create one at the beginning of main.
class Environment : Kiln::NonCopyable {
public:
    Environment(int argc, char** argv)
        : m_sink([this](const Kiln::LogMessage& message) {
              if (m_shown.emplace(message.text).second) {
                  std::fprintf(stderr, "[%d] %s\n", message.severity, std::string(message.text).c_str());
              }
          }) {
        Kiln::FS::Utils::addResourceRoot(argc > 1 ? argv[1] : "samples");
    }

    /// Waits for background loading, which may still write to the log.
    ~Environment() { Kiln::FileIOTaskManager::instance().shutdown(); }

private:
    std::set<std::string> m_shown; // The log holds its lock while it calls the sink, so no other lock is needed.
    Kiln::ScopedLogSink m_sink;
};

/// Runs frames until `isDone` is set, and returns it. A failed load never calls its callback, so this gives up after
/// ten seconds.
inline bool runFramesUntil(const bool& isDone) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!isDone && std::chrono::steady_clock::now() < deadline) {
        Kiln::Tessel::EntryPoint::instance().tick();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return isDone;
}

/// Prints an object and, indented below it, its descendants.
inline void printTree(const Kiln::Tessel::GameObjectManager& manager, Kiln::Tessel::GameObject object, int depth = 0) {
    std::printf("%*s%s%s\n", 2 * depth, "", manager.getGameObjectName(object).c_str(),
                manager.isActive(object) ? "" : " (inactive)");
    for (const Kiln::Tessel::GameObject child : manager.getChildren(object)) {
        printTree(manager, child, depth + 1);
    }
}

/// Prints the position of an object relative to its parent.
inline void printPosition(const Kiln::Tessel::GameObjectManager& manager, Kiln::Tessel::GameObject object) {
    if (const auto* const transform = manager.findComponent<Kiln::Tessel::TransformComponent>(object)) {
        std::printf("%s is at %g %g %g\n", manager.getGameObjectName(object).c_str(),
                    static_cast<double>(transform->local.at(3, 0)), static_cast<double>(transform->local.at(3, 1)),
                    static_cast<double>(transform->local.at(3, 2)));
    }
}

} // namespace Samples
