#pragma once

#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/prefab_service_records.h>

#include <exception>

namespace Kiln::Tessel::detail {

/// The creation step of one loader: creates the instance, offers it to the creation listener, and activates it when the
/// loader's callback agrees.
///
/// Failure: the objects are removed again. Exceptions are kept instead of passed on, so that one faulty load does not
/// keep others waiting.
///
/// Threads: main thread. Ownership: refers to the loader.
class LoaderCreation : NonCopyable {
public:
    explicit LoaderCreation(const GameObjectLoader& loader) noexcept : m_loader(loader) {}

    /// Whether the prefab is loaded and the world exists. Every waiting loader is checked in every frame.
    [[nodiscard]] static bool isReady(const GameObjectLoader& loader);

    /// Returns the root; the invalid object after a failure. The loader has to be ready.
    [[nodiscard]] GameObject run() noexcept;

    /// An exception that a component or the listener has thrown, or of a failed allocation; null if there was none.
    [[nodiscard]] const std::exception_ptr& exception() const noexcept { return m_exception; }

    /// An exception of the loader's callback; null if there was none.
    [[nodiscard]] const std::exception_ptr& callbackException() const noexcept { return m_callbackException; }

    /// Logs exception(), naming the prefab and the component.
    void reportException() const noexcept;

private:
    [[nodiscard]] GameObject create();
    [[nodiscard]] GameObject createObjects(GameObjectPrefab::CreateConfig& config);
    [[nodiscard]] GameObject createInstance();
    void offerActivation(GameObject root, GameObjectManager& manager);
    void report(const char* problem) const;

    const GameObjectLoader& m_loader;
    const char* m_step = "creation"; ///< For the report.
    SmartPointer<IComponentDescriptor> m_failedComponent;
    std::exception_ptr m_exception;
    std::exception_ptr m_callbackException;
};

} // namespace Kiln::Tessel::detail
