#include "harbour_fixture.h"

#include <resource/file_system_utils.h>

namespace Kiln::SamplesTests {

void addResources(const std::string& samples) {
    FS::Utils::addResourceRoot(samples);
}

} // namespace Kiln::SamplesTests
