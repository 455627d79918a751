#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/export.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// The override data that is the value of one element, read by the rules of OverrideRecords. Immutable; any thread.
struct KILN_PREFAB_INSPECTION_EXPORT OverrideSource : NonCopyable {
    struct Record {
        Uuid uuid;
        std::string component; ///< Registered name.
        DataNode properties;
    };

    /// `outer` is the text that contains the element.
    OverrideSource(const std::string& filePath, std::shared_ptr<const SourceText> outer, DataNode valueElement);
    ~OverrideSource();

    [[nodiscard]] bool hasRecordsOf(const Uuid& uuid) const;

    const std::string* file; ///< Resource path.
    DataNode element;        ///< In the outer text.
    std::shared_ptr<const SourceText> outerText;
    std::shared_ptr<const SourceText> text;
    SmartPointer<DataSection> section; ///< Null if the text is not well formed.
    std::vector<Record> records;       ///< In the order of their UUIDs, those of one UUID in the order of the text.
    std::string problem;               ///< Why the loader ignores the text as a whole; empty if it does not.

private:
    void readRecords();
};

/// Override data that has been read, each text once. One thread; the results stay where they are.
class OverrideSources : NonCopyable {
public:
    /// Null for an element without text. `file` must outlive the result.
    [[nodiscard]] const OverrideSource* get(const std::string& file, const std::shared_ptr<const SourceText>& outer,
                                            DataNode element);

private:
    using Key = std::pair<const SourceText*, std::ptrdiff_t>; ///< Outer text, offset of the element.

    std::map<Key, std::unique_ptr<OverrideSource>> m_sources;
};

/// Override data that applies to an instance.
struct AppliedOverrides {
    const OverrideSource* source;

    /// The text has no effect, because a file further out replaces it as a whole.
    bool isReplaced;
};

/// In the order in which they are applied, so that the last one wins.
using OverrideList = std::vector<AppliedOverrides>;

/// The overrides of one component in one text.
struct OverrideSection {
    const OverrideSource* source;
    DataNode properties;
    bool isReplaced; ///< See AppliedOverrides.
};

/// Appends the overrides that a list has for a component, in the order in which they are applied.
void findSections(const OverrideList& overrides, const Uuid& uuid, std::string_view component,
                  std::vector<OverrideSection>& sections);

/// Whether a list has any overrides of an object that are not replaced.
[[nodiscard]] bool hasRecordsOf(const OverrideList& overrides, const Uuid& uuid);

} // namespace Kiln::PrefabInspection
