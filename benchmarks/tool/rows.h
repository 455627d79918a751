#pragma once

#include <functional>
#include <string>

/// The rows of kiln-tool: the commands of kiln-prefab that read or write large files, compared with pugixml's load of
/// the same file. Each row is a file of its own.
namespace Kiln::Benchmarks {

/// The name of the file of W3, 100 000 objects in 72 MB.
[[nodiscard]] std::string largeFile();

/// The greatest permitted ratios.
struct RatioLimits {
    double wall;
    double processor; ///< Greater for work on several threads.
};

/// Runs `work` and pugixml's load of W3's file in turn, each in a new thread, prints the shortest times of both and
/// their ratio, and the same in processor time, and remembers whether a ratio exceeds its limit. Does nothing if the
/// name does not contain the argument of the program.
void compareWithPugixml(const std::string& name, RatioLimits limits, const std::function<void()>& work);

/// The same with one limit for both ratios.
void compareWithPugixml(const std::string& name, double limit, const std::function<void()>& work);

void measureDiff();
void measureMerge();
void measureRewrite();

} // namespace Kiln::Benchmarks
