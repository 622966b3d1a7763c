#include "raidtree/serve/server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <list>
#include <netdb.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

// The library reads requests and writes answers in memory. The connections are ours: its own threads would wait for
// slow clients, and it bounds neither a head nor its time.
#include <httplib.h>

namespace raidtree {

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t MOST_CONNECTIONS = 128;
constexpr size_t LARGEST_HEAD = size_t{16} << 10;
constexpr size_t MOST_PENDING = size_t{64} << 20; // bytes that clients have not taken yet, all together
constexpr std::chrono::seconds IDLE_TIME(30), HEAD_TIME(10), ANSWER_TIME(60), CLOSING_TIME(1);
constexpr std::string_view HEAD_END = "\r\n\r\n";

class MemoryStream : public httplib::Stream {
  public:
    explicit MemoryStream(std::string_view in) : in_(in) {}
    bool is_readable() const override { return !in_.empty(); }
    bool is_writable() const override { return true; }
    ssize_t read(char* to, size_t size) override {
        const size_t count = in_.copy(to, size);
        in_.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* from, size_t size) override {
        out.append(from, size);
        return static_cast<ssize_t>(size);
    }
    using Stream::write;
    void get_remote_ip_and_port(std::string& ip, int& port) const override { ip.clear(), port = 0; }
    void get_local_ip_and_port(std::string& ip, int& port) const override { ip.clear(), port = 0; }
    socket_t socket() const override { return INVALID_SOCKET; }

    std::string out; // NOLINT(misc-non-private-member-variables-in-classes): what was written is all that is asked for

  private:
    std::string_view in_;
};

std::string dateText() {
    const time_t now = time(nullptr);
    tm utc{};
    char text[40] = "";
    gmtime_r(&now, &utc);
    strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &utc);
    return text;
}

class Responder : private httplib::Server {
  public:
    explicit Responder(const std::function<std::shared_ptr<const Publication>()>& latest) {
        set_keep_alive_timeout(IDLE_TIME.count());
        set_keep_alive_max_count(1000000);
        set_pre_routing_handler([this, latest](const httplib::Request& request, httplib::Response& response) {
            isUnderstood_ = true;
            const Answer answer =
                answerTo({request.method, request.path, request.get_header_value("If-None-Match")}, *latest());
            response.status = answer.status;
            if (answer.status != 304) response.set_content(answer.body, answer.type);
            if (!answer.etag.empty()) response.set_header("ETag", answer.etag);
            if (!answer.allow.empty()) response.set_header("Allow", answer.allow);
            if (request.path.starts_with("/redfish")) response.set_header("OData-Version", "4.0");
            response.set_header("Cache-Control", "no-cache");
            response.set_header("X-Content-Type-Options", "nosniff");
            response.set_header("Date", dateText());
            return HandlerResponse::Handled;
        });
    }

    // The answer to the head of a request; `isLast`: no other can follow on this connection.
    std::string respond(std::string_view head, bool& isLast) {
        MemoryStream stream(head);
        bool hasBody = false;
        const auto setUp = [&](httplib::Request& request) {
            // Parts of a document, each copied, and compression cost more than they save.
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
            hasBody = request.has_header("Transfer-Encoding") || request.has_header("Content-Length");
            if (!hasBody) return; // one that nobody reads, where the next request would be
            request.headers.erase("Connection");
            request.set_header("Connection", "close");
        };
        const bool isDone = process_request(stream, false, isLast, setUp);
        const bool isUnderstood = std::exchange(isUnderstood_, false);
        isLast = isLast || hasBody || !isDone || !isUnderstood;
        return std::move(stream.out);
    }

  private:
    bool isUnderstood_ = false; // the library refuses by itself what is not HTTP
};

struct Connection {
    int fd = -1;
    Clock::time_point since, until; // its last step; the end of our patience
    std::string in, out;
    size_t sent = 0;
    bool isLast = false;    // no request follows the one that is answered
    bool isClosing = false; // all is said; what still comes is not read

    bool isAnswering() const { return sent < out.size(); }
    bool hasRequest() const {
        return !isAnswering() && !isClosing && (in.size() > LARGEST_HEAD || in.find(HEAD_END) != std::string::npos);
    }
};

