#pragma once

#include <filesystem>
#include <string>

namespace Kiln::ScenarioRunner {

/// What a scenario came to, to be compared with its baselines.
struct Outcome {
    std::string hierarchy; ///< The worlds at the end, and how many loads still wait.
    std::string log;       ///< Messages, failed assertions, calls of handlers and callbacks, frame by frame.
};

/// Runs the steps of a scenario, `scenario.json` in its folder, which is the only resource root meanwhile:
///
///     {
///         "purpose": "what it shows",
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
/// Of a load only "load" is needed; the instance's UUID is a fixed one by default, the world is "main", `section` has
/// the file parsed as a section, and `activate` is what the callback answers. Every other step starts when the workers
/// are done with the loads; a frame is run at the end, too. Throws std::runtime_error for a description that is wrong.
[[nodiscard]] Outcome run(const std::filesystem::path& folder);

} // namespace Kiln::ScenarioRunner
