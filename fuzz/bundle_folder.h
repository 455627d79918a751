#pragma once

#include "bundle.h"

#include <core/non_copyable.h>

#include <filesystem>
#include <vector>

namespace Kiln::Fuzz {

/// A directory in memory (/dev/shm, if the machine has it) that is the only resource root of the process and is removed
/// at exit.
class BundleFolder : NonCopyable {
public:
    BundleFolder();
    ~BundleFolder();

    /// Replaces the files of the directory. A file whose name collides with the directory of another one is left out.
    void write(const std::vector<BundleFile>& files);

private:
    void clear();

    std::filesystem::path m_path;
};

} // namespace Kiln::Fuzz
