#pragma once

#include <prefab_inspection/findings/finding.h>
#include <resource/data_node.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// A part of a file, given by offsets. Its lines and columns are found only if the finding is reported.
struct Anchor {
    enum class Part {
        FILE,    ///< The file as a whole.
        NAME,    ///< The name of an element.
        VALUE,   ///< The value of an element.
        BYTES,   ///< Some bytes.
        POSITION ///< A line and a column, which are in `offset` and `size`.
    };

    Part part = Part::FILE;
    std::size_t offset = 0; ///< Of the element's name, or of the first byte.
    std::size_t size = 0;   ///< Number of bytes.

    /// For an element inside of override data: the offsets of the elements whose values contain the text, outermost
    /// first, each in the text that contains it.
    std::vector<std::size_t> embedding;

    [[nodiscard]] static Anchor name(DataNode element) {
        return {Part::NAME, static_cast<std::size_t>(element.offset()), 0, {}};
    }
    [[nodiscard]] static Anchor value(DataNode element) {
        return {Part::VALUE, static_cast<std::size_t>(element.offset()), 0, {}};
    }
    [[nodiscard]] static Anchor valueAt(std::size_t nameOffset) { return {Part::VALUE, nameOffset, 0, {}}; }
    [[nodiscard]] static Anchor bytes(std::size_t begin, std::size_t size) { return {Part::BYTES, begin, size, {}}; }

    /// The same inside of an embedded text.
    [[nodiscard]] Anchor in(std::vector<std::size_t> outer) && {
        embedding = std::move(outer);
        return std::move(*this);
    }
};

struct PendingPlace {
    std::string file;
    Anchor anchor;
    std::string text;
};

/// A finding whose positions, names and lines are not known yet.
struct PendingFinding {
    static constexpr std::uint32_t NO_OBJECT = std::numeric_limits<std::uint32_t>::max();

    FindingCode code{};
    Severity severity = Severity::ERROR;
    std::string file;
    Anchor anchor;
    std::uint32_t object = NO_OBJECT; ///< Index of the game object in the file.
    std::string subject;
    std::string message;
    std::string cure;
    std::vector<PendingPlace> related;
    std::string replacement; ///< Of the anchor's bytes; used if `fixTitle` is not empty.
    std::string fixTitle;
};

} // namespace Kiln::PrefabInspection
