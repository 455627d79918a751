#include "table_reporter.h"

#include "samples.h"

#include <algorithm>
#include <cstdio>

namespace Kiln::Benchmarks {

bool TableReporter::ReportContext(const Context& context) {
    std::printf("%d processors at %.0f MHz, load %.2f\n", context.cpu_info.num_cpus,
                context.cpu_info.cycles_per_second / 1e6,
                context.cpu_info.load_avg.empty() ? 0.0 : context.cpu_info.load_avg.front());
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.error_occurred) {
            std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
            m_isAnyAbove = true;
            continue;
        }
        if (run.run_type == Run::RT_Iteration) {
            const auto units = run.counters.find("units");
            const double perIteration = run.real_accumulated_time / static_cast<double>(run.iterations);
            m_samples[run.run_name.function_name].push_back(perIteration * 1e9 /
                                                            (units != run.counters.end() ? units->second.value : 1));
        }
    }
}

void TableReporter::Finalize() {
    std::printf("\n%-34s %28s %28s %7s %6s %6s\n", "", "ns per unit (quartiles)", "reference", "ratio", "must", "aim");
    for (auto& [name, samples] : m_samples) {
        std::sort(samples.begin(), samples.end());
    }
    for (const Comparison& comparison : m_comparisons) {
        const auto subject = m_samples.find(comparison.subject);
        const auto reference = m_samples.find(comparison.reference);
        if (subject == m_samples.end() || (!comparison.reference.empty() && reference == m_samples.end())) {
            continue;
        }
        std::printf("%-34s %28s", comparison.title.c_str(), medianAndQuartiles(subject->second).c_str());
        if (reference != m_samples.end()) {
            const double ratio = quantile(subject->second, 0.5) / quantile(reference->second, 0.5);
            std::printf(" %28s %7.2f", medianAndQuartiles(reference->second).c_str(), ratio);
            if (comparison.most > 0) {
                std::printf(" %6.2f %6.2f", comparison.most, comparison.aim);
                m_isAnyAbove = m_isAnyAbove || ratio > comparison.most;
            }
        }
        std::printf("\n");
    }
    std::printf("%zu repetitions, interleaved at random\n", m_samples.empty() ? 0 : m_samples.begin()->second.size());
}

} // namespace Kiln::Benchmarks
