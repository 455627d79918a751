#pragma once

#include <chrono>
#include <optional>

namespace Kiln::Tessel::detail {

/// The moment at which a piece of work pauses. The default is no deadline: the work does not pause.
class Deadline {
public:
    constexpr Deadline() noexcept = default;
    explicit Deadline(std::chrono::steady_clock::time_point moment) noexcept : m_moment(moment) {}

    [[nodiscard]] bool hasPassed() const noexcept { return m_moment && std::chrono::steady_clock::now() >= *m_moment; }

private:
    std::optional<std::chrono::steady_clock::time_point> m_moment;
};

} // namespace Kiln::Tessel::detail
