#include <tessel_streaming/documents/loaded_file.h>

namespace Kiln::Tessel::Streaming::detail {

LoadedFile::LoadedFile() = default;
LoadedFile::~LoadedFile() = default;

} // namespace Kiln::Tessel::Streaming::detail
