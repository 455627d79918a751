#include <resource/resource_pack.h>

#include <core/formatter.h>
#include <core/printable_text.h>
#include <resource/input_file.h>
#include <resource/pack_checksum.h>
#include <resource/packed_content.h>
#include <resource/resource_limits.h>
#include <resource/resource_path.h>

#include <cerrno>
#include <cstring>
#include <span>
#include <utility>

#include <sys/mman.h>

namespace Kiln {

using PackLayout::Entry;
using PackLayout::Form;
using PackLayout::Header;

namespace {

constexpr const char* NOT_A_PACK = "it is not a pack";

} // namespace

/// The file in memory and the parts of its index.
struct ResourcePack::Mapping {
    Mapping() = default;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping() {
        if (bytes && !copy.bytes) {
            ::munmap(const_cast<std::byte*>(bytes), size);
        }
    }

    [[nodiscard]] bool map(const InputFile& file, std::string& problem);
    [[nodiscard]] bool checkHeader(std::string& problem) const;
    [[nodiscard]] bool setIndex(std::string& problem);
    [[nodiscard]] bool checkEntries(std::string& problem) const;
    [[nodiscard]] bool areStringsSound() const noexcept;

    [[nodiscard]] const Header& header() const noexcept { return *reinterpret_cast<const Header*>(bytes); }

    [[nodiscard]] std::string_view path(std::size_t index) const noexcept {
        const std::uint32_t begin = index == 0 ? 0 : entries[index - 1].pathEnd;
        return paths.substr(begin, entries[index].pathEnd - begin);
    }

    /// Opens the tree that the stored bytes of an entry are.
    [[nodiscard]] bool openTree(const Entry& entry, std::span<const std::byte> stored, PackedContent& packed,
                                const ResourceLimits& limits, std::string& problem) const;

    [[nodiscard]] std::string damageText(const std::string& reason) const {
        return formatText("the pack '%s' is damaged: %s", printableText(fileName).c_str(), reason.c_str());
    }

    std::string fileName;
    TreeBytes copy; ///< The bytes, if they are no file.
    const std::byte* bytes = nullptr;
    std::size_t size = 0;
    std::span<const Entry> entries;
    std::string_view paths;
    PackedStrings strings;
};

bool ResourcePack::Mapping::map(const InputFile& file, std::string& problem) {
    if (!file.isOpen()) {
        problem = file.status == InputFile::Status::MISSING ? "the file does not exist" : file.problem;
        return false;
    }
    if (file.size == 0) { // Nothing can be mapped.
        problem = NOT_A_PACK;
        return false;
    }
    size = static_cast<std::size_t>(file.size);
    void* const address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor.get(), 0);
    if (address == MAP_FAILED) {
        problem = describeError(errno);
        return false;
    }
    bytes = static_cast<const std::byte*>(address);
    return true;
}

bool ResourcePack::Mapping::checkHeader(std::string& problem) const {
    if (size < sizeof(Header) || header().magic != PackLayout::MAGIC) {
        problem = NOT_A_PACK;
    } else if (header().byteOrderMark == PackLayout::SWAPPED_BYTE_ORDER_MARK) {
        problem = "it was made for machines of another byte order";
    } else if (header().byteOrderMark != PackLayout::BYTE_ORDER_MARK) {
        problem = "it is damaged: it has no byte order mark";
    } else if (header().version != PackLayout::VERSION) {
        problem = formatText("it has the format version %u; only version %u can be read", header().version,
                             PackLayout::VERSION);
    } else if (header().fileSize != size) {
        problem = formatText("it is damaged: it has %zu bytes instead of %llu", size,
                             static_cast<unsigned long long>(header().fileSize));
    }
    return problem.empty();
}

