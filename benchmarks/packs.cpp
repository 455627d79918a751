// Measures the limits of packs that are not ratios of two readings: their sizes, and opening a pack of many documents.
// Prints a line for each; the exit status is 1 if a limit is exceeded.

#include "kiln_runs.h"
#include "packed_workload.h"
#include "samples.h"
#include "workload_files.h"

#include <resource/pack_layout.h>
#include <resource/pack_writer.h>
#include <resource/resource_pack.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace Kiln;
using namespace Kiln::Benchmarks;

namespace {

constexpr int REPETITIONS = 101;
constexpr int DOCUMENTS = 10'000;

bool isAnyExceeded = false;

void report(const char* what, double value, double limit) {
    const bool isExceeded = value > limit;
    std::printf("%-64s %10.3f  at most %.2f%s\n", what, value, limit, isExceeded ? "  EXCEEDED" : "");
    isAnyExceeded = isAnyExceeded || isExceeded;
}

void measureSizes() {
    const std::string& path = workload(3).path;
    report("size of W3 in a pack, of its XML", sizeRatio(writePackOf({path}, "", "W3.kilnpack", false), filePath(path)),
           0.45);
    report("size of W3 in a pack with zstd, of its XML",
           sizeRatio(writePackOf({path}, "", "W3-zstd.kilnpack", true), filePath(path)), 0.12);
}

/// A pack of small documents.
[[nodiscard]] std::string writeManyDocuments() {
    const std::string file = filePath("small.prefab");
    writePrefab(makeTree(3, 1), file);
    const SmartPointer<DataSection> section = DataSection::fromFile(file, file, true);
    std::vector<PackDocument> documents;
    documents.reserve(DOCUMENTS);
    for (int number = 0; number < DOCUMENTS; ++number) {
        documents.push_back(PackDocument::fromSection(*section, false).value());
        documents.back().path = "content/of/a/game/document" + std::to_string(number) + ".prefab";
    }
    std::string pack = filePath("many.kilnpack");
    std::string problem;
    if (!writePack(pack, std::move(documents), {}, problem)) {
        throw std::runtime_error("cannot write the pack: " + problem);
    }
    return pack;
}

/// The bytes whose checksum opening a pack computes.
[[nodiscard]] std::string checkedBytes(const std::string& pack) {
    std::ifstream stream(pack, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    PackLayout::Header header;
    std::memcpy(&header, bytes.data(), sizeof header);
    return bytes.substr(PackLayout::CHECKED_BEGIN,
                        static_cast<std::size_t>(header.indexSize) - PackLayout::CHECKED_BEGIN);
}

template <class Action>
[[nodiscard]] double medianMilliseconds(Action action) {
    std::vector<double> samples;
    samples.reserve(REPETITIONS);
    for (int i = 0; i < REPETITIONS; ++i) {
        const Clock::time_point start = Clock::now();
        action();
        samples.push_back(Seconds(Clock::now() - start).count() * 1000);
    }
    std::sort(samples.begin(), samples.end());
    return quantile(samples, 0.5);
}

void measureOpening() {
    const std::string pack = writeManyDocuments();
    const std::string bytes = checkedBytes(pack);
    std::uint64_t checksum = 0;
    const double checking = medianMilliseconds([&] { checksum += sourceChecksum(bytes); });
    const double opening = medianMilliseconds([&] {
        std::string problem;
        const SmartPointer<ResourcePack> opened = ResourcePack::open(pack, problem);
        if (!opened || opened->documentsCount() != DOCUMENTS) {
            throw std::runtime_error("cannot open the pack: " + problem);
        }
    });
    std::printf("%-64s %10.3f  (checksum %016llx)\n", "ms for the checksum of the index of 10000 documents", checking,
                static_cast<unsigned long long>(checksum / REPETITIONS));
    report("ms to open a pack of 10000 documents, without the checksum", opening - checking, 2);
}

} // namespace

int main() {
    measureOpening();
    measureSizes();
    return isAnyExceeded ? 1 : 0;
}
