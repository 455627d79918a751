#include <resource/pack_writer.h>

#include <core/formatter.h>
#include <core/parallel.h>
#include <core/printable_text.h>
#include <resource/file_replacement.h>
#include <resource/pack_checksum.h>
#include <resource/pack_compression.h>
#include <resource/pack_encoder.h>
#include <resource/resource_path.h>

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <type_traits>
#include <utility>

namespace Kiln {

using PackLayout::Entry;
using PackLayout::Form;
using PackLayout::NodeKind;

namespace {

constexpr unsigned SIZE_BITS = 7;

template <class Object>
void appendObject(const Object& object, std::string& bytes) {
    static_assert(std::is_trivially_copyable_v<Object>);
    bytes.append(reinterpret_cast<const char*>(&object), sizeof object);
}

template <class Object>
void appendObjects(const std::vector<Object>& objects, std::string& bytes) {
    static_assert(std::is_trivially_copyable_v<Object>);
    bytes.append(reinterpret_cast<const char*>(objects.data()), objects.size() * sizeof(Object));
}

void appendText(std::string_view text, std::string& bytes) {
    std::size_t size = text.size();
    for (; size >> SIZE_BITS != 0; size >>= SIZE_BITS) {
        bytes += static_cast<char>((size & ((1U << SIZE_BITS) - 1)) | 1U << SIZE_BITS);
    }
    bytes += static_cast<char>(size);
    bytes += text;
}

void appendPadding(std::string& bytes) {
    bytes.resize(static_cast<std::size_t>(PackLayout::aligned(bytes.size())));
}

/// The strings that all documents of a pack share: the names of elements first, then the texts that more than one
/// document has, each group sorted.
class SharedStrings {
public:
    explicit SharedStrings(const std::vector<PackDocument>& documents) {
        std::unordered_map<std::string_view, bool> texts; // Whether several documents have the text.
        for (const PackDocument& document : documents) {
            for (const std::string_view name : document.encoded().names.strings()) {
                m_numbers.emplace(name, 0);
            }
            for (const std::string_view text : document.encoded().texts.strings()) {
                const auto [known, isNew] = texts.emplace(text, false);
                known->second = !isNew;
            }
        }
        appendNumbered(0);
        const std::size_t namesCount = m_strings.size();
        for (const auto& [text, isShared] : texts) {
            if (isShared && m_numbers.emplace(text, 0).second) {
                m_strings.push_back(text);
            }
        }
        sortAndNumber(namesCount);
    }

    [[nodiscard]] const std::vector<std::string_view>& strings() const noexcept { return m_strings; }

    [[nodiscard]] std::optional<std::uint32_t> find(std::string_view string) const {
        const auto found = m_numbers.find(string);
        return found != m_numbers.end() ? std::optional(found->second) : std::nullopt;
    }

private:
    void appendNumbered(std::size_t begin) {
        for (const auto& [name, number] : m_numbers) {
            m_strings.push_back(name);
        }
        sortAndNumber(begin);
    }

    void sortAndNumber(std::size_t begin) {
        std::sort(m_strings.begin() + static_cast<std::ptrdiff_t>(begin), m_strings.end());
        for (std::size_t i = begin; i < m_strings.size(); ++i) {
            m_numbers[m_strings[i]] = static_cast<std::uint32_t>(i);
        }
    }

    std::vector<std::string_view> m_strings;
    std::unordered_map<std::string_view, std::uint32_t> m_numbers;
};

/// Makes the bytes of a tree from its encoded form and the numbers of the shared strings.
class TreeWriter {
public:
    TreeWriter(const PackDocument& document, const SharedStrings& shared)
        : m_document(document), m_encoded(document.encoded()), m_shared(shared), m_values(m_encoded.values) {}

