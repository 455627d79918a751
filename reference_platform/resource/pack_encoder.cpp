#include <resource/pack_encoder.h>

#include <common/float_text.h>
#include <common/matrix.h>
#include <common/number_text.h>

#include <array>
#include <bit>
#include <limits>
#include <utility>

namespace Kiln {

using PackLayout::MatrixCode;
using PackLayout::NodeKind;

namespace {

constexpr std::uint64_t MAX_NUMBER = std::numeric_limits<std::uint32_t>::max();

/// The bytes of values and texts that a document may have, so that all offsets fit into a payload: each text takes up
/// to five bytes more than its characters, each MIXED node four.
constexpr std::uint64_t MAX_VALUES_SIZE = MAX_NUMBER / 2;

void appendNumberBytes(std::uint32_t number, std::string& bytes) {
    bytes.append(std::bit_cast<std::array<char, sizeof number>>(number).data(), sizeof number);
}

[[nodiscard]] PackedNode makeNode(NodeKind kind, std::uint32_t payload) {
    return {static_cast<std::uint32_t>(kind) << PackLayout::KIND_SHIFT, payload};
}

[[nodiscard]] std::optional<std::uint32_t> integerFrom(std::string_view text) {
    std::uint32_t number = 0;
    const bool isCanonical = !text.empty() && (text.front() != '0' || text.size() == 1);
    return isCanonical && readNumber(text, number) ? std::optional(number) : std::nullopt;
}

[[nodiscard]] std::optional<float> floatFrom(std::string_view text) {
    float number = 0;
    if (text.size() > FloatText::MAX_LENGTH || !FloatText::read(text, number)) {
        return std::nullopt;
    }
    std::array<char, FloatText::MAX_LENGTH> buffer;
    const std::string_view written(buffer.data(), FloatText::write(buffer.data(), number));
    return written == text ? std::optional(number) : std::nullopt;
}

template <class Value>
[[nodiscard]] std::optional<Value> valueFrom(std::string_view text) {
    const std::optional<Value> value = Value::fromString(text);
    return value && value->toString() == text ? value : std::nullopt;
}

/// Encodes a tree. Without recursion: documents can be nested deeper than the stack allows.
class Encoder {
public:
    Encoder(const DataSection& document, bool keepsPositions, PackDocument::Encoded& encoded)
        : m_document(document), m_keepsPositions(keepsPositions), m_encoded(encoded) {}

    /// False if the document is too large.
    [[nodiscard]] bool encode(DataNode root) {
        begin(root, false);
        while (!m_open.empty()) {
            Element& element = m_open.back();
            if (const DataNode child = element.next) {
                element.next = child.nextSibling();
                begin(child, static_cast<bool>(element.next));
            } else {
                end();
            }
            if (m_valuesSize > MAX_VALUES_SIZE || m_encoded.nodes.size() > MAX_NUMBER) {
                return false;
            }
        }
        return m_encoded.names.strings().size() <= PackLayout::NAME_MASK;
    }

private:
    /// A parent whose children are being encoded.
    struct Element {
        std::size_t index; ///< Of its node.
        DataNode next;     ///< Its next child.
    };

    void begin(DataNode element, bool hasNext) {
        const DataNode child = element.firstChild();
        const std::string_view text = element.text(m_scratch);
        PackedNode node = child ? makeParent(text) : makeLeaf(text);
        node.head |= m_encoded.names.add(element.name()) & PackLayout::NAME_MASK;
        node.head |= hasNext ? PackLayout::HAS_NEXT_SIBLING : 0;
        if (child) {
            m_open.push_back({m_encoded.nodes.size(), child});
        }
        m_encoded.nodes.push_back(node);
        if (m_keepsPositions) {
            const DataPosition position = m_document.positionOf(element);
            m_encoded.positions.push_back(
                {static_cast<std::uint32_t>(position.line), static_cast<std::uint32_t>(position.column)});
        }
    }

    void end() {
        PackedNode& node = m_encoded.nodes[m_open.back().index];
        const auto count = static_cast<std::uint32_t>(m_encoded.nodes.size() - m_open.back().index - 1);
        (node.kind() == NodeKind::MIXED ? m_encoded.mixed[node.payload].descendantsCount : node.payload) = count;
        m_open.pop_back();
    }

