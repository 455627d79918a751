#pragma once

#include <common/uuid.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// Random prefab documents and random changes of them, for tests that hold for every document.
namespace Kiln::TestSupport {

using RandomSource = std::mt19937_64;

/// A number below `limit`, the same on every platform.
[[nodiscard]] std::size_t randomBelow(RandomSource& source, std::size_t limit);

/// A component of a RandomPrefab. Values are XML that is the content of the property's element.
struct RandomComponent {
    unsigned options = 35;
    std::map<std::string, std::string> properties;

    bool operator==(const RandomComponent&) const = default;
};

/// Overridden properties by the object's UUID, component and property; values as in RandomComponent.
using RandomOverrides = std::map<std::string, std::map<std::string, std::map<std::string, std::string>>>;

struct RandomObject {
    Uuid uuid;
    std::string name;
    unsigned flags = 0;
    std::optional<Uuid> parent;
    std::map<std::string, RandomComponent> components; ///< By type; the parent is no part of them.
    std::string nested;                                ///< Resource path of a nested prefab; empty for none.
    RandomOverrides overrides;
};

/// A document as its parts, which can be written in many ways that mean the same.
struct RandomPrefab {
    std::vector<RandomObject> objects; ///< The root is the first one.
    unsigned lampVersion = 1;          ///< Version of the pool of "LampComponent".

    /// The document's text. `style` chooses indentation, line ends, the order of pools and items, and escaping.
    [[nodiscard]] std::string text(std::size_t style) const;
};

/// A document with about `objectsCount` objects.
[[nodiscard]] RandomPrefab randomPrefab(RandomSource& source, std::size_t objectsCount);

/// Makes a random change that leaves the document sound: there is one root, and every parent and link exists.
void changeRandomly(RandomPrefab& prefab, RandomSource& source);

/// Makes a random change that concerns only objects whose number in the document is `side` modulo 2, and new objects;
/// the first four objects are neither changed nor removed. Changes for different sides do not concern each other.
void changeIndependently(RandomPrefab& prefab, const RandomPrefab& base, RandomSource& source, std::size_t side);

/// What a document's text says: a value for each attribute, property and overridden property, such as
/// "UUID/c/LampComponent/p/brightness". Read without the code of the tool. Empty if the text is not a document.
[[nodiscard]] std::map<std::string, std::string> factsOf(std::string_view text);

} // namespace Kiln::TestSupport