bool ResourcePack::Mapping::setIndex(std::string& problem) {
    const Header& counts = header();
    const std::uint64_t endsBegin = sizeof(Header) + counts.documentsCount * std::uint64_t{sizeof(Entry)};
    const std::uint64_t pathsBegin = endsBegin + counts.stringsCount * std::uint64_t{sizeof(std::uint32_t)};
    // The sizes are compared by themselves first, because their sum could overflow.
    if (counts.pathsSize > size || counts.textsSize > size || counts.indexSize > size ||
        counts.indexSize != PackLayout::aligned(pathsBegin + counts.pathsSize + counts.textsSize)) {
        problem = "it is damaged: the sizes in its index are wrong";
        return false;
    }
    const auto checkedSize = static_cast<std::size_t>(counts.indexSize) - PackLayout::CHECKED_BEGIN;
    if (packChecksum({bytes + PackLayout::CHECKED_BEGIN, checkedSize}) != counts.indexChecksum) {
        problem = "it is damaged: the checksum of its index is wrong";
        return false;
    }
    const auto* const begin = reinterpret_cast<const char*>(bytes);
    entries = {reinterpret_cast<const Entry*>(begin + sizeof(Header)), counts.documentsCount};
    paths = {begin + pathsBegin, static_cast<std::size_t>(counts.pathsSize)};
    strings.ends = reinterpret_cast<const std::uint32_t*>(begin + endsBegin);
    strings.texts = begin + pathsBegin + counts.pathsSize;
    strings.count = counts.stringsCount;
    if (!areStringsSound()) {
        problem = "it is damaged: its strings overlap";
        return false;
    }
    return checkEntries(problem);
}

bool ResourcePack::Mapping::areStringsSound() const noexcept {
    std::uint32_t begin = 0;
    for (std::size_t i = 0; i < strings.count; ++i) {
        if (strings.ends[i] < begin) {
            return false;
        }
        begin = strings.ends[i];
    }
    return begin == header().textsSize;
}

bool ResourcePack::Mapping::checkEntries(std::string& problem) const {
    std::uint64_t offset = header().indexSize;
    std::uint32_t pathBegin = 0;
    std::string_view previous;
    for (const Entry& entry : entries) {
        const bool hasPath = entry.pathEnd >= pathBegin && entry.pathEnd <= paths.size();
        const std::string_view path = hasPath ? paths.substr(pathBegin, entry.pathEnd - pathBegin) : std::string_view();
        if (!isPackedPath(path) || path <= previous) {
            problem = "it is damaged: its paths are not sorted or not allowed";
            return false;
        }
        const bool isKnownForm = entry.form <= Form::TEXT;
        const bool isSizeSame = entry.form == Form::COMPRESSED_TREE || entry.size == entry.storedSize;
        if (!isKnownForm || !isSizeSame || entry.offset != offset || entry.storedSize > size - offset ||
            PackLayout::aligned(entry.storedSize) > size - offset) {
            problem = formatText("it is damaged: the entry of '%s' is not sound", printableText(path).c_str());
            return false;
        }
        offset += PackLayout::aligned(entry.storedSize);
        pathBegin = entry.pathEnd;
        previous = path;
    }
    if (offset != size || pathBegin != paths.size()) {
        problem = "it is damaged: parts of it belong to no document";
    }
    return problem.empty();
}

bool ResourcePack::Mapping::openTree(const Entry& entry, std::span<const std::byte> stored, PackedContent& packed,
                                     const ResourceLimits& limits, std::string& problem) const {
    std::string reason;
    if (entry.form == Form::COMPRESSED_TREE) {
        if (!decompressTree(stored, static_cast<std::size_t>(entry.size), packed.bytes, reason)) {
            problem = damageText(reason);
            return false;
        }
        stored = packed.bytes.span();
    }
    switch (packed.tree.open(stored, strings, limits, reason)) {
    case PackedTreeState::SOUND:
        return true;
    case PackedTreeState::DAMAGED:
        problem = damageText(reason);
        break;
    case PackedTreeState::TOO_DEEP:
        problem = formatText("its elements are nested deeper than the limit of %zu", limits.elementDepth);
        break;
    case PackedTreeState::TOO_LARGE:
        problem = largerThan(limits.fileSize);
        break;
    }
    return false;
}

ResourcePack::ResourcePack(std::unique_ptr<const Mapping> mapping) : m_mapping(std::move(mapping)) {}
ResourcePack::~ResourcePack() = default;

