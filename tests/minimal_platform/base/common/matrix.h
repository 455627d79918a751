#pragma once

#include <array>

namespace Kiln {

/// The identity by default.
struct Matrix {
    std::array<float, 16> values{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    friend bool operator==(const Matrix&, const Matrix&) = default;
};

} // namespace Kiln
