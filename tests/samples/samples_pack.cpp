#include "harbour_fixture.h"

#include <resource/file_system_utils.h>
#include <support/packed_folder.h>
#include <support/temporary_directory.h>

namespace Kiln::SamplesTests {

void addResources(const std::string& samples) {
    static const TestSupport::TemporaryDirectory packs;
    static const std::string pack = [&samples] {
        std::string name = packs.path("samples.kilnpack");
        TestSupport::packFolder(samples, name, false);
        return name;
    }();
    FS::Utils::addResourcePack(pack);
}

} // namespace Kiln::SamplesTests
