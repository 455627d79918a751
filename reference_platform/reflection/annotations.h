#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

namespace mirra {

/// A mark on a property or type that tools read; identified by its name.
struct Annotation {
    std::string_view name; ///< A literal.

    friend constexpr bool operator==(const Annotation&, const Annotation&) = default;
};

/// The marks of one property or type.
class Annotations {
public:
    Annotations() = default;
    /// The marks of a property or type.
    Annotations(std::initializer_list<Annotation> annotations) : m_annotations(annotations) {}

    /// Appends the marks of others; those that exist already are repeated.
    void add(const Annotations& others) {
        m_annotations.insert(m_annotations.end(), others.m_annotations.begin(), others.m_annotations.end());
    }

    /// Whether there is a mark with the name of `annotation`.
    [[nodiscard]] bool has(Annotation annotation) const {
        for (const Annotation& own : m_annotations) {
            if (own == annotation) {
                return true;
            }
        }
        return false;
    }

    /// Whether there are no marks.
    [[nodiscard]] bool isEmpty() const noexcept { return m_annotations.empty(); }

private:
    std::vector<Annotation> m_annotations;
};

/// Annotations for editors.
namespace Meta::View {
/// The string is a resource path; editors show a path picker.
inline constexpr Annotation Path{"Meta::View::Path"};
} // namespace Meta::View

} // namespace mirra
