#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <limits>
#include <mutex>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel {

/// Assigns dense ids to types, 0 to Capacity - 1, in the order in which they are first registered. A type is identified
/// by its type_info's hash and name, so that every shared library that asks gets the same id. Any thread.
template <class Meta, class Id, std::size_t Capacity>
class DynamicTypesLibrary : NonCopyable {
    static_assert(Capacity <= std::numeric_limits<Id>::max(), "the overflow id has to be an Id too");

public:
    /// Returned when the library is full.
    static constexpr Id OVERFLOW_ID = static_cast<Id>(Capacity);

    /// The type's id; the same type always gets the same one. OVERFLOW_ID for a new type when all ids are taken.
    Id registerType(const std::type_info& type) {
        const std::scoped_lock lock(m_mutex);
        auto& sameHash = m_idsByHash[type.hash_code()];
        for (const Id id : sameHash) {
            if (m_types[id].name == type.name()) {
                return id;
            }
        }
        if (m_types.size() == Capacity) {
            return OVERFLOW_ID;
        }
        const Id id = static_cast<Id>(m_types.size());
        sameHash.reserve(sameHash.size() + 1); // so that the second push_back does not throw
        m_types.push_back({type.name(), Meta()});
        sameHash.push_back(id);
        return id;
    }

    /// Number of registered types.
    [[nodiscard]] std::size_t typesCount() const {
        const std::scoped_lock lock(m_mutex);
        return m_types.size();
    }

private:
    struct Type {
        std::string name; ///< As returned by type_info::name().
        Meta meta;
    };

    mutable std::mutex m_mutex; ///< Guards both members below.
    std::vector<Type> m_types;
    std::unordered_map<std::size_t, std::vector<Id>> m_idsByHash;
};

} // namespace Kiln::Tessel