SmartPointer<ResourcePack> ResourcePack::open(const std::string& fileName, std::string& problem) {
    auto mapping = std::make_unique<Mapping>();
    mapping->fileName = fileName;
    return mapping->map(openFile(fileName), problem) ? fromMapping(std::move(mapping), problem) : nullptr;
}

SmartPointer<ResourcePack> ResourcePack::fromBytes(std::string_view bytes, std::string name, std::string& problem) {
    auto mapping = std::make_unique<Mapping>();
    mapping->fileName = std::move(name);
    mapping->copy = {std::make_unique_for_overwrite<std::byte[]>(bytes.size()), bytes.size()};
    std::memcpy(mapping->copy.bytes.get(), bytes.data(), bytes.size());
    mapping->bytes = mapping->copy.bytes.get();
    mapping->size = bytes.size();
    return fromMapping(std::move(mapping), problem);
}

SmartPointer<ResourcePack> ResourcePack::fromMapping(std::unique_ptr<Mapping> mapping, std::string& problem) {
    std::string found;
    if (!mapping->checkHeader(found) || !mapping->setIndex(found)) {
        problem = std::move(found);
        return nullptr;
    }
    return SmartPointer<ResourcePack>::adopt(new ResourcePack(std::move(mapping)));
}

const std::string& ResourcePack::fileName() const noexcept {
    return m_mapping->fileName;
}

std::uint64_t ResourcePack::fileSize() const noexcept {
    return m_mapping->size;
}

std::size_t ResourcePack::documentsCount() const noexcept {
    return m_mapping->entries.size();
}

ResourcePack::Document ResourcePack::document(std::size_t index) const {
    const Entry& entry = m_mapping->entries[index];
    Document document;
    document.path = m_mapping->path(index);
    document.storedSize = entry.storedSize;
    document.size = entry.size;
    document.sourceChecksum = entry.sourceChecksum;
    document.isCompressed = entry.form == Form::COMPRESSED_TREE;
    document.isText = entry.form == Form::TEXT;
    return document;
}

std::optional<std::size_t> ResourcePack::find(std::string_view path) const noexcept {
    std::size_t begin = 0;
    std::size_t end = documentsCount();
    while (begin < end) {
        const std::size_t middle = begin + (end - begin) / 2;
        const int order = m_mapping->path(middle).compare(path);
        if (order == 0) {
            return middle;
        }
        if (order < 0) {
            begin = middle + 1;
        } else {
            end = middle;
        }
    }
    return std::nullopt;
}

bool ResourcePack::read(std::size_t index, FileContent& content, std::string& problem) const {
    const Entry& entry = m_mapping->entries[index];
    const ResourceLimits limits = resourceLimits();
    if (entry.size > limits.fileSize) {
        problem = largerThan(limits.fileSize);
        return false;
    }
    const std::span<const std::byte> whole{m_mapping->bytes + entry.offset,
                                           static_cast<std::size_t>(PackLayout::aligned(entry.storedSize))};
    if (packChecksum(whole) != entry.checksum) {
        problem = m_mapping->damageText("the checksum of the document is wrong");
        return false;
    }
    const std::span<const std::byte> stored = whole.first(static_cast<std::size_t>(entry.storedSize));
    if (entry.form == Form::TEXT) {
        content = FileContent::copyOf({reinterpret_cast<const char*>(stored.data()), stored.size()});
        return true;
    }
    const auto packed = std::make_shared<PackedContent>();
    if (!m_mapping->openTree(entry, stored, *packed, limits, problem)) {
        return false;
    }
    packed->pack = SmartPointer<const ResourcePack>::share(this);
    content = FileContent();
    content.packed = packed;
    return true;
}

std::string_view packedAnnex(const FileContent& content) noexcept {
    return content.packed ? content.packed->tree.annex() : std::string_view();
}

bool hasPackedPositions(const FileContent& content) noexcept {
    return content.packed && content.packed->tree.hasPositions();
}

} // namespace Kiln
