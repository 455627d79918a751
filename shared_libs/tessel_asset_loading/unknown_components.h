#pragma once

#include <core/log.h>
#include <tessel_asset_loading/export.h>

#include <functional>
#include <string>

namespace Kiln::Tessel {

/// Components that a document has left out, because no library has registered their type.
struct UnknownComponents {
    static constexpr int SEVERITY = LogSeverity::WARNING; ///< For hosts that log it.

    std::string type; ///< The name that the file gives.
    std::string path; ///< The file as a resource path; the name of the source for documents that are no files.

    /// Such as "props/lamp.prefab: no library has registered the component 'LampComponent'; its instances are left
    /// out".
    [[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT std::string text() const;
};

/// Called on the thread that reads the document, also on several threads at once. The service may hold its locks, so
/// the function must not load, cache or release prefabs. What it throws is dropped.
using UnknownComponentHandler = std::function<void(const UnknownComponents&)>;

/// Sets the function that hears of components of unknown types: once for each type and file after it was set, however
/// often the file is read, and at most 10 000 times. Without one, which is the default, a document is read as if the
/// components did not exist. An empty function removes it; a call that another thread has begun may still end later. A
/// plug-in that sets a function of its own removes it before it is closed. Any thread.
///
/// A game that gets such a call lacks a plug-in, or its linker has left out a static library of components (see
/// kiln_link_components()).
KILN_TESSEL_ASSET_LOADING_EXPORT void setUnknownComponentHandler(UnknownComponentHandler handler);

} // namespace Kiln::Tessel
