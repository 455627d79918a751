#include <prefab_comparison/change.h>

#include <array>

namespace Kiln::PrefabComparison {

std::string_view kindName(ChangeKind kind) noexcept {
    constexpr std::array<std::string_view, 18> NAMES{
        "document-changed", "object-added",          "object-removed",        "object-moved",    "object-renamed",
        "flags-changed",    "component-added",       "component-removed",     "options-changed", "version-changed",
        "value-added",      "value-removed",         "value-changed",         "override-added",  "override-removed",
        "override-changed", "nested-prefab-changed", "unused-content-changed"};
    return NAMES[static_cast<std::size_t>(kind)];
}

} // namespace Kiln::PrefabComparison
