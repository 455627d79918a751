#pragma once

#include <resource/text_sink.h>

#include <cstddef>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace Kiln {

/// Passes the text that pugixml writes to a TextSink.
///
/// pugixml writes control characters as references, which XML does not allow and reading therefore refuses. They are
/// replaced by the bytes themselves, which reading accepts. Outside CDATA sections "&#" can only come from pugixml,
/// because a '&' of a text is written as "&amp;".
class DocumentWriter final : public pugi::xml_writer {
public:
    explicit DocumentWriter(TextSink& sink) : m_sink(sink) {}

    void write(const void* data, std::size_t size) override;

    /// Call it after the last write.
    void finish();

private:
    [[nodiscard]] std::string_view filter(std::string_view text);
    [[nodiscard]] std::string_view filterCdata(std::string_view text);
    void writeMarkup(std::string_view text);

    TextSink& m_sink;
    std::string m_rest; ///< The end of the text so far, if it may be the beginning of a reference or a delimiter.
    bool m_isInCdata = false;
};

} // namespace Kiln
