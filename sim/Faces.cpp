// SPDX-License-Identifier: GPL-3.0-or-later
#include "Faces.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

namespace sim {

namespace {
std::string lastError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

bool writeAll(int fd, const std::uint8_t* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN) {
                pollfd p{fd, POLLOUT, 0};
                ::poll(&p, 1, 1000);
                continue;
            }
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

bool writeAll(int fd, const std::vector<std::uint8_t>& v) {
    return writeAll(fd, v.data(), v.size());
}

void closeFd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

void drain(int fd) {
    char buffer[64];
    while (::read(fd, buffer, sizeof buffer) > 0) {
    }
}

std::uint32_t le32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// Splits what arrived into command lines; keeps a partial line for later.
template <typename Fn> void forEachLine(std::string& pending, Fn&& fn) {
    std::size_t at;
    while ((at = pending.find('\n')) != std::string::npos) {
        std::string line = pending.substr(0, at);
        pending.erase(0, at + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty()) fn(line);
    }
}
// The next event of a face that listens for one client at a time: the wake
// pipe (stop), a new connection (which replaces the old one), or bytes from
// the client. A client that closed is closed here and yields Nothing.
enum class ClientEvent { Stop, Connected, Data, Nothing };

ClientEvent nextClientEvent(int wakeFd, int listenFd, int& client,
                            std::vector<std::uint8_t>& bytes) {
    pollfd fds[3] = {{wakeFd, POLLIN, 0}, {listenFd, POLLIN, 0}, {client, POLLIN, 0}};
    if (::poll(fds, client >= 0 ? 3 : 2, -1) < 0)
        return errno == EINTR ? ClientEvent::Nothing : ClientEvent::Stop;
    if (fds[0].revents) return ClientEvent::Stop;
    if (fds[1].revents & POLLIN) {
        const int c = ::accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (c >= 0) {
            closeFd(client);
            client = c;
            return ClientEvent::Connected;
        }
    }
    if (client < 0 || !(fds[2].revents & (POLLIN | POLLHUP | POLLERR))) return ClientEvent::Nothing;
    bytes.resize(65536);
    const ssize_t got = ::read(client, bytes.data(), bytes.size());
    if (got <= 0) {
        closeFd(client);
        return ClientEvent::Nothing;
    }
    bytes.resize(static_cast<std::size_t>(got));
    return ClientEvent::Data;
}
} // namespace

std::vector<std::uint8_t> FrameBlock488(const std::vector<std::uint8_t>& payload) {
    char head[11];
    std::snprintf(head, sizeof head, "#8%08zu", payload.size());
    std::vector<std::uint8_t> out(head, head + 10);
    out.insert(out.end(), payload.begin(), payload.end());
    out.push_back('\n');
    return out;
}

std::vector<std::uint8_t> FrameBlockSerial(const std::vector<std::uint8_t>& payload) {
    const auto n = static_cast<std::uint32_t>(payload.size());
    std::vector<std::uint8_t> out = {
        static_cast<std::uint8_t>(n), static_cast<std::uint8_t>(n >> 8),
        static_cast<std::uint8_t>(n >> 16), static_cast<std::uint8_t>(n >> 24)};
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

// ---- Face -----------------------------------------------------------------------------

Face::~Face() = default;

bool Face::Start(std::string* error) {
    if (::pipe2(wakeFd_, O_CLOEXEC | O_NONBLOCK) != 0) {
        if (error) *error = lastError("pipe");
        return false;
    }
    if (!open(error)) return false;
    launch();
    return true;
}

void Face::launch() {
    stopping_ = false;
    finished_ = false;
    thread_ = std::thread([this] {
        serve();
        finished_ = true;
    });
}

void Face::Stop() {
    Unplug();
    closeFd(wakeFd_[0]);
    closeFd(wakeFd_[1]);
}

void Face::Unplug() {
    if (thread_.joinable()) {
        stopping_ = true;
        const char c = 'w';
        [[maybe_unused]] const ssize_t woken = ::write(wakeFd_[1], &c, 1); // a wake-up byte
        thread_.join();
    }
    close();
}

bool Face::Plug(std::string* error) {
    if (thread_.joinable()) {
        if (!finished_ && !instrument_.LinkDropped()) return true; // still plugged in
        thread_.join();
        close();
    }
    drain(wakeFd_[0]);
    instrument_.ResetLink();
    if (!open(error)) return false;
    launch();
    return true;
}

Reply Face::answer(const std::string& line) {
    Reply r = instrument_.Process(line);
    const int latency = instrument_.faults().latencyMs;
    if (latency > 0 && r.kind != Reply::Kind::None)
        std::this_thread::sleep_for(std::chrono::milliseconds(latency));
    return r;
}

// ---- USB --------------------------------------------------------------------------------

UsbFace::UsbFace(Instrument& instrument, std::string directory, std::string resource)
    : Face(instrument), directory_(std::move(directory)), resource_(std::move(resource)) {}

UsbFace::~UsbFace() {
    Stop();
}

std::string UsbFace::DefaultDirectory() {
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime)
        return std::string(runtime) + "/nq4000l-sim";
    return "/tmp/nq4000l-sim-" + std::to_string(::getuid());
}

bool UsbFace::open(std::string* error) {
    ::mkdir(directory_.c_str(), 0700);
    const std::string path = socketPath();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        if (error) *error = "socket path too long: " + path;
        return false;
    }
    std::strcpy(address.sun_path, path.c_str());
    ::unlink(path.c_str());
    listenFd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listenFd_ < 0 ||
        ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listenFd_, 4) != 0) {
        if (error) *error = lastError("USB face " + path);
        closeFd(listenFd_);
        return false;
    }
    return true;
}

