#pragma once

#include <object_framework/world.h>

#include <string>

namespace Kiln::ScenarioRunner {

/// A world's objects as text, one line each and one for each component, children below their parents: for a reader, and
/// to be compared line by line. Roots are in the order of their creation; properties are omitted if they are at their
/// defaults.
[[nodiscard]] std::string liveText(Tessel::World& world);

} // namespace Kiln::ScenarioRunner
