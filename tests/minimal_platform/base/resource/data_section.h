#pragma once

#include <core/smart_pointer.h>

#include <string>
#include <string_view>
#include <vector>

namespace Kiln {

/// A node of a tree in memory. Any number of threads may read a tree that nobody changes.
class MINIMAL_API DataSection final : public SafeReferenceCount {
public:
    using Children = std::vector<SmartPointer<DataSection>>;

    explicit DataSection(std::string_view name) : m_name(name) {}
    ~DataSection() override;

    [[nodiscard]] const std::string& sectionName() const { return m_name; }

    /// The first child of that name; null without one, or a new one when `create` is set.
    [[nodiscard]] SmartPointer<DataSection> openSection(std::string_view name, bool create);
    SmartPointer<DataSection> newSection(std::string_view name);

    [[nodiscard]] std::string readString(std::string_view name, std::string_view defaultValue = {});
    void writeString(std::string_view name, std::string_view value) { openSection(name, true)->setString(value); }

    [[nodiscard]] const std::string& asString() const { return m_text; }
    void setString(std::string_view text) { m_text = text; }

    [[nodiscard]] Children::const_iterator begin() const { return m_children.begin(); }
    [[nodiscard]] Children::const_iterator end() const { return m_children.end(); }

private:
    std::string m_name;
    std::string m_text;
    Children m_children;
};

} // namespace Kiln
