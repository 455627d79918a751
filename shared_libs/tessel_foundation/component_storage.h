#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/component.h>
#include <tessel_foundation/export.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>
#include <tessel_foundation/internal_tech/pool_assertions.h>
#include <tessel_foundation/poolable_component.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <type_traits>
#include <utility>

namespace Kiln::Tessel {

/// The components of one type in one world, for users that do not know the component class.
///
/// Owner: the world, in its map from component type to storage. All components must be destroyed before it. Threads:
/// the main thread.
class KILN_TESSEL_FOUNDATION_EXPORT GenericComponentStorage : NonCopyable {
public:
    virtual ~GenericComponentStorage();

    /// Type of the components.
    [[nodiscard]] ComponentTypeId type() const noexcept { return m_type; }

    /// @{
    /// Number of all components, and of the active ones. Constant time.
    [[nodiscard]] virtual std::size_t componentsCount() const noexcept = 0;
    [[nodiscard]] virtual std::size_t activeCount() const noexcept = 0;
    /// @}

    /// @{
    /// Activates or deactivates a component of this storage; does nothing for any other component, or if the component
    /// is already in the requested state.
    virtual void activate(IComponent& component) = 0;
    virtual void deactivate(IComponent& component) = 0;
    /// @}

    /// Writes the state of the pool for diagnostics.
    virtual void dump(std::ostream& stream) const = 0;

protected:
    /// For derived classes: a storage of that type.
    explicit GenericComponentStorage(ComponentTypeId type) noexcept;

private:
    ComponentTypeId m_type;
};

/// The components of class T, which derives from PoolableComponent<T, ...>, in one world.
///
///     ComponentStorage<Burning> storage;
///     ComponentPointer component = storage.create(config);
///     component->activate();
///     component.reset(); // before the storage is destroyed
template <class T>
class ComponentStorage final : public GenericComponentStorage {
public:
    /// Owns one component and returns it to the pool; converts to ComponentPointer.
    using Pointer = std::unique_ptr<T, IComponentDeleter>;

    /// Elements in a block, unless the constructor receives another number.
    static constexpr std::size_t DEFAULT_ELEMENTS_PER_BLOCK = 256;

    /// An empty storage; 0 elements per block are treated as 1.
    explicit ComponentStorage(std::size_t elementsPerBlock = DEFAULT_ELEMENTS_PER_BLOCK)
        : GenericComponentStorage(NativeComponent<T>::getType()), m_pool(elementsPerBlock) {}

    /// Reports an assertion if active components are left. Destroys all remaining components, active or not.
    ~ComponentStorage() override {
        if (activeCount() != 0) {
            PoolAssertions::reportActiveComponents();
        }
    }

    /// Creates an inactive component. The pointer may be destroyed with the component active or not. Exceptions of the
    /// constructor are propagated.
    template <class... Args>
    [[nodiscard]] Pointer create(Args&&... args) {
        return Pointer(m_pool.createData(std::forward<Args>(args)...), IComponentDeleter{&deallocate});
    }

    /// The component as a T; null if `component` is null, of another type or of another storage.
    [[nodiscard]] T* cast(IComponent* component) const {
        static_assert(std::is_base_of_v<IComponent, T>);
        if (component == nullptr || component->type() != type()) {
            return nullptr;
        }
        T* const element = castComponent<T>(component);
        return element != nullptr && m_pool.owns(*element) ? element : nullptr;
    }

    /// Calls `function(T&)` for the active components, block by block, and in the order of activation within each
    /// block; see BlockPool::forEachActive for what it may do.
    template <class Function>
    void forEachActive(Function&& function) {
        m_pool.forEachActive(std::forward<Function>(function));
    }

    /// @{
    /// The pool that contains the components.
    [[nodiscard]] MultiBlockPool<T>& pool() noexcept { return m_pool; }
    [[nodiscard]] const MultiBlockPool<T>& pool() const noexcept { return m_pool; }
    /// @}

    [[nodiscard]] std::size_t componentsCount() const noexcept override { return m_pool.allocatedCount(); }
    [[nodiscard]] std::size_t activeCount() const noexcept override { return m_pool.activeCount(); }

    void activate(IComponent& component) override {
        if (T* const element = cast(&component)) {
            element->activate();
        }
    }

    void deactivate(IComponent& component) override {
        if (T* const element = cast(&component)) {
            element->deactivate();
        }
    }

    void dump(std::ostream& stream) const override { m_pool.dump(stream); }

private:
    static void deallocate(IComponent* component) {
        // Calls the block directly, because MultiBlockPool::freeData() expects an ACTIVE element, and a component may
        // be destroyed without having been activated.
        T* const element = static_cast<T*>(component);
        element->block()->deallocate(element);
    }

    MultiBlockPool<T> m_pool;
};

} // namespace Kiln::Tessel
