#include <tessel_streaming/load_result.h>

namespace Kiln::Tessel::Streaming {

std::string_view failureCodeName(FailureCode code) noexcept {
    switch (code) {
    case FailureCode::INVALID_PATH:
        return "INVALID_PATH";
    case FailureCode::OUTSIDE_OF_ROOTS:
        return "OUTSIDE_OF_ROOTS";
    case FailureCode::MISSING_FILE:
        return "MISSING_FILE";
    case FailureCode::UNREADABLE_FILE:
        return "UNREADABLE_FILE";
    case FailureCode::MALFORMED_FILE:
        return "MALFORMED_FILE";
    case FailureCode::NOT_A_PREFAB:
        return "NOT_A_PREFAB";
    case FailureCode::EMPTY_PREFAB:
        return "EMPTY_PREFAB";
    case FailureCode::CYCLE:
        return "CYCLE";
    case FailureCode::TOO_DEEP:
        return "TOO_DEEP";
    case FailureCode::NO_ROOT:
        return "NO_ROOT";
    case FailureCode::INVALID_WORLD:
        return "INVALID_WORLD";
    case FailureCode::INVALID_PARENT:
        return "INVALID_PARENT";
    case FailureCode::PARENT_IN_OTHER_WORLD:
        return "PARENT_IN_OTHER_WORLD";
    case FailureCode::CREATION_FAILED:
        return "CREATION_FAILED";
    case FailureCode::COMPONENT_THREW:
        return "COMPONENT_THREW";
    case FailureCode::REFUSED_BY_LISTENER:
        return "REFUSED_BY_LISTENER";
    case FailureCode::OUT_OF_MEMORY:
        return "OUT_OF_MEMORY";
    case FailureCode::SERVICE_ENDED:
        return "SERVICE_ENDED";
    }
    return "UNKNOWN";
}

std::string LoadFailure::text() const {
    std::string text = file;
    if (line > 0) {
        text += ':';
        text += std::to_string(line);
    }
    if (!text.empty()) {
        text += ": ";
    }
    text += message;
    text += " (";
    text += failureCodeName(code);
    if (chain.size() > 1) {
        const char* separator = "; ";
        for (const std::string& prefab : chain) {
            text += separator;
            text += prefab;
            separator = " > ";
        }
    }
    text += ')';
    return text;
}

} // namespace Kiln::Tessel::Streaming
