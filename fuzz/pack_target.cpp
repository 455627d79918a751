// Packs: any bytes, and the same bytes with the checksums that they must have, so that inputs come past them. All
// documents are read and walked, and loaded as prefabs.

#include "fuzz_target.h"

#include <resource/data_section.h>
#include <resource/pack_layout.h>
#include <resource/pack_writer.h>
#include <resource/resource_limits.h>
#include <resource/resource_pack.h>
#include <resource/resource_text.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Kiln::Fuzz {

namespace {

using PackLayout::Entry;
using PackLayout::Header;

template <class Object>
[[nodiscard]] Object get(const std::string& bytes, std::size_t offset) {
    Object object;
    std::memcpy(&object, bytes.data() + offset, sizeof object);
    return object;
}

/// The checksum of a part, as far as the bytes have it.
[[nodiscard]] std::uint64_t checksumOf(const std::string& bytes, std::uint64_t offset, std::uint64_t size) {
    const std::size_t begin = static_cast<std::size_t>(std::min<std::uint64_t>(offset, bytes.size()));
    return sourceChecksum(std::string_view(bytes).substr(begin, static_cast<std::size_t>(size)));
}

/// The bytes with a right beginning, file size and checksums.
[[nodiscard]] std::string repaired(std::string bytes) {
    if (bytes.size() < sizeof(Header)) {
        return bytes;
    }
    auto header = get<Header>(bytes, 0);
    const std::size_t entriesCount =
        std::min<std::size_t>(header.documentsCount, (bytes.size() - sizeof header) / sizeof(Entry));
    for (std::size_t i = 0; i < entriesCount; ++i) {
        const std::size_t offset = sizeof header + i * sizeof(Entry);
        auto entry = get<Entry>(bytes, offset);
        entry.checksum = checksumOf(bytes, entry.offset, PackLayout::aligned(entry.storedSize));
        std::memcpy(bytes.data() + offset, &entry, sizeof entry);
    }
    header.magic = PackLayout::MAGIC;
    header.byteOrderMark = PackLayout::BYTE_ORDER_MARK;
    header.version = PackLayout::VERSION;
    header.fileSize = bytes.size();
    std::memcpy(bytes.data(), &header, sizeof header);
    header.indexChecksum =
        checksumOf(bytes, PackLayout::CHECKED_BEGIN,
                   std::max<std::uint64_t>(header.indexSize, PackLayout::CHECKED_BEGIN) - PackLayout::CHECKED_BEGIN);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

void checkDocument(const ResourcePack& pack, std::size_t index) {
    FileContent content;
    std::string problem;
    if (!pack.read(index, content, problem)) {
        require(!problem.empty(), "a document that cannot be read has a problem");
        return;
    }
    const bool isPacked = content.packed != nullptr;
    XmlProblem xmlProblem;
    const SmartPointer<DataSection> section = parseXml(std::move(content), "input", xmlProblem);
    require(section || !isPacked, "a packed document needs no parsing");
    if (section) {
        static_cast<void>(section->toText());
        static_cast<void>(section->position());
        static_cast<void>(Tessel::GameObjectPrefab::loadHierarchy(section, nullptr));
    }
}

/// Returns whether the bytes are a pack.
bool checkPack(const std::string& bytes) {
    std::string problem;
    const SmartPointer<ResourcePack> pack = ResourcePack::fromBytes(bytes, "input", problem);
    require(pack || !problem.empty(), "bytes that are no pack have a problem");
    for (std::size_t i = 0; pack && i < pack->documentsCount(); ++i) {
        require(pack->find(pack->document(i).path) == i, "every document is found by its path");
        checkDocument(*pack, i);
    }
    return static_cast<bool>(pack);
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("pack");
    constexpr std::uint64_t MAX_DOCUMENT = std::uint64_t{1} << 22; // So that a bomb costs no time.
    setResourceLimits({MAX_DOCUMENT, ResourceLimits().elementDepth});
    const std::string bytes(asText(data, size));
    const bool isPack = checkPack(bytes);
    environment.countInput(checkPack(repaired(bytes)) || isPack);
    return 0;
}