    [[nodiscard]] std::string write() {
        m_textOffsets.resize(m_encoded.texts.strings().size());
        std::vector<PackedNode> nodes = m_encoded.nodes;
        const std::vector<std::uint32_t> names = nameNumbers();
        for (PackedNode& node : nodes) {
            node.head = (node.head & ~PackLayout::NAME_MASK) | names[node.name()];
            placeText(node);
        }
        PackLayout::DocumentHeader header{};
        header.nodesCount = static_cast<std::uint32_t>(nodes.size());
        header.uuidsCount = static_cast<std::uint32_t>(m_encoded.uuids.size());
        header.flags = m_encoded.positions.empty() ? 0 : PackLayout::HAS_POSITIONS;
        header.valuesSize = m_values.size();
        header.annexSize = m_document.annex.size();

        std::string bytes;
        appendObject(header, bytes);
        for (const Uuid& uuid : m_encoded.uuids) {
            appendObject(uuid.high(), bytes);
            appendObject(uuid.low(), bytes);
        }
        appendObjects(nodes, bytes);
        appendObjects(m_encoded.positions, bytes);
        bytes += m_values;
        bytes += m_document.annex;
        return bytes;
    }

private:
    [[nodiscard]] std::vector<std::uint32_t> nameNumbers() const {
        std::vector<std::uint32_t> numbers;
        numbers.reserve(m_encoded.names.strings().size());
        for (const std::string_view name : m_encoded.names.strings()) {
            numbers.push_back(*m_shared.find(name));
        }
        return numbers;
    }

    void placeText(PackedNode& node) {
        if (node.kind() == NodeKind::MIXED) {
            const PackDocument::Encoded::Mixed& mixed = m_encoded.mixed[node.payload];
            node.payload = static_cast<std::uint32_t>(m_values.size());
            appendObject(mixed.descendantsCount, m_values);
            appendText(m_encoded.texts.strings()[mixed.text], m_values);
        } else if (node.kind() == NodeKind::TEXT) {
            const std::string_view text = m_encoded.texts.strings()[node.payload];
            if (const std::optional<std::uint32_t> number = m_shared.find(text)) {
                constexpr std::uint32_t DIFFERENCE =
                    static_cast<std::uint32_t>(NodeKind::TEXT) ^ static_cast<std::uint32_t>(NodeKind::SHARED_TEXT);
                node.head ^= DIFFERENCE << PackLayout::KIND_SHIFT;
                node.payload = *number;
            } else {
                node.payload = ownText(node.payload);
            }
        }
    }

    /// The offset of one of the texts that only this document has.
    [[nodiscard]] std::uint32_t ownText(std::uint32_t number) {
        std::optional<std::uint32_t>& offset = m_textOffsets[number];
        if (!offset) {
            offset = static_cast<std::uint32_t>(m_values.size());
            appendText(m_encoded.texts.strings()[number], m_values);
        }
        return *offset;
    }

