#include "explore_server.h"

#include "request_guard.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <httplib.h>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using Text = std::shared_ptr<const std::string>;

constexpr const char* ADDRESS = "127.0.0.1";
constexpr const char* PLAIN_TEXT = "text/plain; charset=utf-8";
constexpr const char* JSON = "application/json";

/// Each open page has a thread of its own for events, and browsers open up to six connections more.
constexpr std::size_t THREADS = 24;
constexpr int MAX_LISTENERS = 12;

/// How often a connection for events is used at least, so that a closed one is noticed.
constexpr std::chrono::seconds SIGN_OF_LIFE{5};

constexpr std::time_t KEEP_ALIVE_SECONDS = 1; // Stopping waits for connections that are kept alive.

/// The page needs its own script and style and its own server, and nothing else.
constexpr const char* CONTENT_SECURITY_POLICY =
    "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

[[nodiscard]] std::vector<std::string> headerValues(const httplib::Request& request, const char* name) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < request.get_header_value_count(name); ++i) {
        values.push_back(request.get_header_value(name, i));
    }
    return values;
}

[[nodiscard]] std::vector<std::string> parameterValues(const httplib::Request& request, const char* name) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < request.get_param_value_count(name); ++i) {
        values.push_back(request.get_param_value(name, i));
    }
    return values;
}

[[nodiscard]] std::string event(const char* name, std::string_view data) {
    return std::string("event: ").append(name).append("\ndata: ").append(data).append("\n\n");
}

} // namespace

class ExploreServer::Implementation : NonCopyable {
public:
    Implementation() {
        m_server.new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
        m_server.set_keep_alive_timeout(KEEP_ALIVE_SECONDS);
        m_server.set_payload_max_length(0);
        m_server.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response) { return guard(request, response); });
        serve("/", m_page, "text/html; charset=utf-8");
        serve("/data.json", m_data.text, JSON);
        serve("/live.json", m_live.text, JSON);
        m_server.Get("/events", [this](const httplib::Request& /*request*/, httplib::Response& response) {
            serveEvents(response);
        });
        m_server.set_error_handler([](const httplib::Request& /*request*/, httplib::Response& response) {
            if (response.body.empty()) {
                response.set_content("There is nothing at this address.\n", PLAIN_TEXT);
            }
        });
    }

    ~Implementation() { stop(); }

    /// Returns the port; a negative number on failure.
    [[nodiscard]] int start(const std::string& token) {
        const int port = m_server.bind_to_any_port(ADDRESS);
        if (port > 0) {
            m_guard.emplace(port, token);
            m_thread = std::thread([this] { m_server.listen_after_bind(); });
            while (!m_server.is_running()) { // Stopping has no effect before.
                std::this_thread::yield();
            }
        }
        return port;
    }

    void stop() {
        if (!m_thread.joinable()) {
            return;
        }
        {
            const std::lock_guard lock(m_mutex);
            m_isStopping = true;
        }
        m_changed.notify_all();
        m_server.stop();
        m_thread.join();
    }

    void setPage(std::string html) {
        const std::lock_guard lock(m_mutex);
        m_page = std::make_shared<const std::string>(std::move(html));
    }

    void setData(std::string json) { set(m_data, std::move(json)); }
    void setLive(std::string json) { set(m_live, std::move(json)); }

    [[nodiscard]] Clock::duration idleTime() const {
        const std::lock_guard lock(m_mutex);
        return m_listenersCount > 0 ? Clock::duration::zero() : Clock::now() - m_lastRequest;
    }