class Loop {
  public:
    Loop(int listener, const std::function<std::shared_ptr<const Publication>()>& latest)
        : listener_(listener), responder_(latest) {}
    ~Loop() {
        for (const Connection& connection : connections_) close(connection.fd);
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void runUntil(int end) {
        std::vector<pollfd> events;
        do {
            events.assign({{end, POLLIN, 0}, {listener_, POLLIN, 0}});
            bool isWaiting = true;
            for (const Connection& connection : connections_) {
                events.push_back({connection.fd, static_cast<short>(connection.isAnswering() ? POLLOUT : POLLIN), 0});
                isWaiting = isWaiting && !connection.hasRequest();
            }
            poll(events.data(), events.size(), isWaiting ? 1000 : 0);
            auto event = events.begin() + 2;
            for (auto connection = connections_.begin(); connection != connections_.end(); ++event)
                connection = step(*connection, event->revents) ? std::next(connection) : drop(connection);
            boundPending();
            if (events[1].revents != 0) acceptAll();
        } while (events[0].revents == 0);
    }

  private:
    using Place = std::list<Connection>::iterator;

    Place drop(Place connection) {
        close(connection->fd);
        return connections_.erase(connection);
    }

    // One at a time for each client; false: it is over.
    bool step(Connection& connection, short event) {
        if (Clock::now() > connection.until) return false;
        if (connection.hasRequest()) return answer(connection) && send(connection);
        if (event == 0) return true;
        return connection.isAnswering() ? send(connection) : receive(connection);
    }

    static bool receive(Connection& connection) {
        std::array<char, 8192> part{};
        const ssize_t count = recv(connection.fd, part.data(), part.size(), MSG_DONTWAIT);
        if (count == -1) return errno == EAGAIN || errno == EINTR;
        if (count == 0) return false;
        if (connection.isClosing) return true;
        // The whole head within this time, however it comes.
        if (connection.in.empty()) connection.until = Clock::now() + HEAD_TIME;
        connection.since = Clock::now();
        connection.in.append(part.data(), static_cast<size_t>(count));
        return true;
    }

    bool answer(Connection& connection) {
        const size_t end = connection.in.find(HEAD_END);
        if (end > LARGEST_HEAD) { // or not found
            connection.isLast = true;
            connection.out = "HTTP/1.1 431 Request Header Fields Too Large\r\nContent-Length: 0\r\n"
                             "Connection: close\r\n\r\n";
        } else {
            const size_t size = end + HEAD_END.size();
            connection.out = responder_.respond({connection.in.data(), size}, connection.isLast);
            connection.in.erase(0, size);
        }
        connection.until = Clock::now() + ANSWER_TIME;
        return connection.isAnswering();
    }

    static bool send(Connection& connection) {
        const ssize_t count = ::send(connection.fd, connection.out.data() + connection.sent,
                                     connection.out.size() - connection.sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count == -1) return errno == EAGAIN || errno == EINTR;
        connection.since = Clock::now();
        connection.sent += static_cast<size_t>(count);
        if (connection.isAnswering()) return true;
        std::string().swap(connection.out);
        connection.sent = 0;
        connection.until = connection.since + (connection.in.empty() ? IDLE_TIME : HEAD_TIME);
        if (!connection.isLast) return true;
        connection.isClosing = true; // not at once: what the client still sends would cost it the answer
        connection.until = connection.since + CLOSING_TIME;
        return shutdown(connection.fd, SHUT_WR) == 0;
    }

    // The one that has been silent for the longest makes room.
    void acceptAll() {
        for (int fd = -1; (fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)) != -1;) {
            if (connections_.size() == MOST_CONNECTIONS)
                drop(std::min_element(connections_.begin(), connections_.end(),
                                      [](const Connection& a, const Connection& b) { return a.since < b.since; }));
            const Clock::time_point now = Clock::now();
            Connection& connection = connections_.emplace_back();
            connection.fd = fd;
            connection.since = now;
            connection.until = now + IDLE_TIME;
        }
    }

    // Of those that do not take their answers the one that has been at it for the longest loses it.
    void boundPending() {
        size_t pending = 0;
        for (const Connection& connection : connections_) pending += connection.out.size();
        while (pending > MOST_PENDING) {
            const auto oldest = std::min_element(
                connections_.begin(), connections_.end(), [](const Connection& a, const Connection& b) {
                    return std::pair(!a.isAnswering(), a.until) < std::pair(!b.isAnswering(), b.until);
                });
            pending -= oldest->out.size();
            drop(oldest);
        }
    }

    int listener_;
    Responder responder_;
    std::list<Connection> connections_;
};

bool isLoopback(const sockaddr* address) {
    if (address->sa_family == AF_INET) {
        sockaddr_in inet{};
        memcpy(&inet, address, sizeof inet);
        return ntohl(inet.sin_addr.s_addr) >> 24U == 127;
    }
    sockaddr_in6 inet6{};
    memcpy(&inet6, address, sizeof inet6);
    return IN6_IS_ADDR_LOOPBACK(&inet6.sin6_addr) != 0;
}

std::string addressOf(int fd) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        getnameinfo(reinterpret_cast<sockaddr*>(&address), size, host.data(), host.size(), port.data(), port.size(),
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return "?";
    const std::string name = host.data();
    return (name.find(':') != std::string::npos ? "[" + name + "]" : name) + ":" + port.data();
}

} // namespace

Listener listenAt(const std::string& address) {
    const auto refuse = [&](const std::string& why) { throw InputError("--listen " + address + ": " + why); };
    const size_t colon = address.rfind(':');
    if (colon == std::string::npos) refuse("ADDRESS:PORT is wanted");
    std::string host = address.substr(0, colon);
    const std::string port = address.substr(colon + 1);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    if (host.empty() || port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos ||
        std::stoi(port) > 65535)
        refuse("ADDRESS:PORT is wanted, a port from 0 to 65535");

    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0) refuse("not the number of an address");
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    Listener listener;
    listener.fd = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    if (listener.fd == -1 || setsockopt(listener.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(listener.fd, found->ai_addr, found->ai_addrlen) != 0 || listen(listener.fd, SOMAXCONN) != 0)
        refuse(strerror(errno));
    listener.isLoopback = isLoopback(found->ai_addr);
    listener.address = addressOf(listener.fd);
    return listener;
}

void serveUntilSignal(const Listener& listener, const std::function<std::shared_ptr<const Publication>()>& latest) {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    const int end = signalfd(-1, &ends, SFD_CLOEXEC);
    if (end == -1) throw InputError(std::string("signals cannot be waited for: ") + strerror(errno));
    Loop(listener.fd, latest).runUntil(end);
    close(end);
    close(listener.fd);
}

} // namespace raidtree
