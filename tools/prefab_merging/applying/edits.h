#pragma once

#include "../markup.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// Changes of a text, by ascending position; of those at one position, insertions come first, in their order. The text
/// must outlive it.
class Edits {
public:
    explicit Edits(std::string_view text) : m_text(text) {}

    void replace(Range range, std::string text) { m_edits.push_back({range, std::move(text)}); }
    void insert(std::size_t position, std::string text) { replace({position, position}, std::move(text)); }
    void remove(Range range) { replace(range, {}); }

    /// The changed text. Changes inside of a removed range have no effect.
    [[nodiscard]] std::string apply();

private:
    struct Edit {
        Range range;
        std::string text;
    };

    std::string_view m_text;
    std::vector<Edit> m_edits;
};

} // namespace Kiln::PrefabMerging
