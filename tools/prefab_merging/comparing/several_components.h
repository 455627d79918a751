#pragma once

#include "difference.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// The components of one type that a game object has, as fragments, in the order of the document.
struct SeveralComponents {
    std::vector<std::string> base;
    std::vector<std::string> ours;
    std::vector<std::string> theirs;
};

/// Matches several components of one type of a game object by what they contain, where the documents have different
/// numbers of them, so that a number does not say which one is meant.
class ContentMatch {
public:
    explicit ContentMatch(const SeveralComponents& components);

    /// Whether at most one side has changed them, or both in the same way; numbers are good enough then.
    [[nodiscard]] bool isOneSided() const;

    /// Whether each side has only added or only removed components, and not both have added some.
    [[nodiscard]] bool isUnique() const;

    /// The removed and the added components, if the match is unique. The numbers in the places are those of ours, or of
    /// base for what ours has removed.
    [[nodiscard]] std::vector<Difference> differences(const Place& component) const;

private:
    /// How the components of a side belong to those of base.
    struct Side {
        std::vector<std::size_t> numbers; ///< For each of base, the number at the side; NONE if it is removed.
        std::vector<std::size_t> added;   ///< The numbers of the others.
        bool isUnchanged = false;

        [[nodiscard]] bool hasRemoved() const;
        [[nodiscard]] bool isClean() const { return added.empty() || !hasRemoved(); }
    };

    [[nodiscard]] static Side match(const std::vector<std::string>& base, const std::vector<std::string>& side);

    const SeveralComponents& m_components;
    Side m_ours;
    Side m_theirs;
    bool m_areSidesEqual = false;
};

} // namespace Kiln::PrefabMerging
