#include "block_text.h"

#include "data_text.h"

#include <string_view>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

class BlockWriter {
public:
    BlockWriter(const FileIndices& indices, const std::vector<std::uint32_t>& newIndices, std::size_t variantsBefore)
        : m_indices(indices), m_newIndices(newIndices), m_variantsBefore(variantsBefore) {}

    [[nodiscard]] std::string take() { return std::exchange(m_output, {}); }

    void writeBlock(std::size_t file, const FileBlock& block) {
        const std::size_t count = block.names.size();
        m_output += "{\"file\":";
        appendNumber(m_output, file);
        appendColumn(m_output, "name", count, [&](std::size_t i) { return m_newIndices[block.names[i]]; });
        m_output += ",\"uuid\":\"";
        for (const Uuid& uuid : block.uuids) {
            appendUuid(m_output, uuid);
        }
        m_output += '"';
        appendColumn(m_output, "parent", count, [&block](std::size_t i) { return block.parents[i]; });
        appendColumn(m_output, "flags", count, [&block](std::size_t i) { return block.flags[i]; });
        appendColumn(m_output, "line", count, [&block](std::size_t i) { return block.lines[i]; });
        m_output += ",\"root\":";
        appendNumber(m_output, block.root);
        writeNested(block.nested);
        m_output += ",\"below\":";
        appendList(m_output, block.below.size(), [&](std::size_t i) { appendNumbers(m_output, block.below[i]); });
        m_output += ",\"missing\":";
        appendNumbers(m_output, block.missing);
        m_output += ",\"components\":";
        appendList(m_output, count, [&](std::size_t i) { writeComponents(block.components[i]); });
        m_output += '}';
    }

    void writeVariant(const VariantBlock& variant) {
        m_output += ",\n{\"file\":";
        const std::int32_t file = m_indices.find(variant.file);
        appendNumber(m_output, file);
        m_output += ",\"base\":";
        appendNumber(m_output, file);
        m_output += ",\"changed\":";
        appendList(m_output, variant.changed.size(), [&](std::size_t i) {
            m_output += '[';
            appendNumber(m_output, variant.changed[i].first);
            m_output += ',';
            writeComponents(variant.changed[i].second);
            m_output += ']';
        });
        writeNested(variant.nested);
        m_output += ",\"parents\":";
        appendList(m_output, variant.parents.size(), [&](std::size_t i) {
            m_output += '[';
            appendNumber(m_output, variant.parents[i].first);
            m_output += ',';
            appendNumber(m_output, variant.parents[i].second);
            m_output += ']';
        });
        m_output += '}';
    }

private:
    void writeNested(const std::vector<NestedBlock>& nested) {
        std::vector<std::int64_t> numbers;
        for (const NestedBlock& point : nested) {
            numbers.push_back(point.point);
            numbers.push_back(point.variant == NestedBlock::NO_VARIANT
                                  ? m_indices.find(point.file)
                                  : static_cast<std::int64_t>(m_variantsBefore + point.variant));
        }
        m_output += ",\"nested\":";
        appendNumbers(m_output, numbers);
    }

    void writeComponents(const ObjectComponents& components) {
        const std::vector<std::int32_t>& numbers = components.shortForms;
        std::size_t other = 0;
        m_output += '[';
        for (std::size_t i = 0; i < numbers.size();) {
            if (i > 0) {
                m_output += ',';
            }
            if (numbers[i] < 0) {
                m_output += components.others[other++];
                ++i;
                continue;
            }
            m_output += '[';
            appendNumber(m_output, numbers[i]);
            m_output += ',';
            appendNumber(m_output, numbers[i + 1]);
            const std::size_t end = i + 3 + 3 * static_cast<std::size_t>(numbers[i + 2]);
            for (i += 3; i < end; i += 3) {
                m_output += ',';
                appendNumber(m_output, numbers[i]);
                m_output += ',';
                appendNumber(m_output, m_newIndices[static_cast<std::size_t>(numbers[i + 1])]);
                m_output += ',';
                appendNumber(m_output, numbers[i + 2]);
            }
            m_output += ']';
        }
        m_output += ']';
    }

    const FileIndices& m_indices;
    const std::vector<std::uint32_t>& m_newIndices;
    const std::size_t m_variantsBefore;
    std::string m_output;
};

} // namespace

BlockText blockText(std::size_t file, const FileBlock& block, const FileIndices& indices,
                    const std::vector<std::uint32_t>& newIndices, std::size_t variantsBefore) {
    BlockWriter writer(indices, newIndices, variantsBefore);
    BlockText text;
    writer.writeBlock(file, block);
    text.block = writer.take();
    for (const VariantBlock& variant : block.variants) {
        writer.writeVariant(variant);
    }
    text.variants = writer.take();
    return text;
}

void appendUuid(std::string& output, const Uuid& uuid) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    for (const std::uint64_t half : {uuid.high(), uuid.low()}) {
        for (unsigned shift = 64; shift > 0;) {
            shift -= 4;
            output += DIGITS[(half >> shift) & 0xFU];
        }
    }
}

} // namespace Kiln::PrefabTool
