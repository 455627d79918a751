#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// A line of the table: one benchmark against another of the same run.
struct Comparison {
    std::string title;
    std::string subject;
    std::string reference; ///< Empty for a line without ratio.
    double most = 0;       ///< The ratio that must not be exceeded; 0 for none.
    double aim = 0;
};

/// Collects the repetitions of all benchmarks and prints one table: medians and quartiles in nanoseconds per unit (a
/// benchmark's counter "units" is the number of units in an iteration), and ratios of the medians.
class TableReporter final : public benchmark::BenchmarkReporter {
public:
    explicit TableReporter(std::vector<Comparison> comparisons) : m_comparisons(std::move(comparisons)) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Whether a ratio exceeded its limit.
    [[nodiscard]] bool isAnyAbove() const { return m_isAnyAbove; }

private:
    std::vector<Comparison> m_comparisons;
    std::map<std::string, std::vector<double>> m_samples; ///< By the benchmark's name.
    bool m_isAnyAbove = false;
};

} // namespace Kiln::Benchmarks
