#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <prefab_inspection/export.h>
#include <resource/data_section.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// A number in a document.
template <class Number>
struct StoredNumber {
    Number value{};         ///< What the loader uses: a default if the element is absent or unreadable.
    DataNode element;       ///< Null if it is absent.
    bool isReadable = true; ///< False if there is an element whose text is no number in the permitted range.
};

/// A game object of a document.
struct StoredObject {
    DataNode element;
    DataNode uuidElement; ///< Null if it is absent.
    DataNode nameElement; ///< Null if it is absent.
    Uuid uuid;            ///< Zero if it is absent or unreadable.
    bool isUuidReadable = false;
    StoredNumber<std::uint32_t> flags;
    bool hasOtherElements = false; ///< Repeated ones or such that the loader ignores.
};

/// A component of a document.
struct StoredItem {
    static constexpr std::uint64_t NO_OBJECT = std::numeric_limits<std::uint64_t>::max();

    DataNode element;
    DataNode properties;                ///< Null if it is absent.
    StoredNumber<std::uint64_t> object; ///< Index of the game object; NO_OBJECT if it is absent or unreadable.
    StoredNumber<std::uint32_t> options;
    bool hasOtherElements = false; ///< Repeated ones or such that the loader ignores.
};

/// The components of one type in a document. A document may have several pools of a type.
struct StoredPool {
    DataNode element;
    DataNode typeElement; ///< Null if it is absent.
    std::string type;
    std::size_t typeId = static_cast<std::size_t>(-1); ///< In the ComponentLibrary; INVALID_ID for an unknown type.
    StoredNumber<std::uint32_t> version;
    std::vector<StoredItem> items;
    bool hasOtherElements = false; ///< Repeated ones or such that the loader ignores.
};

/// A prefab document as it is written, with its elements, read by the rules of the loader, but without messages and
/// without leaving anything out. A document of another format version or without game objects is read, too.
///
/// Owner: holds the parsed document, so that its elements stay valid. Immutable; any thread.
struct KILN_PREFAB_INSPECTION_EXPORT PrefabDocument {
    explicit PrefabDocument(SmartPointer<DataSection> section);

    /// Whether the loader reads the document: its format version is right and it has a list of game objects.
    [[nodiscard]] bool isLoadable() const noexcept;

    /// Whether the loader reads an item of the pool: the type is known, the object exists and the process has one of
    /// the roles that want the component.
    [[nodiscard]] bool isRead(const StoredPool& pool, const StoredItem& item) const;

    SmartPointer<DataSection> section;
    StoredNumber<std::uint32_t> formatVersion;
    DataNode gameObjectsElement; ///< Null if it is absent.
    DataNode componentsElement;  ///< Null if it is absent.
    std::vector<StoredObject> objects;
    std::vector<StoredPool> pools;
};

/// Names of the elements of a prefab document.
namespace ElementName {
inline constexpr const char* FORMAT_VERSION = "formatVersion";
inline constexpr const char* GAME_OBJECTS = "gameObjects";
inline constexpr const char* GAME_OBJECT = "gameObject";
inline constexpr const char* UUID = "uuid";
inline constexpr const char* NAME = "name";
inline constexpr const char* FLAGS = "flags";
inline constexpr const char* COMPONENTS = "components";
inline constexpr const char* POOL = "pool";
inline constexpr const char* TYPE = "type";
inline constexpr const char* VERSION = "version";
inline constexpr const char* ITEM = "item";
inline constexpr const char* OPTIONS = "options";
inline constexpr const char* PROPERTIES = "properties";
inline constexpr const char* VALUE = "value";
inline constexpr const char* OVERRIDES = "overrides";
inline constexpr const char* COMPONENT = "component";
} // namespace ElementName

} // namespace Kiln::PrefabInspection
