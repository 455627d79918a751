#include "corpus.h"

#include <resource/file_system_utils.h>

namespace Kiln::CorpusTests {

void addResources(const std::filesystem::path& corpus) {
    FS::Utils::addResourceRoot(corpus.string());
}

} // namespace Kiln::CorpusTests
