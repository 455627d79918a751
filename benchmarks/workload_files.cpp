#include "workload_files.h"

#include <core/non_copyable.h>
#include <resource/file_system_utils.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <system_error>

namespace Kiln::Benchmarks {

namespace {

/// The resource root of this process.
class Directory : NonCopyable {
public:
    Directory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kiln-benchmarks-XXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            throw std::runtime_error("cannot create a temporary directory");
        }
        m_path = pattern;
        FS::Utils::addResourceRoot(pattern);
    }
    ~Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

[[nodiscard]] const Directory& directory() {
    static const Directory directory;
    return directory;
}

[[nodiscard]] Workload make(int number) {
    constexpr std::size_t COUNTS[] = {1000, 100, 100'000, 10, 1'000'000};
    const std::size_t count = COUNTS[number - 1];
    const auto seed = static_cast<std::uint32_t>(number);
    Workload workload;
    workload.name = "W" + std::to_string(number);
    workload.path = workload.name + ".prefab";
    workload.instances = number == 4 ? 10'000 : 1;
    if (number == 2) {
        const std::string nestedPath = "W2-nested.prefab";
        workload.nodes = makeNesting(count, nestedPath, seed);
        workload.nested = makeTree(10, seed + 100);
        writePrefab(workload.nested, directory().path() / nestedPath);
    } else {
        workload.nodes = makeTree(count, seed);
    }
    writePrefab(workload.nodes, directory().path() / workload.path);
    return workload;
}

} // namespace

std::size_t Workload::objectsCount() const {
    const std::size_t points = nested.empty() ? 0 : nodes.size() - 1;
    return (nodes.size() + points * (nested.size() - (points > 0 ? 1 : 0))) * instances;
}

const Workload& workload(int number) {
    static std::map<int, Workload> workloads;
    const auto known = workloads.find(number);
    return known != workloads.end() ? known->second : workloads.emplace(number, make(number)).first->second;
}

std::string filePath(const std::string& path) {
    return (directory().path() / path).string();
}

} // namespace Kiln::Benchmarks
