#include "text_patch.h"

#include <prefab_editing/markup_reader.h>

#include <cstddef>
#include <cstdint>

namespace Kiln::PrefabPacking {

using PrefabEditing::Markup;
using PrefabEditing::MarkupReader;

namespace {

constexpr unsigned SIZE_BITS = 7;
constexpr unsigned MORE_BYTES = 1U << SIZE_BITS;
constexpr unsigned MAX_SIZE_BITS = 63;

void appendSize(std::size_t size, std::string& bytes) {
    for (; size >> SIZE_BITS != 0; size >>= SIZE_BITS) {
        bytes += static_cast<char>((size & (MORE_BYTES - 1)) | MORE_BYTES);
    }
    bytes += static_cast<char>(size);
}

/// Cuts a size off the begin.
[[nodiscard]] std::optional<std::size_t> takeSize(std::string_view& bytes) {
    std::size_t size = 0;
    for (unsigned shift = 0; shift < MAX_SIZE_BITS && !bytes.empty(); shift += SIZE_BITS) {
        const auto byte = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        size |= static_cast<std::size_t>(byte & (MORE_BYTES - 1)) << shift;
        if (byte < MORE_BYTES) {
            return size;
        }
    }
    return std::nullopt;
}

/// Cuts `size` bytes off the begin; false if there are fewer.
[[nodiscard]] bool take(std::string_view& bytes, std::size_t size, std::string_view& taken) {
    taken = bytes.substr(0, size);
    bytes.remove_prefix(taken.size());
    return taken.size() == size;
}

/// Divides a text into tags of elements and what lies between them.
class Pieces {
public:
    explicit Pieces(std::string_view text) : m_text(text), m_reader(text) {}

    /// The next piece, alternately a text in front of a tag, which may be empty, and the tag. At the end, both are
    /// empty.
    [[nodiscard]] std::string_view next() {
        if (m_isTagNext) {
            m_isTagNext = false;
            return m_tag;
        }
        const std::size_t begin = m_reader.position();
        Markup markup = m_reader.next();
        while (markup.kind != Markup::Kind::END && !isTag(markup.kind)) {
            markup = m_reader.next();
        }
        m_tag = m_text.substr(markup.begin, markup.end - markup.begin);
        m_isTagNext = true;
        return m_text.substr(begin, markup.begin - begin);
    }

    /// Where the last piece ends.
    [[nodiscard]] bool isAtEnd() const { return !m_isTagNext && m_tag.empty() && m_reader.position() == m_text.size(); }

private:
    [[nodiscard]] static bool isTag(Markup::Kind kind) {
        return kind == Markup::Kind::START_TAG || kind == Markup::Kind::EMPTY_TAG || kind == Markup::Kind::END_TAG;
    }

    std::string_view m_text;
    MarkupReader m_reader;
    std::string_view m_tag;
    bool m_isTagNext = false;
};

class PatchWriter {
public:
    void add(std::string_view before, std::string_view after) {
        if (before == after) {
            writeChange();
            m_keptSize += before.size();
        } else {
            m_removedSize += before.size();
            m_inserted += after;
        }
    }

    [[nodiscard]] std::string take() {
        writeChange();
        return std::move(m_patch);
    }

private:
    void writeChange() {
        if (m_removedSize == 0 && m_inserted.empty()) {
            return;
        }
        appendSize(m_keptSize, m_patch);
        appendSize(m_removedSize, m_patch);
        appendSize(m_inserted.size(), m_patch);
        m_patch += m_inserted;
        m_keptSize = 0;
        m_removedSize = 0;
        m_inserted.clear();
    }

    std::string m_patch;
    std::size_t m_keptSize = 0;
    std::size_t m_removedSize = 0;
    std::string m_inserted;
};

} // namespace

std::string makeTextPatch(std::string_view before, std::string_view after) {
    if (before == after) {
        return {};
    }
    Pieces piecesBefore(before);
    Pieces piecesAfter(after);
    PatchWriter writer;
    while (!piecesBefore.isAtEnd() || !piecesAfter.isAtEnd()) {
        const std::string_view pieceBefore = piecesBefore.next();
        writer.add(pieceBefore, piecesAfter.next());
    }
    return writer.take();
}

std::optional<std::string> applyTextPatch(std::string_view before, std::string_view patch, std::size_t maxSize) {
    std::string after;
    while (!patch.empty()) {
        const std::optional<std::size_t> keptSize = takeSize(patch);
        const std::optional<std::size_t> removedSize = takeSize(patch);
        const std::optional<std::size_t> insertedSize = takeSize(patch);
        std::string_view kept;
        std::string_view removed;
        std::string_view inserted;
        if (!keptSize || !removedSize || !insertedSize || !take(before, *keptSize, kept) ||
            !take(before, *removedSize, removed) || !take(patch, *insertedSize, inserted) ||
            kept.size() + inserted.size() > maxSize - after.size()) {
            return std::nullopt;
        }
        after.append(kept).append(inserted);
    }
    if (before.size() > maxSize - after.size()) {
        return std::nullopt;
    }
    return std::move(after.append(before));
}

} // namespace Kiln::PrefabPacking
