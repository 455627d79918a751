#include "bench_output.h"

#include "sample_statistics.h"

#include <core/formatter.h>
#include <kiln_prefab/line_text.h>

#include <cmath>
#include <ostream>
#include <utility>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr int JSON_VERSION = 1;

/// Index of the first step that is not about files.
constexpr std::size_t FIRST_STEP_OF_INSTANCE = 2;

/// A number with a unit: with two decimals below 10, one below 100, and none above.
[[nodiscard]] std::string scaledText(double number, const char* unit) {
    const double size = std::abs(number);
    const int decimals = size < 10 ? 2 : size < 100 ? 1 : 0;
    return formatText("%.*f %s", decimals, number, unit);
}

[[nodiscard]] std::string memoryText(std::int64_t bytes) {
    return largeNumberText(static_cast<double>(bytes)) + "B";
}

/// The speed of a step at its median: in objects of the files while these are loaded, otherwise in those of the
/// instance.
[[nodiscard]] double objectsPerSecond(const PrefabMeasurement& measurement, std::size_t step) {
    const std::size_t count = step < FIRST_STEP_OF_INSTANCE ? measurement.nodesCount : measurement.objectsCount;
    return perSecond(static_cast<double>(count), percentile(measurement.steps[step].samples, 50));
}

} // namespace

std::string durationText(std::chrono::nanoseconds duration) {
    const double count = static_cast<double>(duration.count());
    return count < 1e3   ? scaledText(count, "ns")
           : count < 1e6 ? scaledText(count / 1e3, "us")
           : count < 1e9 ? scaledText(count / 1e6, "ms")
                         : scaledText(count / 1e9, "s");
}

std::string largeNumberText(double number) {
    const double size = std::abs(number);
    return size < 1e3   ? formatText("%.0f ", number)
           : size < 1e6 ? scaledText(number / 1e3, "k")
           : size < 1e9 ? scaledText(number / 1e6, "M")
                        : scaledText(number / 1e9, "G");
}

void writeBenchText(std::ostream& stream, const std::string& path, const PrefabMeasurement& measurement) {
    const std::size_t repeat = measurement.steps.front().samples.size();
    stream << printable(path) << ": " << counted(measurement.objectsCount, "object") << " of "
           << counted(measurement.filesCount, "file") << " with "
           << memoryText(static_cast<std::int64_t>(measurement.bytes)) << ", measured " << counted(repeat, "time")
           << '\n';
    stream << formatText("%-12s %10s %10s %14s %12s\n", "", "median", "99 %", "objects/s", "bytes/s");
    for (std::size_t i = 0; i < measurement.steps.size(); ++i) {
        const MeasuredStep& step = measurement.steps[i];
        const std::chrono::nanoseconds median = percentile(step.samples, 50);
        const double objects = objectsPerSecond(measurement, i);
        const double bytes = perSecond(static_cast<double>(measurement.bytes), median);
        stream << formatText("%-12s %10s %10s %14s %12s\n", step.name, durationText(median).c_str(),
                             durationText(percentile(step.samples, 99)).c_str(), largeNumberText(objects).c_str(),
                             step.readsFiles ? largeNumberText(bytes).c_str() : "");
    }
    stream << "memory: " << memoryText(measurement.documentBytes) << " for the files, "
           << memoryText(measurement.instanceBytes) << " for the instance, "
           << memoryText(measurement.peakResidentBytes) << " resident at most\n";
}

nlohmann::ordered_json benchJson(const std::string& path, const PrefabMeasurement& measurement) {
    OrderedJson json{{"schemaVersion", JSON_VERSION},
                     {"prefab", path},
                     {"files", measurement.filesCount},
                     {"bytes", measurement.bytes},
                     {"objectsInFiles", measurement.nodesCount},
                     {"objects", measurement.objectsCount},
                     {"repeat", measurement.steps.front().samples.size()},
                     {"steps", OrderedJson::array()}};
    for (std::size_t i = 0; i < measurement.steps.size(); ++i) {
        const MeasuredStep& step = measurement.steps[i];
        const std::chrono::nanoseconds median = percentile(step.samples, 50);
        OrderedJson row{{"name", step.name},
                        {"medianNanoseconds", median.count()},
                        {"percentile99Nanoseconds", percentile(step.samples, 99).count()},
                        {"objectsPerSecond", objectsPerSecond(measurement, i)}};
        row["bytesPerSecond"] = step.readsFiles ? OrderedJson(perSecond(static_cast<double>(measurement.bytes), median))
                                                : OrderedJson(nullptr);
        json["steps"].push_back(std::move(row));
    }
    json["memory"] = {{"fileBytes", measurement.documentBytes},
                      {"instanceBytes", measurement.instanceBytes},
                      {"peakResidentBytes", measurement.peakResidentBytes}};
    return json;
}

} // namespace Kiln::PrefabTool
