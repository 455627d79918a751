#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln::PrefabInspection {

/// Keeps what checks have found in single files, so that unchanged files need not be parsed again. Everything that
/// depends on several files is found anew in each check. A value depends on the key alone, as long as the same program
/// and the same component libraries are loaded; an implementation that outlives the process must see to that.
///
/// Threads: any, several at a time. Failure: a value that cannot be stored is not found later.
class ICheckCache {
public:
    /// The value of that key; none if there is none. A damaged value does no harm.
    [[nodiscard]] virtual std::optional<std::string> find(const std::string& key) = 0;
    virtual void store(const std::string& key, std::string_view value) = 0;

protected:
    ~ICheckCache() = default;
};

/// A fast 64-bit hash for recognising equal contents on one machine; not for protection against chosen contents.
[[nodiscard]] inline std::uint64_t fastHash(std::string_view text) {
    constexpr std::uint64_t FACTOR = 0x9fb21c651e98df25U; // Odd, with bits all over.
    std::uint64_t hash = text.size() * FACTOR;
    const auto mix = [&hash](std::uint64_t word) {
        hash = (hash ^ word) * FACTOR;
        hash ^= hash >> 29U;
    };
    while (text.size() >= sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data(), sizeof word);
        mix(word);
        text.remove_prefix(sizeof word);
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, text.data(), text.size());
    mix(rest);
    mix(hash >> 32U);
    return hash;
}

} // namespace Kiln::PrefabInspection
