#pragma once

#include <core/log.h>
#include <core/non_copyable.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The fuzz targets: each is one source that defines LLVMFuzzerTestOneInput(). In the preset `fuzz` libFuzzer calls it;
/// in the other presets corpus_driver.cpp calls it with the kept inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Kiln::Fuzz {

/// Ends the process with a message when a property of the tested code does not hold.
void require(bool condition, const char* property);

/// What every target needs: a log sink that counts messages instead of printing them, and an assertion handler that
/// ends the process, because no content of a file may fail an assertion. Prints the counts when it is destroyed.
///
/// Lifetime: a static object of the target, created by the first input.
class Environment : NonCopyable {
public:
    explicit Environment(const char* target);
    ~Environment();

    /// Counts an input. `isWellFormed` says whether its documents could be parsed.
    void countInput(bool isWellFormed) {
        ++m_inputs;
        m_wellFormed += isWellFormed ? 1 : 0;
    }

    [[nodiscard]] std::size_t messages() const { return m_messages; }

private:
    const char* m_target;
    std::size_t m_inputs = 0;
    std::size_t m_wellFormed = 0;
    std::atomic<std::size_t> m_messages = 0;
    ScopedLogSink m_sink; ///< After the counter that it uses.
};

[[nodiscard]] inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace Kiln::Fuzz
