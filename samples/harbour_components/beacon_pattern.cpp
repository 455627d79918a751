#include "beacon_pattern.h"

#include <resource/data_section.h>
#include <resource/file_system_utils.h>

#include <map>
#include <mutex>

namespace Harbour {

namespace {

struct PatternCache {
    std::mutex mutex; ///< Guards the patterns; held through a read, so that each file is read once.
    std::map<std::string, std::shared_ptr<const BeaconPattern>> patterns;
};

[[nodiscard]] std::shared_ptr<const BeaconPattern> readPattern(const std::string& resource) {
    auto pattern = std::make_shared<BeaconPattern>();
    const Kiln::SmartPointer<Kiln::DataSection> section = Kiln::FS::Utils::openXmlSection(resource, false);
    if (!section) {
        return pattern;
    }
    pattern->colour = section->readString("colour", "white");
    for (const Kiln::SmartPointer<Kiln::DataSection>& child : *section) {
        if (child->sectionName() == "phase") {
            pattern->phases.push_back({child->readBool("isLit"), child->readDouble("seconds")});
        }
    }
    return pattern;
}

} // namespace

std::shared_ptr<const BeaconPattern> loadBeaconPattern(const std::string& resource) {
    // Never destroyed: a worker may still preload while the process exits.
    static PatternCache& cache = *new PatternCache;

    const std::scoped_lock lock(cache.mutex);
    std::shared_ptr<const BeaconPattern>& pattern = cache.patterns[resource];
    if (!pattern) {
        pattern = readPattern(resource);
    }
    return pattern;
}

} // namespace Harbour
