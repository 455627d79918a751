#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace nox {

/// A list of slots that emit() calls in the order in which they were connected. Not thread-safe. Slots may connect and
/// disconnect while they are called: a new slot is first called by the next emit, and a removed one is not called any
/// more.
template <class... Arguments>
class Signal {
public:
    /// A function that emit() calls.
    using Slot = std::function<void(Arguments...)>;

    /// Returns an id for disconnect().
    std::size_t connect(Slot slot) {
        m_slots.push_back({++m_lastId, std::move(slot)});
        return m_lastId;
    }

    /// Removes a slot; ignores ids that are not connected.
    void disconnect(std::size_t id) {
        std::erase_if(m_slots, [id](const Connection& connection) { return connection.id == id; });
    }

    /// Calls the slots. An exception of a slot is propagated, and the later slots are not called.
    void emit(Arguments... arguments) const {
        const std::vector<Connection> snapshot = m_slots;
        for (const Connection& connection : snapshot) {
            if (isConnected(connection.id)) {
                connection.slot(arguments...);
            }
        }
    }

    /// Whether no slot is connected.
    [[nodiscard]] bool isEmpty() const noexcept { return m_slots.empty(); }

private:
    struct Connection {
        std::size_t id;
        Slot slot;
    };

    [[nodiscard]] bool isConnected(std::size_t id) const {
        return std::any_of(m_slots.begin(), m_slots.end(),
                           [id](const Connection& connection) { return connection.id == id; });
    }

    std::vector<Connection> m_slots;
    std::size_t m_lastId = 0;
};

} // namespace nox
