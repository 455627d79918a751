#include <tessel_foundation/internal_tech/pool_dump.h>

#include <ostream>
#include <string>
#include <string_view>

namespace Kiln::Tessel::PoolDump {
namespace {

std::string blockRule() {
    return std::string(31, '#') + "\n";
}

std::string tableRule() {
    return std::string(58, '-') + "\n";
}

std::string indexText(std::int64_t index) {
    return index == ElemState::NO_ELEMENT ? "NO" : std::to_string(index);
}

/// Padded to the width of the table's column.
std::string_view stateText(ElemState::AllocationState state) {
    switch (state) {
    case ElemState::AllocationState::ACTIVE:
        return "ACTIVE           ";
    case ElemState::AllocationState::INACTIVE:
        return "INACTIVE         ";
    case ElemState::AllocationState::FREE:
        break;
    }
    return "FREE             ";
}

/// Writes unformatted, so that the width, fill and base of the stream do not affect the text.
void write(std::ostream& stream, const std::string& text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace

void writePool(std::ostream& stream, const PoolSummary& pool) {
    const std::size_t blockBytes = pool.elementsPerBlock * pool.elementSize;
    std::string text;
    text += "Block size: " + std::to_string(pool.elementsPerBlock) + " objects, " + std::to_string(pool.elementSize) +
            " bytes each. " + std::to_string(blockBytes) + " bytes total\n";
    text += "Amount of blocks: " + std::to_string(pool.blocksCount) + "\n";
    text += "Direct Memory consumption: " + std::to_string(blockBytes * pool.blocksCount) + " bytes\n";
    text += std::string("Is pool empty: ") + (pool.isEmpty ? "yes" : "no") + "\n";
    write(stream, text);
}

void writeBlockHeading(std::ostream& stream, std::size_t blockIndex) {
    write(stream, blockRule() + "Block # " + std::to_string(blockIndex) + "\n" + blockRule());
}

void writeBlock(std::ostream& stream, const BlockSummary& block) {
    std::string text;
    text += std::string("Is block empty: ") + (block.isEmpty ? "true" : "false") + "\n";
    text += "First allocated element: " + indexText(block.firstAllocated) + "\n";
    text += "Last allocated element: " + indexText(block.lastAllocated) + "\n";
    text += "Next free element: " + indexText(block.nextFree) + "\n";
    text += tableRule() + "Index | Allocation State | Next Element | Previous Element\n" + tableRule();
    for (std::int64_t index = 0; index < static_cast<std::int64_t>(block.elementStates.size()); ++index) {
        const ElemState element = block.elementStates[index];
        text += std::to_string(index) + "| ";
        text += stateText(element.allocationState);
        text += "| " + indexText(element.nextElement) + "| " + indexText(element.previousElement) + "\n";
    }
    text += tableRule();
    write(stream, text);
}

} // namespace Kiln::Tessel::PoolDump
