#include "shared_texts.h"

#include <core/parallel.h>

#include <algorithm>
#include <bit>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

/// A slot of a hash table with linear probing.
struct Slot {
    std::uint64_t hash = 0;
    std::uint64_t occurrence = 0;
    bool isUsed = false;
};

/// Which of the parts has the texts with a hash. The lower bits select the slot within the part.
[[nodiscard]] std::size_t partOf(std::uint64_t hash, std::size_t partsCount) {
    return static_cast<std::size_t>(hash >> 40U) % partsCount;
}

} // namespace

SharedTexts::SharedTexts(std::vector<const TextTable*> tables, std::size_t threadsCount)
    : m_tables(std::move(tables)), m_first(m_tables.size()), m_numbers(m_tables.size()) {
    for (std::size_t table = 0; table < m_tables.size(); ++table) {
        m_first[table].resize(m_tables[table]->size());
    }
    const std::size_t partsCount = threadsFor(threadsCount);
    forEachIndex(partsCount, partsCount, [this, partsCount](std::size_t part) { findFirst(part, partsCount); });
    assignNumbers();
}

/// Each part has the texts with certain hashes, so that threads share nothing.
void SharedTexts::findFirst(std::size_t part, std::size_t partsCount) {
    std::size_t count = 0;
    for (const TextTable* const table : m_tables) {
        for (std::size_t i = 0; i < table->size(); ++i) {
            count += partOf(table->hashAt(i), partsCount) == part ? 1 : 0;
        }
    }
    std::vector<Slot> slots(std::bit_ceil(2 * count + 1));
    const std::size_t mask = slots.size() - 1;
    for (std::size_t table = 0; table < m_tables.size(); ++table) {
        for (std::size_t i = 0; i < m_tables[table]->size(); ++i) {
            const std::uint64_t hash = m_tables[table]->hashAt(i);
            if (partOf(hash, partsCount) != part) {
                continue;
            }
            const auto isText = [this, hash, text = (*m_tables[table])[i]](const Slot& slot) {
                return slot.hash == hash && (*m_tables[slot.occurrence >> 32U])[slot.occurrence & 0xFFFFFFFFU] == text;
            };
            std::size_t index = hash & mask;
            while (slots[index].isUsed && !isText(slots[index])) {
                index = (index + 1) & mask;
            }
            if (!slots[index].isUsed) {
                slots[index] = {hash, occurrence(table, i), true};
            }
            m_first[table][i] = slots[index].occurrence;
        }
    }
}

void SharedTexts::assignNumbers() {
    std::uint32_t next = 0;
    for (std::size_t table = 0; table < m_tables.size(); ++table) {
        const std::vector<Occurrence>& first = m_first[table];
        m_numbers[table].reserve(first.size());
        for (std::size_t i = 0; i < first.size(); ++i) {
            const bool isNew = first[i] == occurrence(table, i);
            m_numbers[table].push_back(isNew ? next : m_numbers[first[i] >> 32U][first[i] & 0xFFFFFFFFU]);
            next += isNew ? 1 : 0;
        }
    }
}

std::string SharedTexts::newTexts(std::size_t table) const {
    std::string output;
    for (std::size_t i = 0; i < m_first[table].size(); ++i) {
        if (m_first[table][i] == occurrence(table, i)) {
            output += output.empty() ? "" : ",";
            appendJsonString(output, (*m_tables[table])[i]);
        }
    }
    return output;
}

} // namespace Kiln::PrefabTool