private:
    /// A text that pages want to know the changes of.
    struct Published {
        Text text;
        std::uint64_t revision = 0;
    };

    /// What a page has been told.
    struct Listener {
        std::uint64_t dataRevision = 0;
        std::uint64_t liveRevision = 0;
    };

    [[nodiscard]] httplib::Server::HandlerResponse guard(const httplib::Request& request, httplib::Response& response) {
        {
            const std::lock_guard lock(m_mutex);
            m_lastRequest = Clock::now();
        }
        response.headers = {{"Cache-Control", "no-store"},
                            {"Content-Security-Policy", CONTENT_SECURITY_POLICY},
                            {"Referrer-Policy", "no-referrer"}, // The address has the token.
                            {"X-Content-Type-Options", "nosniff"}};
        const std::optional<Refusal> refusal =
            m_guard->refusal({request.method, headerValues(request, "Host"), headerValues(request, "Origin"),
                              parameterValues(request, "token"), request.path});
        if (!refusal) {
            return httplib::Server::HandlerResponse::Unhandled;
        }
        response.status = refusal->status;
        response.set_content(std::string(refusal->message), PLAIN_TEXT);
        return httplib::Server::HandlerResponse::Handled;
    }

    /// Serves a text that may change; `text` is a member of this object.
    void serve(const char* path, const Text& text, const char* contentType) {
        m_server.Get(
            path, [this, &text, contentType](const httplib::Request& /*request*/, httplib::Response& response) {
                Text present;
                {
                    const std::lock_guard lock(m_mutex);
                    present = text;
                }
                if (!present) {
                    response.status = 404; // The error handler adds the message.
                    return;
                }
                response.set_content_provider(present->size(), contentType,
                                              [present](std::size_t offset, std::size_t size, httplib::DataSink& sink) {
                                                  return sink.write(present->data() + offset, size);
                                              });
            });
    }

    void set(Published& published, std::string text) {
        const std::lock_guard lock(m_mutex);
        if (!published.text || *published.text != text) {
            published.text = std::make_shared<const std::string>(std::move(text));
            ++published.revision;
            m_changed.notify_all();
        }
    }

    void serveEvents(httplib::Response& response) {
        const auto listener = std::make_shared<Listener>();
        {
            const std::lock_guard lock(m_mutex);
            if (m_listenersCount == MAX_LISTENERS) {
                response.status = 503;
                response.set_content("Too many pages are open.\n", PLAIN_TEXT);
                return;
            }
            ++m_listenersCount;
        }
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, listener](std::size_t /*offset*/, httplib::DataSink& sink) { return sendEvents(*listener, sink); },
            [this](bool /*isComplete*/) {
                const std::lock_guard lock(m_mutex);
                --m_listenersCount;
                m_lastRequest = Clock::now();
            });
    }

    /// Waits for a change and sends it. Returns false when the connection is to end.
    [[nodiscard]] bool sendEvents(Listener& listener, httplib::DataSink& sink) {
        std::unique_lock lock(m_mutex);
        const auto isChanged = [this, &listener] {
            return m_isStopping || listener.dataRevision != m_data.revision || listener.liveRevision != m_live.revision;
        };
        m_changed.wait_for(lock, SIGN_OF_LIFE, isChanged);
        if (m_isStopping) {
            return false;
        }
        std::string text;
        if (listener.dataRevision != m_data.revision) {
            listener.dataRevision = m_data.revision;
            text += event("data", std::to_string(m_data.revision));
        }
        if (listener.liveRevision != m_live.revision) {
            listener.liveRevision = m_live.revision;
            text += event("live", *m_live.text);
        }
        lock.unlock();
        if (text.empty()) {
            text = ":\n\n"; // A comment.
        }
        return sink.is_writable() && sink.write(text.data(), text.size());
    }

    httplib::Server m_server;
    std::optional<RequestGuard> m_guard; ///< Constant while the server runs.
    std::thread m_thread;

    mutable std::mutex m_mutex; ///< Guards everything below.
    std::condition_variable m_changed;
    Text m_page;
    Published m_data;
    Published m_live;
    int m_listenersCount = 0;
    Clock::time_point m_lastRequest = Clock::now();
    bool m_isStopping = false;
};

ExploreServer::ExploreServer() : m_implementation(std::make_unique<Implementation>()) {}

ExploreServer::~ExploreServer() = default;

std::string ExploreServer::start() {
    const std::string token = makeToken();
    const int port = m_implementation->start(token);
    if (port <= 0) {
        return "Cannot listen on 127.0.0.1";
    }
    m_address =
        std::string("http://").append(ADDRESS).append(":").append(std::to_string(port)).append("/?token=") + token;
    return {};
}

void ExploreServer::setPage(std::string html) {
    m_implementation->setPage(std::move(html));
}

void ExploreServer::setData(std::string json) {
    m_implementation->setData(std::move(json));
}

void ExploreServer::setLive(std::string json) {
    m_implementation->setLive(std::move(json));
}

std::chrono::steady_clock::duration ExploreServer::idleTime() const {
    return m_implementation->idleTime();
}

void ExploreServer::stop() {
    m_implementation->stop();
}

} // namespace Kiln::PrefabTool
