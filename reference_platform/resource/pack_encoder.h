#pragma once

#include <common/uuid.h>
#include <resource/pack_layout.h>
#include <resource/pack_writer.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kiln {

/// Strings with numbers in the order in which they were added, each once.
class StringNumbers {
public:
    /// The number of the string, which is added if it is new.
    [[nodiscard]] std::uint32_t add(std::string_view string);

    /// Sorted by number. The views stay valid while strings are added and while the object is moved.
    [[nodiscard]] const std::vector<std::string_view>& strings() const noexcept { return m_strings; }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view string) const noexcept { return std::hash<std::string_view>()(string); }
    };

    std::unordered_map<std::string, std::uint32_t, Hash, std::equal_to<>> m_numbers;
    std::vector<std::string_view> m_strings; ///< Keys of the map.
};

/// A tree whose names and texts are numbers of its own strings, or a text.
struct PackDocument::Encoded {
    bool isText = false;
    std::string text;

    /// As in the file, except that the names are numbers of `names`, and payloads of TEXT numbers of `texts`.
    std::vector<PackedNode> nodes;
    std::vector<PackLayout::Position> positions; ///< Of all nodes or empty.
    std::vector<Uuid> uuids;
    std::string values; ///< Matrices.

    StringNumbers names;
    StringNumbers texts;

    /// The texts of MIXED nodes and the numbers of elements below them; their payload is the index.
    struct Mixed {
        std::uint32_t descendantsCount = 0;
        std::uint32_t text = 0;
    };
    std::vector<Mixed> mixed;
};

} // namespace Kiln
