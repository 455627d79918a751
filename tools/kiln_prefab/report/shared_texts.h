#pragma once

#include "data_text.h"

#include <core/non_copyable.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The texts of several tables, each once, numbered in the order of the tables. Immutable after its construction, which
/// uses several threads; any thread. The tables must outlive it.
class SharedTexts : NonCopyable {
public:
    SharedTexts(std::vector<const TextTable*> tables, std::size_t threadsCount);

    /// The numbers of the texts of a table.
    [[nodiscard]] const std::vector<std::uint32_t>& numbers(std::size_t table) const { return m_numbers[table]; }

    /// The texts of a table that no earlier table has, as elements of a JSON list. All tables one after the other give
    /// the whole list.
    [[nodiscard]] std::string newTexts(std::size_t table) const;

private:
    /// The first occurrence of a text: the table in the upper half, and the index there.
    using Occurrence = std::uint64_t;

    [[nodiscard]] static Occurrence occurrence(std::size_t table, std::size_t index) {
        return static_cast<Occurrence>(table) << 32U | index;
    }

    void findFirst(std::size_t part, std::size_t partsCount);
    void assignNumbers();

    const std::vector<const TextTable*> m_tables;
    std::vector<std::vector<Occurrence>> m_first; ///< For each text of each table.
    std::vector<std::vector<std::uint32_t>> m_numbers;
};

} // namespace Kiln::PrefabTool
