// Runs a fuzz target over files, without libFuzzer, so that every compiler and preset can test the kept inputs.
// Arguments: files and directories, whose files are used in the order of their names. A failure ends the process.

#include "fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

[[nodiscard]] std::vector<fs::path> filesOf(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void run(const fs::path& file) {
    std::ifstream stream;
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    stream.open(file, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
    // A heap block of the exact size, so that AddressSanitizer finds reads beyond the input.
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argumentsCount, char** arguments) {
    std::size_t inputs = 0;
    for (int i = 1; i < argumentsCount; ++i) {
        try {
            for (const fs::path& file : filesOf(arguments[i])) {
                run(file);
                ++inputs;
            }
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", arguments[i], error.what());
            return 1;
        }
    }
    if (inputs == 0) {
        std::fprintf(stderr, "usage: %s <file or directory>...; there is no input\n", arguments[0]);
        return 1;
    }
    std::printf("%zu inputs\n", inputs);
    return 0;
}
