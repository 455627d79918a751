#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <resource/data_section.h>

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabComparison {

/// What an override is about. A text may have the same object, component and property several times; the last value
/// wins in the loader.
struct OverrideKey {
    std::string object;    ///< The UUID in small letters; the text as it is, without white space around it, if it
                           ///< cannot be read as a UUID.
    std::string component; ///< Type name.
    std::string property;  ///< Empty for a record that sets no property.
    std::size_t occurrence = 0;

    friend auto operator<=>(const OverrideKey&, const OverrideKey&) = default;
};

/// The overrides of an override text, one record for each property, in the order of the text. Nothing is left out: what
/// the loader ignores is listed, too.
///
/// Owner: the caller; the elements are valid as long as it. Immutable; any thread.
class OverrideText : NonCopyable {
public:
    struct Record {
        OverrideKey key;
        std::optional<Uuid> uuid; ///< None if it cannot be read; the loader ignores the record.
        DataNode object;          ///< The element `gameObject`.
        DataNode component;       ///< The element `component`; null for an object without any.
        DataNode element;         ///< The property; null for a record that sets none.
    };

    /// An element that the loader ignores, such as a second `uuid`.
    struct OtherElement {
        std::string owner; ///< The keys of the object and the component that contain it, separated by a space; empty at
                           ///< the top.
        DataNode element;
        std::size_t occurrence = 0; ///< Among those with the same owner and name.
    };

    explicit OverrideText(std::string_view text);
    ~OverrideText();

    /// Whether the text is empty, or well formed with the root `overrides`. Otherwise the loader ignores it as a whole;
    /// it is then to be treated as a plain text.
    [[nodiscard]] bool isReadable() const noexcept { return m_isReadable; }

    [[nodiscard]] const std::vector<Record>& records() const noexcept { return m_records; }
    [[nodiscard]] const std::vector<OtherElement>& otherElements() const noexcept { return m_otherElements; }

    /// Null without such a record.
    [[nodiscard]] const Record* find(const OverrideKey& key) const;

    /// Null for an empty text.
    [[nodiscard]] const SmartPointer<DataSection>& section() const noexcept { return m_section; }

private:
    void readObject(DataNode object);
    void readComponent(Record record);
    void addOther(std::string owner, DataNode element);
    void number();

    SmartPointer<DataSection> m_section;
    std::vector<Record> m_records;
    std::vector<std::size_t> m_byKey; ///< Indices of the records, in the order of their keys.
    std::vector<OtherElement> m_otherElements;
    bool m_isReadable = true;
};

} // namespace Kiln::PrefabComparison