void UsbFace::close() {
    if (listenFd_ >= 0) ::unlink(socketPath().c_str());
    closeFd(listenFd_);
}

// A USB instrument serves several sessions at once: a search that opens and
// closes the device while another program (or this one) holds a session
// must not disturb that session. Each connection keeps its own unread reply.
void UsbFace::serve() {
    struct Session {
        int fd = -1;
        std::vector<std::uint8_t> in, out; // received bytes not yet parsed; reply not yet read
        bool readPending = false;
        std::uint8_t readTag = 0;
        std::uint32_t readCount = 0;
    };
    std::vector<Session> sessions;

    auto answerRead = [](Session& s) {
        if (!s.readPending || s.out.empty() || s.fd < 0) return;
        const std::size_t n = std::min<std::size_t>(s.readCount, s.out.size());
        std::vector<std::uint8_t> msg = {'D',
                                         s.readTag,
                                         static_cast<std::uint8_t>(n),
                                         static_cast<std::uint8_t>(n >> 8),
                                         static_cast<std::uint8_t>(n >> 16),
                                         static_cast<std::uint8_t>(n >> 24)};
        msg.insert(msg.end(), s.out.begin(), s.out.begin() + static_cast<std::ptrdiff_t>(n));
        s.out.erase(s.out.begin(), s.out.begin() + static_cast<std::ptrdiff_t>(n));
        s.readPending = false;
        if (!writeAll(s.fd, msg)) closeFd(s.fd);
    };

    // Parses the session's whole messages; false when the link dropped.
    auto parse = [this, &answerRead](Session& s) {
        while (!s.in.empty()) {
            const std::uint8_t type = s.in[0];
            std::size_t used = 0;
            if (type == 'W' && s.in.size() >= 5) {
                const std::uint32_t len = le32(&s.in[1]);
                if (s.in.size() < 5 + len) break;
                std::string text(s.in.begin() + 5, s.in.begin() + 5 + len);
                used = 5 + len;
                std::string pending = !text.empty() && text.back() == '\n' ? text : text + "\n";
                forEachLine(pending, [&](const std::string& line) {
                    s.out.clear(); // a new command discards the unread reply
                    const Reply r = answer(line);
                    if (r.kind == Reply::Kind::Text) {
                        s.out.assign(r.data.begin(), r.data.end());
                        s.out.push_back('\n');
                    } else if (r.kind == Reply::Kind::Block) {
                        s.out = FrameBlock488(r.data);
                    }
                });
            } else if (type == 'R' && s.in.size() >= 6) {
                s.readTag = s.in[1];
                s.readCount = le32(&s.in[2]);
                s.readPending = true;
                used = 6;
            } else if (type == 'C') {
                instrument_.Note("device clear");
                s.out.clear();
                s.readPending = false;
                used = 1;
            } else if (type != 'W' && type != 'R') {
                used = 1; // not a message: skip the byte
            } else {
                break; // an incomplete message
            }
            s.in.erase(s.in.begin(), s.in.begin() + static_cast<std::ptrdiff_t>(used));
            if (instrument_.LinkDropped()) return false;
            answerRead(s);
        }
        return true;
    };

    std::vector<std::uint8_t> bytes(65536);
    bool dropped = false;
    while (!stopping_ && !dropped) {
        std::vector<pollfd> fds = {{wakeFd_[0], POLLIN, 0}, {listenFd_, POLLIN, 0}};
        for (const Session& s : sessions)
            fds.push_back({s.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[0].revents) break;
        for (std::size_t i = 0; i < sessions.size() && !dropped; ++i) {
            if (!(fds[i + 2].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            Session& s = sessions[i];
            const ssize_t got = ::read(s.fd, bytes.data(), bytes.size());
            if (got <= 0) {
                closeFd(s.fd);
                continue;
            }
            s.in.insert(s.in.end(), bytes.begin(), bytes.begin() + got);
            dropped = !parse(s);
        }
        std::erase_if(sessions, [](const Session& s) { return s.fd < 0; });
        if (!dropped && (fds[1].revents & POLLIN)) {
            const int c = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
            if (c >= 0) sessions.push_back(Session{c, {}, {}, false, 0, 0});
        }
    }
    if (dropped) {
        // The cable is pulled: the connections and the device node go away.
        ::unlink(socketPath().c_str());
        closeFd(listenFd_);
    }
    for (Session& s : sessions)
        closeFd(s.fd);
}

// ---- RS232 -----------------------------------------------------------------------------

SerialFace::SerialFace(Instrument& instrument, std::string link)
    : Face(instrument), link_(std::move(link)) {}

SerialFace::~SerialFace() {
    Stop();
    if (!link_.empty()) ::unlink(link_.c_str());
}

bool SerialFace::open(std::string* error) {
    masterFd_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (masterFd_ < 0 || ::grantpt(masterFd_) != 0 || ::unlockpt(masterFd_) != 0) {
        if (error) *error = lastError("pseudo-terminal");
        closeFd(masterFd_);
        return false;
    }
    const char* name = ::ptsname(masterFd_);
    slavePath_ = name ? name : "";
    // Keep a slave open so the master never sees a hang-up between the
    // program's openings of the port.
    slaveFd_ = ::open(slavePath_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slaveFd_ >= 0) {
        termios t{};
        ::tcgetattr(slaveFd_, &t);
        ::cfmakeraw(&t);
        ::tcsetattr(slaveFd_, TCSANOW, &t);
    }
    ::fcntl(masterFd_, F_SETFL, ::fcntl(masterFd_, F_GETFL) | O_NONBLOCK);
    if (!link_.empty()) {
        ::unlink(link_.c_str());
        if (::symlink(slavePath_.c_str(), link_.c_str()) != 0) {
            if (error) *error = lastError("link " + link_);
            return false;
        }
    }
    return true;
}

void SerialFace::close() {
    closeFd(masterFd_);
    closeFd(slaveFd_);
}

void SerialFace::serve() {
    std::string pending;
    while (!stopping_) {
        pollfd fds[2] = {{wakeFd_[0], POLLIN, 0}, {masterFd_, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0 && errno != EINTR) break;
        if (fds[0].revents) break;
        if (!(fds[1].revents & POLLIN)) {
            if (fds[1].revents & (POLLHUP | POLLERR))
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            continue;
        }
        char buffer[4096];
        const ssize_t got = ::read(masterFd_, buffer, sizeof buffer);
        if (got <= 0) continue;
        pending.append(buffer, static_cast<std::size_t>(got));
        bool dropped = false;
        forEachLine(pending, [&](const std::string& line) {
            if (dropped) return;
            const Reply r = answer(line);
            if (instrument_.LinkDropped()) {
                dropped = true;
                return;
            }
            if (r.kind == Reply::Kind::Text) {
                std::vector<std::uint8_t> text = r.data;
                text.push_back('\n');
                writeAll(masterFd_, text);
            } else if (r.kind == Reply::Kind::Block) {
                writeAll(masterFd_, FrameBlockSerial(r.data));
            }
        });
        if (dropped) {
            // The adapter is pulled out: both ends of the line go away.
            close();
            break;
        }
    }
}

// ---- LAN ---------------------------------------------------------------------------------

TcpFace::TcpFace(Instrument& instrument, int port) : Face(instrument), port_(port) {}

TcpFace::~TcpFace() {
    Stop();
}

bool TcpFace::open(std::string* error) {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port_));
    if (listenFd_ < 0 ||
        ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listenFd_, 4) != 0) {
        if (error) *error = lastError("LAN face port " + std::to_string(port_));
        closeFd(listenFd_);
        return false;
    }
    socklen_t length = sizeof address;
    ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    return true;
}

void TcpFace::close() {
    closeFd(listenFd_);
}

void TcpFace::serve() {
    int client = -1;
    std::string pending;
    std::vector<std::uint8_t> arrived;
    while (!stopping_) {
        const ClientEvent event = nextClientEvent(wakeFd_[0], listenFd_, client, arrived);
        if (event == ClientEvent::Stop) break;
        if (event == ClientEvent::Connected) pending.clear();
        if (event != ClientEvent::Data) continue;
        pending.append(arrived.begin(), arrived.end());
        forEachLine(pending, [&](const std::string& line) {
            const Reply r = answer(line);
            if (r.kind == Reply::Kind::Text) {
                std::vector<std::uint8_t> text = r.data;
                text.push_back('\n');
                writeAll(client, text);
            } else if (r.kind == Reply::Kind::Block) {
                writeAll(client, FrameBlock488(r.data));
            }
        });
    }
    closeFd(client);
}

} // namespace sim
