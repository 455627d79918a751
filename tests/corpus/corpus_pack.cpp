#include "corpus.h"

#include <resource/file_system_utils.h>
#include <support/packed_folder.h>
#include <support/temporary_directory.h>

namespace Kiln::CorpusTests {

void addResources(const std::filesystem::path& corpus) {
    static const TestSupport::TemporaryDirectory packs;
    static const std::string pack = [&corpus] {
        std::string name = packs.path("corpus.kilnpack");
        TestSupport::packFolder(corpus, name, true);
        return name;
    }();
    FS::Utils::addResourcePack(pack);
}

} // namespace Kiln::CorpusTests