    [[nodiscard]] std::uint32_t addText(std::string_view text) {
        constexpr std::uint64_t MAX_OVERHEAD = 9;
        m_valuesSize += text.size() + MAX_OVERHEAD;
        return m_encoded.texts.add(text);
    }

    /// The number of elements below it is not known yet.
    [[nodiscard]] PackedNode makeParent(std::string_view text) {
        if (text.empty()) {
            return makeNode(NodeKind::PARENT, 0);
        }
        m_encoded.mixed.push_back({0, addText(text)});
        return makeNode(NodeKind::MIXED, static_cast<std::uint32_t>(m_encoded.mixed.size() - 1));
    }

    [[nodiscard]] PackedNode makeLeaf(std::string_view text) {
        if (text.empty()) {
            return makeNode(NodeKind::EMPTY, 0);
        }
        if (const std::optional<std::uint32_t> number = integerFrom(text)) {
            return makeNode(NodeKind::INTEGER, *number);
        }
        if (const std::optional<float> number = floatFrom(text)) {
            return makeNode(NodeKind::FLOAT, std::bit_cast<std::uint32_t>(*number));
        }
        if (const std::optional<Uuid> uuid = valueFrom<Uuid>(text)) {
            return makeNode(NodeKind::UUID, addUuid(*uuid));
        }
        if (const std::optional<Matrix> matrix = valueFrom<Matrix>(text)) {
            return makeNode(NodeKind::MATRIX, addMatrix(*matrix));
        }
        return makeNode(NodeKind::TEXT, addText(text));
    }

    [[nodiscard]] std::uint32_t addUuid(const Uuid& uuid) {
        const auto [known, isNew] = m_uuids.try_emplace(uuid, static_cast<std::uint32_t>(m_encoded.uuids.size()));
        if (isNew) {
            m_encoded.uuids.push_back(uuid);
        }
        return known->second;
    }

    [[nodiscard]] std::uint32_t addMatrix(const Matrix& matrix) {
        std::uint32_t codes = 0;
        std::string others;
        for (std::size_t i = 0; i < matrix.values.size(); ++i) {
            const auto bits = std::bit_cast<std::uint32_t>(matrix.values[i]);
            MatrixCode code = MatrixCode::OTHER;
            if (bits == 0) {
                code = MatrixCode::ZERO;
            } else if (bits == std::bit_cast<std::uint32_t>(1.0F)) {
                code = MatrixCode::ONE;
            } else {
                appendNumberBytes(bits, others);
            }
            codes |= static_cast<std::uint32_t>(code) << (2 * i);
        }
        const auto offset = static_cast<std::uint32_t>(m_encoded.values.size());
        appendNumberBytes(codes, m_encoded.values);
        m_encoded.values += others;
        m_valuesSize += sizeof codes + others.size();
        return offset;
    }

    const DataSection& m_document;
    bool m_keepsPositions;
    PackDocument::Encoded& m_encoded;
    std::vector<Element> m_open; ///< Outermost first.
    std::unordered_map<Uuid, std::uint32_t> m_uuids;
    std::uint64_t m_valuesSize = 0;
    std::string m_scratch;
};

} // namespace

std::uint32_t StringNumbers::add(std::string_view string) {
    if (const auto known = m_numbers.find(string); known != m_numbers.end()) {
        return known->second;
    }
    const auto added = m_numbers.emplace(string, static_cast<std::uint32_t>(m_strings.size())).first;
    m_strings.push_back(added->first);
    return added->second;
}

PackDocument::PackDocument(std::unique_ptr<Encoded> encoded) noexcept : m_encoded(std::move(encoded)) {}
PackDocument::PackDocument(PackDocument&& other) noexcept = default;
PackDocument& PackDocument::operator=(PackDocument&& other) noexcept = default;
PackDocument::~PackDocument() = default;

bool PackDocument::isText() const noexcept {
    return m_encoded->isText;
}

std::optional<PackDocument> PackDocument::fromSection(const DataSection& root, bool keepsPositions) {
    auto encoded = std::make_unique<Encoded>();
    if (!Encoder(root, keepsPositions, *encoded).encode(root.node())) {
        return std::nullopt;
    }
    return PackDocument(std::move(encoded));
}

PackDocument PackDocument::fromText(std::string text) {
    auto encoded = std::make_unique<Encoded>();
    encoded->isText = true;
    encoded->text = std::move(text);
    return PackDocument(std::move(encoded));
}

} // namespace Kiln
