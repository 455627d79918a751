#pragma once

#include <core/non_copyable.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <httplib.h>

namespace Kiln::PrefabToolTests {

/// The parts of an address such as "http://127.0.0.1:1234/?token=abc".
struct ServedAddress {
    std::string origin;
    std::string token;

    ServedAddress() = default;
    explicit ServedAddress(const std::string& address)
        : origin(address.substr(0, address.find("/?"))), token(address.substr(address.find('=') + 1)) {}

    [[nodiscard]] httplib::Client client() const {
        httplib::Client client(origin);
        client.set_url_encode(false);
        client.set_read_timeout(std::chrono::seconds(60));
        return client;
    }
};

/// Reads server-sent events on a thread of its own until it is destroyed or the server ends the connection.
class EventReader : NonCopyable {
public:
    explicit EventReader(const ServedAddress& address) : m_client(address.client()) {
        m_thread = std::thread([this, path = "/events?token=" + address.token] {
            m_client.Get(path, [this](const char* text, std::size_t size) {
                const std::lock_guard lock(m_mutex);
                m_text.append(text, size);
                return !m_isStopping;
            });
            m_hasEnded = true;
        });
    }

    ~EventReader() {
        m_isStopping = true;
        m_client.stop();
        m_thread.join();
    }

    /// What has been received so far, without comments.
    [[nodiscard]] std::string events() const {
        const std::lock_guard lock(m_mutex);
        std::string text = m_text;
        for (std::size_t found = text.find(":\n\n"); found != std::string::npos; found = text.find(":\n\n")) {
            text.erase(found, 3);
        }
        return text;
    }

    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }

private:
    httplib::Client m_client;
    mutable std::mutex m_mutex;
    std::string m_text; ///< Guarded by m_mutex.
    std::atomic<bool> m_isStopping = false;
    std::atomic<bool> m_hasEnded = false;
    std::thread m_thread;
};

} // namespace Kiln::PrefabToolTests
