#pragma once

#include "workload.h"

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// What somebody would write by hand who has no use for documents, overrides, links in general, queries or reactions,
/// but must give the same result: a UUID per object, both maps, object slots, components in block pools, names,
/// activation. It stands for the least that creating the objects can cost.
namespace Kiln::Benchmarks {

class FloorComponent {
public:
    virtual ~FloorComponent() = default;
    virtual void activate() { m_isActive = true; }
    [[nodiscard]] bool isActive() const { return m_isActive; }

private:
    bool m_isActive = false;
};

struct FloorHierarchy final : FloorComponent {
    explicit FloorHierarchy(Tessel::GameObject itsParent) : parent(itsParent) {}

    Tessel::GameObject parent;
};

struct FloorTransform final : FloorComponent {
    explicit FloorTransform(const Matrix& matrix) : local(matrix), world(matrix) {}

    Matrix local;
    Matrix world;
};

struct FloorCargo final : FloorComponent {
    FloorCargo(const std::string& itsLabel, float itsMass, float itsVolume)
        : label(itsLabel), mass(itsMass), volume(itsVolume) {}

    std::string label;
    float mass;
    float volume;
};

struct FloorReference final : FloorComponent {
    explicit FloorReference(const std::string& itsResource) : resource(itsResource) {}

    std::string resource;
};

/// Elements in blocks that never move; all are destroyed with the pool.
template <class T>
class FloorPool : NonCopyable {
public:
    ~FloorPool() {
        for (std::size_t i = 0; i < m_size; ++i) {
            at(i).~T();
        }
    }

    template <class... Arguments>
    T& create(Arguments&&... arguments) {
        if (m_size == m_blocks.size() * BLOCK) {
            m_blocks.push_back(std::make_unique_for_overwrite<Room[]>(BLOCK));
        }
        T* const element = new (&m_blocks.back()[m_size % BLOCK]) T(std::forward<Arguments>(arguments)...);
        ++m_size;
        return *element;
    }

    [[nodiscard]] T& at(std::size_t index) { return reinterpret_cast<T&>(m_blocks[index / BLOCK][index % BLOCK]); }
    [[nodiscard]] std::size_t size() const { return m_size; }

private:
    static constexpr std::size_t BLOCK = 512;

    struct alignas(T) Room {
        std::byte bytes[sizeof(T)];
    };

    std::vector<std::unique_ptr<Room[]>> m_blocks;
    std::size_t m_size = 0;
};

struct FloorObject {
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    void add(FloorComponent& component) { components[componentsCount++] = &component; }

    Uuid uuid;
    std::string name;
    std::uint32_t flags = 0;
    bool isActive = false;
    std::uint8_t componentsCount = 0;
    std::uint32_t parent = NONE;
    std::uint32_t firstChild = NONE;
    std::uint32_t lastChild = NONE;
    std::uint32_t nextSibling = NONE;
    std::array<FloorComponent*, 4> components{};
};

/// The objects and components of one world.
class FloorWorld : NonCopyable {
public:
    using Map = std::unordered_map<Uuid, Tessel::GameObject>;

    /// Creates a document in the plain way: one step after the other for each object. Returns the root.
    Tessel::GameObject createPlain(const Nodes& nodes, const Nodes* nested, const Uuid& instanceUuid);

    /// The same in its best form: all map nodes in one pass, merged instead of copied, parents by index.
    Tessel::GameObject createBest(const Nodes& nodes, const Nodes* nested, const Uuid& instanceUuid);

    [[nodiscard]] FloorPool<FloorObject>& objects() { return m_objects; }

private:
    struct Item;

    [[nodiscard]] static std::vector<Item> gather(const Nodes& nodes, const Nodes* nested, const Uuid& instanceUuid);
    [[nodiscard]] Tessel::GameObject createObject();
    void describe(FloorObject& object, const Uuid& uuid, const Item& item);
    void attach(std::uint32_t child, Tessel::GameObject parent);
    void addComponents(FloorObject& object, const Item& item);
    void activate(std::uint32_t root);

    FloorPool<FloorObject> m_objects;
    FloorPool<FloorHierarchy> m_hierarchies;
    FloorPool<FloorTransform> m_transforms;
    FloorPool<FloorCargo> m_cargoes;
    FloorPool<FloorReference> m_references;
};

} // namespace Kiln::Benchmarks
