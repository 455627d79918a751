#pragma once

#include <core/non_copyable.h>

#include <chrono>
#include <memory>
#include <string>

namespace Kiln::PrefabTool {

/// Serves the page of `explore` on 127.0.0.1 and tells it when its data changes. It reads no file: it serves only the
/// texts that it is given.
///
///     /           the page
///     /data.json  its data, as the page of `report` has it
///     /live.json  the state of live objects
///     /events     server-sent events: "data" when the data has changed, and "live" with the state of live objects
///
/// Each address needs the token as the parameter "token"; see RequestGuard.
///
/// Threads: the operations are for one thread; requests are answered by threads of the server.
class ExploreServer : NonCopyable {
public:
    ExploreServer();
    ~ExploreServer();

    /// Listens on a free port. Returns why that is not possible, as a sentence without full stop; empty on success.
    [[nodiscard]] std::string start();

    /// The address of the page with the token.
    [[nodiscard]] const std::string& address() const noexcept { return m_address; }

    /// What is served from now on. The data and the live state are pushed to the pages that are open, if they differ
    /// from before.
    void setPage(std::string html);
    void setData(std::string json);
    void setLive(std::string json);

    /// For how long no page has been open and no request has been made.
    [[nodiscard]] std::chrono::steady_clock::duration idleTime() const;

    /// Ends all connections. Called by the destructor, too.
    void stop();

private:
    class Implementation;

    std::unique_ptr<Implementation> m_implementation;
    std::string m_address;
};

} // namespace Kiln::PrefabTool
