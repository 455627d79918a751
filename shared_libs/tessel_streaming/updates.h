#pragma once

#include <object_framework/game_object.h>
#include <tessel_streaming/load_result.h>

#include <functional>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming {

/// How a change of files has changed one instance. Objects are matched by their UUIDs.
struct InstanceUpdate {
    GameObject root;                 ///< Root of the instance.
    std::vector<std::string> files;  ///< Resource paths of the files that have changed.
    std::vector<GameObject> added;   ///< Active like their parents.
    std::vector<GameObject> changed; ///< They have new components, another name, other flags or another parent.
    std::vector<GameObject> removed; ///< They do not exist any more.
};

/// A change of a file that was not applied: the last good version stays.
struct RefusedUpdate {
    std::string file;                  ///< Resource path of the changed file.
    std::vector<LoadFailure> failures; ///< Why the change was refused.
};

/// Receives updates, on the main thread, in the frame in which they become visible.
struct UpdateListener {
    std::function<void(const InstanceUpdate& update)> onUpdated; ///< May be empty.
    std::function<void(const RefusedUpdate& refused)> onRefused; ///< May be empty.
};

} // namespace Kiln::Tessel::Streaming
