#include <resource/file_content.h>

#include <algorithm>

namespace Kiln {

FileContent FileContent::copyOf(std::string_view text) {
    FileContent content{std::make_unique_for_overwrite<char[]>(text.size() + 1), text.size()};
    std::copy(text.begin(), text.end(), content.bytes.get());
    content.bytes[text.size()] = '\0';
    return content;
}

} // namespace Kiln