    const PackDocument& m_document;
    const PackDocument::Encoded& m_encoded;
    const SharedStrings& m_shared;
    std::string m_values;
    std::vector<std::optional<std::uint32_t>> m_textOffsets; ///< By number; none for a text that is not written yet.
};

/// The bytes of a document in the file, without the zeros at the end, and an entry without offset and path.
struct StoredDocument {
    std::string bytes;
    Entry entry{};
};

[[nodiscard]] StoredDocument storeDocument(const PackDocument& document, const SharedStrings& shared,
                                           bool isCompressed) {
    StoredDocument stored;
    stored.entry.sourceChecksum = document.sourceChecksum;
    const PackDocument::Encoded& encoded = document.encoded();
    stored.entry.form = encoded.isText ? Form::TEXT : Form::TREE;
    stored.bytes = encoded.isText ? encoded.text : TreeWriter(document, shared).write();
    stored.entry.size = stored.bytes.size();
    if (isCompressed && !encoded.isText) {
        if (std::string compressed = compressTree(stored.bytes); compressed.size() < stored.bytes.size()) {
            stored.bytes = std::move(compressed);
            stored.entry.form = Form::COMPRESSED_TREE;
        }
    }
    stored.entry.storedSize = stored.bytes.size();
    appendPadding(stored.bytes);
    stored.entry.checksum = packChecksum(std::as_bytes(std::span(stored.bytes)));
    return stored;
}

/// Stores documents on several threads.
[[nodiscard]] std::vector<StoredDocument> storeDocuments(const std::vector<PackDocument>& documents,
                                                         const SharedStrings& shared, const PackOptions& options) {
    std::vector<StoredDocument> stored(documents.size());
    forEachIndex(
        documents.size(), options.threads,
        [&](std::size_t index) { stored[index] = storeDocument(documents[index], shared, options.isCompressed); },
        [&](std::size_t count, std::size_t index) {
            if (options.onDocument) {
                options.onDocument(count, documents[index].path);
            }
        });
    return stored;
}

/// The strings one after the other, and where each one ends.
[[nodiscard]] std::string joined(const std::vector<std::string_view>& strings, std::vector<std::uint32_t>& ends) {
    std::string texts;
    ends.reserve(strings.size());
    for (const std::string_view string : strings) {
        texts += string;
        ends.push_back(static_cast<std::uint32_t>(texts.size()));
    }
    return texts;
}

/// The header and the index. Sets the offsets and paths of the entries.
[[nodiscard]] std::string makeIndex(const std::vector<PackDocument>& documents, std::vector<StoredDocument>& stored,
                                    const std::vector<std::string_view>& strings) {
    std::string paths;
    for (std::size_t i = 0; i < documents.size(); ++i) {
        paths += documents[i].path;
        stored[i].entry.pathEnd = static_cast<std::uint32_t>(paths.size());
    }
    std::vector<std::uint32_t> ends;
    const std::string texts = joined(strings, ends);
    PackLayout::Header header{};
    header.magic = PackLayout::MAGIC;
    header.byteOrderMark = PackLayout::BYTE_ORDER_MARK;
    header.version = PackLayout::VERSION;
    header.documentsCount = static_cast<std::uint32_t>(documents.size());
    header.stringsCount = static_cast<std::uint32_t>(strings.size());
    header.pathsSize = paths.size();
    header.textsSize = texts.size();
    header.indexSize = PackLayout::aligned(sizeof header + documents.size() * sizeof(Entry) +
                                           ends.size() * sizeof(std::uint32_t) + paths.size() + texts.size());
    header.fileSize = header.indexSize;
    for (StoredDocument& document : stored) {
        document.entry.offset = header.fileSize;
        header.fileSize += document.bytes.size();
    }

    std::string index;
    index.reserve(static_cast<std::size_t>(header.indexSize));
    appendObject(header, index);
    for (const StoredDocument& document : stored) {
        appendObject(document.entry, index);
    }
    appendObjects(ends, index);
    index.append(paths).append(texts);
    appendPadding(index);
    header.indexChecksum = packChecksum(std::as_bytes(std::span(index)).subspan(PackLayout::CHECKED_BEGIN));
    std::copy_n(reinterpret_cast<const char*>(&header), sizeof header, index.begin());
    return index;
}

[[nodiscard]] bool arePathsAllowed(const std::vector<PackDocument>& documents, std::string& problem) {
    std::size_t pathsSize = 0;
    for (std::size_t i = 0; i < documents.size(); ++i) {
        const std::string& path = documents[i].path;
        pathsSize += path.size();
        if (!isPackedPath(path)) {
            problem = formatText("a pack cannot have the path '%s'", printableText(path).c_str());
            return false;
        }
        if (i > 0 && documents[i - 1].path == path) {
            problem = formatText("two documents have the path '%s'", printableText(path).c_str());
            return false;
        }
    }
    if (pathsSize > std::numeric_limits<std::uint32_t>::max()) {
        problem = "the paths are too long";
    }
    return problem.empty();
}

[[nodiscard]] bool areStringsAllowed(const std::vector<std::string_view>& strings, std::string& problem) {
    std::uint64_t size = 0;
    for (const std::string_view string : strings) {
        size += string.size();
    }
    if (size > std::numeric_limits<std::uint32_t>::max() || strings.size() > PackLayout::NAME_MASK) {
        problem = "the names of the elements and the texts that several documents have are too many";
    }
    return problem.empty();
}

} // namespace

bool writePack(const std::string& fileName, std::vector<PackDocument> documents, const PackOptions& options,
               std::string& problem) {
    problem.clear();
    std::sort(documents.begin(), documents.end(),
              [](const PackDocument& a, const PackDocument& b) { return a.path < b.path; });
    if (!arePathsAllowed(documents, problem)) {
        return false;
    }
    const SharedStrings shared(documents);
    if (!areStringsAllowed(shared.strings(), problem)) {
        return false;
    }
    std::vector<StoredDocument> stored = storeDocuments(documents, shared, options);
    const std::string index = makeIndex(documents, stored, shared.strings());
    return replaceFile(
        fileName,
        [&](TextSink& file) {
            file.write(index);
            for (const StoredDocument& document : stored) {
                file.write(document.bytes);
            }
        },
        problem);
}

std::uint64_t sourceChecksum(std::string_view text) noexcept {
    return packChecksum(std::as_bytes(std::span(text)));
}

} // namespace Kiln
