#pragma once

#include "baseline.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The baselines that a check uses, by the names of their files, and which of their entries have been found.
class BaselineFiles {
public:
    /// With `createsMissing`, a file that does not exist is an empty baseline.
    explicit BaselineFiles(bool createsMissing) : m_createsMissing(createsMissing) {}

    struct File {
        Baseline baseline;
        std::string text;           ///< Of the file; empty if it does not exist.
        std::set<FindingKey> found; ///< Entries that a finding has matched.

        /// Whether the baseline has the key, which it then remembers as found.
        bool match(const FindingKey& key);
    };

    /// The baseline of that name, read on the first call. Throws CommandError.
    [[nodiscard]] File& file(const std::string& name);

    [[nodiscard]] std::map<std::string, File>& files() noexcept { return m_files; }

    /// Writes the baselines that differ from their files. Throws CommandError.
    void write() const;

private:
    bool m_createsMissing;
    std::map<std::string, File> m_files;
};

} // namespace Kiln::PrefabTool
