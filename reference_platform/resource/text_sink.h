#pragma once

#include <string>
#include <string_view>

namespace Kiln {

/// Receives a text piece by piece.
class TextSink {
public:
    virtual ~TextSink() = default;
    virtual void write(std::string_view piece) = 0;
};

/// Collects the text.
struct StringSink final : TextSink {
    void write(std::string_view piece) override { text.append(piece); }

    std::string text;
};

/// The first line of every document that the library writes.
inline constexpr std::string_view XML_DECLARATION = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

} // namespace Kiln
