#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Kiln {

/// The bytes of a tree outside of the file. Aligned as `new` aligns.
struct TreeBytes {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0;

    [[nodiscard]] std::span<const std::byte> span() const noexcept { return {bytes.get(), size}; }
};

/// Compresses a tree. Equal trees yield equal bytes. Throws std::bad_alloc.
///
/// Before, the payload of each node is replaced by the difference to that of the last node with the same head, and each
/// line by the difference to the one before. The elements of the format repeat, so nearly all of these differences do.
[[nodiscard]] std::string compressTree(std::string_view tree);

/// Restores a tree of `size` bytes. False, with the reason in `problem`, if the bytes are no compressed tree of that
/// size; the tree itself is not checked.
[[nodiscard]] bool decompressTree(std::span<const std::byte> stored, std::size_t size, TreeBytes& tree,
                                  std::string& problem);

} // namespace Kiln
