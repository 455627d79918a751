#pragma once

#include <core/non_copyable.h>

#include <memory>
#include <streambuf>

namespace Kiln::PrefabTool {

/// During its lifetime, std::cout writes through a buffer that knows why a write failed: if nobody reads the pipe any
/// more, the process ends at once by SIGPIPE, without a message, as programs do that do not ignore the signal. Other
/// failures set the state of std::cout.
class StandardOutput : NonCopyable {
public:
    StandardOutput();
    ~StandardOutput();

private:
    std::unique_ptr<std::streambuf> m_buffer;
    std::streambuf* m_original;
};

} // namespace Kiln::PrefabTool
