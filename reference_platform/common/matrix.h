#pragma once

#include <common/export.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln {

/// A 4 x 4 matrix of floats, stored row by row, for row vectors: the translation is in the last row. A value type; the
/// default is the identity.
struct Matrix {
    std::array<float, 16> values{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; ///< Row by row.

    /// The matrix that changes nothing, which is also the default.
    [[nodiscard]] static constexpr Matrix identity() noexcept { return {}; }
    /// Moves a point by (x, y, z).
    [[nodiscard]] static constexpr Matrix translation(float x, float y, float z) noexcept {
        Matrix matrix;
        matrix.values[12] = x;
        matrix.values[13] = y;
        matrix.values[14] = z;
        return matrix;
    }

    /// Reads exactly 16 floats separated by white space; empty when malformed.
    [[nodiscard]] KILN_COMMON_EXPORT static std::optional<Matrix> fromString(std::string_view text) noexcept;

    /// 16 floats separated by one space, each in the shortest form that reads back to the same value.
    [[nodiscard]] KILN_COMMON_EXPORT std::string toString() const;

    /// The element in a row and a column, both from 0 to 3; not checked.
    [[nodiscard]] constexpr float at(std::size_t row, std::size_t column) const noexcept {
        return values[row * 4 + column];
    }

    friend constexpr bool operator==(const Matrix&, const Matrix&) noexcept = default;
};

/// Applies `a` first, then `b` (row vectors).
[[nodiscard]] KILN_COMMON_EXPORT Matrix operator*(const Matrix& a, const Matrix& b) noexcept;

} // namespace Kiln
