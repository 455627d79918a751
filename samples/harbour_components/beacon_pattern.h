#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Harbour {

/// The repeating pattern of a navigation light.
struct BeaconPattern {
    struct Phase {
        bool isLit;
        double seconds;
    };

    std::string colour;
    std::vector<Phase> phases;
};

/// The pattern of a resource file. Files are read once and kept until the process ends; a file that cannot be read is
/// reported in the log and yields a pattern without phases. Never null. Any thread.
[[nodiscard]] std::shared_ptr<const BeaconPattern> loadBeaconPattern(const std::string& resource);

} // namespace Harbour
