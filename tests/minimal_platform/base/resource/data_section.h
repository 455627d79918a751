#pragma once

#include <core/smart_pointer.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln {

class DataNode;

/// A node of a tree in memory. Any number of threads may read a tree that nobody changes.
class MINIMAL_API DataSection final : public SafeReferenceCount {
public:
    using Children = std::vector<SmartPointer<DataSection>>;

    explicit DataSection(std::string_view name) : m_name(name) {}

    /// Texts of this platform are no trees: null, with a problem.
    [[nodiscard]] static SmartPointer<DataSection> fromText(std::string_view text, const std::string& sourceName,
                                                            std::string* problem);
    ~DataSection() override;

    [[nodiscard]] const std::string& sectionName() const { return m_name; }
    [[nodiscard]] DataNode node() const;

    /// The first child of that name; null without one, or a new one when `create` is set.
    [[nodiscard]] SmartPointer<DataSection> openSection(std::string_view name, bool create);
    SmartPointer<DataSection> newSection(std::string_view name);

    [[nodiscard]] std::string readString(std::string_view name, std::string_view defaultValue = {});
    void writeString(std::string_view name, std::string_view value) { openSection(name, true)->setString(value); }

    [[nodiscard]] const std::string& asString() const { return m_text; }
    void setString(std::string_view text) { m_text = text; }

    [[nodiscard]] std::string source() const { return {}; }

    [[nodiscard]] Children::const_iterator begin() const { return m_children.begin(); }
    [[nodiscard]] Children::const_iterator end() const { return m_children.end(); }

private:
    std::string m_name;
    std::string m_text;
    Children m_children;
};

/// A cursor on a section. Valid as long as the tree.
class MINIMAL_API DataNode {
public:
    DataNode() = default;
    DataNode(const DataSection* parent, std::size_t index) : m_parent(parent), m_index(index) {}
    explicit DataNode(const DataSection& root) : m_root(&root) {}

    explicit operator bool() const { return section() != nullptr; }
    [[nodiscard]] std::string_view name() const { return section() ? section()->sectionName() : std::string_view(); }
    [[nodiscard]] std::string text() const { return section() ? section()->asString() : std::string(); }
    [[nodiscard]] std::string_view text(std::string& /*scratch*/) const {
        return section() ? std::string_view(section()->asString()) : std::string_view();
    }
    [[nodiscard]] DataNode firstChild() const { return section() ? DataNode(section(), 0) : DataNode(); }
    [[nodiscard]] DataNode nextSibling() const { return {m_parent, m_index + 1}; }
    [[nodiscard]] DataNode child(std::string_view name) const;

private:
    /// Null for a cursor behind the last child.
    [[nodiscard]] const DataSection* section() const;

    const DataSection* m_root = nullptr;   ///< The section itself, if the cursor has no parent.
    const DataSection* m_parent = nullptr; ///< Of the section.
    std::size_t m_index = 0;               ///< Among the children of the parent.
};

inline DataNode DataSection::node() const {
    return DataNode(*this);
}

} // namespace Kiln
