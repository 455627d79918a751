#pragma once

#include <filesystem>
#include <string>

namespace Kiln::ScenarioRunner {

/// The results of a scenario, to be compared with its baselines.
struct Outcome {
    std::string hierarchy; ///< The worlds at the end, and the number of loads that still wait.
    std::string log;       ///< Messages, failed assertions, calls of handlers and callbacks, by frame.
};

/// Where the prefabs of a scenario are read from.
enum class ResourceSource {
    FOLDER,
    PACK, ///< A pack of the folder.
};

/// Runs the steps of a scenario, `scenario.json` in its folder, which is the only resource root during the run:
///
///     {
///         "purpose": "what it shows",
///         "foldDepthMessages": true,
///         "steps": [
///             {"load": "outer.prefab", "uuid": "…", "world": "main", "overrides": "overrides.xml",
///              "section": false, "under": "name of an object", "activate": true, "callback": true},
///             {"validate": "outer.prefab"},
///             {"cache": "outer.prefab"},
///             {"clearCache": true},
///             {"destroyWorld": "main"},
///             {"frame": true}
///         ]
///     }
///
/// `foldDepthMessages`, true by default, has the messages about the depth limit folded (log_text.h); scenarios about
/// that limit set it to false. A load needs only "load"; by default the instance's UUID is a fixed one and the world is
/// "main". `section` has the file parsed as a section, and the callback returns `activate`. Every other step starts
/// when the workers have finished the loads; one more frame is run at the end. Throws std::runtime_error for a wrong
/// description.
[[nodiscard]] Outcome run(const std::filesystem::path& folder, ResourceSource source);

} // namespace Kiln::ScenarioRunner
