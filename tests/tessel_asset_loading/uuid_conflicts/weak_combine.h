#pragma once

#include <common/uuid.h>

namespace Kiln::TestSupport {

/// In this program, Uuid::combine(a, b) takes its high half from a and its low half from b. In this instance, and in
/// those nested in it, of the low half only the last hexadecimal digit is left. So
/// - an instance and the instances nested in it share their object UUIDs: all have the same high half;
/// - here, descriptors of one instance collide when their last digits are the same, and do so nowhere else.
inline constexpr Uuid COLLIDING_INSTANCE{0xC0, 0};

/// An instance in which descriptors do not collide.
inline constexpr Uuid PLAIN_INSTANCE{0xA0, 0};

} // namespace Kiln::TestSupport
