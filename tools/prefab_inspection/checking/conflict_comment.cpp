#include <prefab_inspection/checking/conflict_comment.h>

#include <common/white_space.h>

#include <algorithm>
#include <cstddef>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::string_view COMMENT_BEGIN = "<!--";

} // namespace

std::optional<std::string_view> conflictText(std::string_view comment) {
    comment.remove_prefix(std::min(comment.size(), COMMENT_BEGIN.size()));
    for (const std::string_view word : {"kiln-prefab", "conflict"}) {
        while (!comment.empty() && isWhiteSpace(comment.front())) {
            comment.remove_prefix(1);
        }
        if (!comment.starts_with(word)) {
            return std::nullopt;
        }
        comment.remove_prefix(word.size());
    }
    const bool isWholeWord = comment.empty() || isWhiteSpace(comment.front()) || comment.front() == '{';
    return isWholeWord ? std::optional(comment) : std::nullopt;
}

std::vector<TextRange> conflictComments(std::string_view text) {
    constexpr std::size_t NONE = std::string_view::npos;
    std::vector<TextRange> comments;
    // Only comments and CDATA sections have an exclamation mark in their tags, so that few of them are found.
    std::size_t mark = text.find('!');
    while (mark != NONE) {
        std::size_t next = mark + 1;
        const std::string_view markup = mark == 0 || text[mark - 1] != '<' ? std::string_view() : text.substr(mark - 1);
        const bool isComment = markup.starts_with(COMMENT_BEGIN);
        if (isComment || markup.starts_with("<![CDATA[")) {
            const std::size_t end = text.find(isComment ? "-->" : "]]>", mark + 3);
            next = end == NONE ? text.size() : end + 3;
            if (end != NONE && isComment && conflictText(markup)) {
                comments.push_back({mark - 1, next});
            }
        }
        mark = text.find('!', std::min(next, text.size()));
    }
    return comments;
}

} // namespace Kiln::PrefabInspection
