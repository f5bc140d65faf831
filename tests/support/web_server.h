// A web server on the loopback for tests: answers by path, one request for each connection.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvy::test {

class WebServer {
public:
    // The whole answer to a path, head included. Empty: none ever comes.
    using Answer = std::function<std::string(const std::string& path)>;

    explicit WebServer(Answer answer) : answer_(std::move(answer)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
        ::listen(listener_, 16);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~WebServer() {
        ends_ = true;
        thread_.join();
        for (const int connection : stalled_) ::close(connection);
        ::close(listener_);
    }

    std::u16string address(const std::string& path) const {
        const std::string text = "http://127.0.0.1:" + std::to_string(port_) + path;
        return {text.begin(), text.end()};
    }
    std::vector<std::string> paths() {
        const std::lock_guard lock(mutex_);
        return paths_;
    }

private:
    void serve() {
        while (!ends_) {
            pollfd entry{listener_, POLLIN, 0};
            if (::poll(&entry, 1, 20) <= 0) continue;
            const int connection = ::accept(listener_, nullptr, nullptr);
            if (connection >= 0) serveOne(connection);
        }
    }

    void serveOne(int connection) {
        std::string request;
        char buffer[4096];
        while (request.find("\r\n\r\n") == request.npos) {
            const ssize_t count = ::recv(connection, buffer, sizeof buffer, 0);
            if (count <= 0) break;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        const std::size_t start = request.find(' ') + 1;
        const std::string path = request.substr(start, request.find(' ', start) - start);
        {
            const std::lock_guard lock(mutex_);
            paths_.push_back(path);
        }
        const std::string answer = answer_(path);
        if (answer.empty()) {
            stalled_.push_back(connection);
            return;
        }
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t count =
                ::send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) break;
            sent += static_cast<std::size_t>(count);
        }
        ::close(connection);
    }

    Answer answer_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> ends_ = false;
    std::vector<int> stalled_;
    std::mutex mutex_;
    std::vector<std::string> paths_;
    std::thread thread_;
};

inline std::string okAnswer(const std::string& body, const std::string& head = {}) {
    return "HTTP/1.1 200 OK\r\nConnection: close\r\n" + head + "\r\n" + body;
}
inline std::string redirectTo(const std::string& target) {
    return "HTTP/1.1 302 Found\r\nConnection: close\r\nContent-Length: 0\r\nLocation: " + target +
           "\r\n\r\n";
}

}  // namespace corvy::test
