// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Visa.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <linux/usb/tmc.h>
#include <map>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

int remainingMs(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left < 0 ? 0 : static_cast<int>(left);
}

// Waits until fd is readable; false on time-out.
bool waitReadable(int fd, Clock::time_point deadline) {
    while (true) {
        pollfd p{fd, POLLIN, 0};
        const int n = ::poll(&p, 1, remainingMs(deadline));
        if (n > 0) return true;
        if (n == 0) return false;
        if (errno != EINTR) return false;
    }
}

bool writeAll(int fd, const ViByte* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Writes all of a message to a device node.
ViStatus writeDevice(int fd, const ViByte* data, ViUInt32 count, ViUInt32* written) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(fd, data + done, count - done);
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            return errno == ETIMEDOUT ? VI_ERROR_TMO : VI_ERROR_IO;
        }
        done += static_cast<std::size_t>(n);
    }
    if (written) *written = count;
    return VI_SUCCESS;
}

// A reply is complete at its line feed; a definite block ("#8nnnnnnnn...")
// only once its announced length has arrived.
bool messageComplete(const ViByte* data, std::size_t size) {
    if (size == 0) return false;
    if (data[0] == '#' && size >= 2 && data[1] >= '1' && data[1] <= '9') {
        const std::size_t digits = static_cast<std::size_t>(data[1] - '0');
        if (size < 2 + digits) return false;
        std::size_t length = 0;
        for (std::size_t i = 0; i < digits; ++i)
            length = length * 10 + static_cast<std::size_t>(data[2 + i] - '0');
        return size >= 2 + digits + length + 1 && data[size - 1] == '\n';
    }
    return data[size - 1] == '\n';
}

// How a device node's reads end.
struct ReadRules {
    bool (*complete)(const ViByte* data, std::size_t size); // the message has arrived
    bool partialOnTimeout;    // a time-out after some bytes ends the message (usbtmc)
    bool zeroReadEndsMessage; // a read of nothing is the end of the message, not a fault
};

bool endsWithLineFeed(const ViByte* data, std::size_t size) {
    return size > 0 && data[size - 1] == '\n';
}

// Reads until the request is filled, the message is complete, or the time is up.
ViStatus readDevice(int fd, ViByte* data, ViUInt32 count, ViUInt32 timeoutMs,
                    const ReadRules& rules, ViUInt32* got) {
    std::size_t have = 0;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    auto finish = [&](ViStatus status) {
        if (got) *got = static_cast<ViUInt32>(have);
        return status;
    };
    auto timedOut = [&] {
        return finish(rules.partialOnTimeout && have > 0 ? VI_SUCCESS : VI_ERROR_TMO);
    };
    while (have < count) {
        if (!waitReadable(fd, deadline)) return timedOut();
        const ssize_t n = ::read(fd, data + have, count - have);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (n < 0) return errno == ETIMEDOUT ? timedOut() : finish(VI_ERROR_IO);
        if (n == 0) {
            if (rules.zeroReadEndsMessage) break;
            return finish(VI_ERROR_IO);
        }
        have += static_cast<std::size_t>(n);
        if (rules.complete(data, have)) break;
    }
    return finish(have == count ? VI_SUCCESS_MAX_CNT : VI_SUCCESS);
}

// ---- the simulated instrument's USB face --------------------------------------------

QString& simDirectory() {
    static QString dir;
    return dir;
}

int connectUnix(const QString& path) {
    const QByteArray p = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(p.size()) >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path, p.constData(), static_cast<std::size_t>(p.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

class SimUsbDevice : public VisaDevice {
public:
    explicit SimUsbDevice(int fd) : fd_(fd) {}
    ~SimUsbDevice() override { ::close(fd_); }

    ViStatus write(const ViByte* data, ViUInt32 count, ViUInt32* written) override {
        std::vector<ViByte> m = {'W'};
        append32(m, count);
        m.insert(m.end(), data, data + count);
        if (!writeAll(fd_, m.data(), m.size())) return VI_ERROR_CONN_LOST;
        if (written) *written = count;
        return VI_SUCCESS;
    }

    ViStatus read(ViByte* data, ViUInt32 count, ViUInt32* got) override {
        if (got) *got = 0;
        std::vector<ViByte> m = {'R', ++tag_};
        append32(m, count);
        if (!writeAll(fd_, m.data(), m.size())) return VI_ERROR_CONN_LOST;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs_);
        while (true) {
            ViByte head[6];
            ViStatus s = receive(head, 6, deadline);
            if (s != VI_SUCCESS) return s;
            const ViUInt32 n =
                head[2] | head[3] << 8 | head[4] << 16 | static_cast<ViUInt32>(head[5]) << 24;
            std::vector<ViByte> body(n);
            s = receive(body.data(), n, deadline);
            if (s != VI_SUCCESS) return s;
            if (head[0] != 'D' || head[1] != tag_) continue; // a late answer to an older read
            const ViUInt32 used = std::min(n, count);
            std::memcpy(data, body.data(), used);
            if (got) *got = used;
            return used == count ? VI_SUCCESS_MAX_CNT : VI_SUCCESS;
        }
    }

    ViStatus clear() override {
        const ViByte c = 'C';
        return writeAll(fd_, &c, 1) ? VI_SUCCESS : VI_ERROR_CONN_LOST;
    }

    ViStatus setTimeout(ViUInt32 ms) override {
        timeoutMs_ = ms;
        return VI_SUCCESS;
    }

    ViStatus setBaudRate(ViUInt32) override { return VI_SUCCESS; } // a USB line has no baud rate

private:
    static void append32(std::vector<ViByte>& m, ViUInt32 v) {
        for (int i = 0; i < 4; ++i)
            m.push_back(static_cast<ViByte>(v >> (8 * i)));
    }
    ViStatus receive(ViByte* out, std::size_t n, Clock::time_point deadline) {
        std::size_t have = 0;
        while (have < n) {
            if (!waitReadable(fd_, deadline)) return VI_ERROR_TMO;
            const ssize_t r = ::recv(fd_, out + have, n - have, 0);
            if (r == 0) return VI_ERROR_CONN_LOST;
            if (r < 0) {
                if (errno == EINTR) continue;
                return VI_ERROR_CONN_LOST;
            }
            have += static_cast<std::size_t>(r);
        }
        return VI_SUCCESS;
    }
    int fd_;
    ViByte tag_ = 0;
    ViUInt32 timeoutMs_ = 2000;
};

class SimUsbBackend : public VisaBackend {
public:
    QStringList find() override {
        QStringList names;
        const QDir dir(SimulatedUsbDirectory());
        for (const QString& entry : dir.entryList(QDir::System | QDir::Files, QDir::Name)) {
            if (!entry.startsWith("USB")) continue;
            const int fd = connectUnix(dir.filePath(entry));
            if (fd < 0) continue; // a stale socket of a simulator that has gone
            ::close(fd);
            names << entry;
        }
        return names;
    }
    std::unique_ptr<VisaDevice> open(const QString& name, ViStatus* status) override {
        const int fd = connectUnix(QDir(SimulatedUsbDirectory()).filePath(name));
        if (fd < 0) {
            *status = VI_ERROR_RSRC_NFOUND;
            return nullptr;
        }
        *status = VI_SUCCESS;
        return std::make_unique<SimUsbDevice>(fd);
    }
};

// ---- the Linux usbtmc driver -----------------------------------------------------------

QString& devRoot() {
    static QString root = "/dev";
    return root;
}
QString& sysRoot() {
    static QString root = "/sys/class/usbmisc";
    return root;
}

QString readSysfs(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return QString();
    return QString::fromLatin1(f.readAll()).trimmed();
}

class UsbtmcDevice : public VisaDevice {
public:
    explicit UsbtmcDevice(int fd) : fd_(fd) {}
    ~UsbtmcDevice() override { ::close(fd_); }

    ViStatus write(const ViByte* data, ViUInt32 count, ViUInt32* written) override {
        return writeDevice(fd_, data, count, written);
    }

    // The driver returns one transfer a read: keep reading until the request
    // is filled or the message is complete.
    ViStatus read(ViByte* data, ViUInt32 count, ViUInt32* got) override {
        return readDevice(fd_, data, count, timeoutMs_, {messageComplete, true, true}, got);
    }

    ViStatus clear() override {
        ::ioctl(fd_,
                USBTMC_IOCTL_CLEAR); // a node that is no usbtmc device simply has nothing to clear
        return VI_SUCCESS;
    }

    ViStatus setTimeout(ViUInt32 ms) override {
        timeoutMs_ = ms;
        std::uint32_t t = ms;
        ::ioctl(fd_, USBTMC_IOCTL_SET_TIMEOUT, &t);
        return VI_SUCCESS;
    }

    ViStatus setBaudRate(ViUInt32) override { return VI_SUCCESS; }

private:
    int fd_;
    ViUInt32 timeoutMs_ = 2000;
};

class UsbtmcBackend : public VisaBackend {
public:
    QStringList find() override {
        QStringList names;
        nodes_.clear();
        const QDir dev(devRoot());
        for (const QString& node :
             dev.entryList({"usbtmc*"}, QDir::System | QDir::Files, QDir::Name)) {
            // .../usbmisc/usbtmcN/device is the interface; its parent the USB device.
            const QString device =
                QFileInfo(sysRoot() + "/" + node + "/device").canonicalFilePath();
            if (device.isEmpty()) continue;
            const QString parent = QFileInfo(device).path();
            const QString vendor = readSysfs(parent + "/idVendor");
            const QString product = readSysfs(parent + "/idProduct");
            const QString serial = readSysfs(parent + "/serial");
            if (vendor.isEmpty() || product.isEmpty()) continue;
            const QString name =
                QString("USB0::0x%1::0x%2::%3::INSTR")
                    .arg(vendor.toUpper(), product.toUpper(), serial.isEmpty() ? "0" : serial);
            names << name;
            nodes_[name] = dev.filePath(node);
        }
        return names;
    }
    std::unique_ptr<VisaDevice> open(const QString& name, ViStatus* status) override {
        if (nodes_.empty()) find();
        const auto it = nodes_.find(name);
        if (it == nodes_.end()) {
            *status = VI_ERROR_RSRC_NFOUND;
            return nullptr;
        }
        return OpenUsbtmcNode(it->second, status);
    }

private:
    std::map<QString, QString> nodes_;
};

// ---- serial ports as ASRL resources ---------------------------------------------------

speed_t speedOf(ViUInt32 baud) {
    switch (baud) {
    case 300:
        return B300;
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    default:
        return B9600;
    }
}

class AsrlDevice : public VisaDevice {
public:
    explicit AsrlDevice(int fd) : fd_(fd) {}
    ~AsrlDevice() override { ::close(fd_); }
    ViStatus write(const ViByte* data, ViUInt32 count, ViUInt32* written) override {
        return writeDevice(fd_, data, count, written);
    }
    // A serial read ends at the line feed, at the count, or at the time-out.
    ViStatus read(ViByte* data, ViUInt32 count, ViUInt32* got) override {
        return readDevice(fd_, data, count, timeoutMs_, {endsWithLineFeed, false, false}, got);
    }
    ViStatus clear() override {
        ::tcflush(fd_, TCIOFLUSH);
        return VI_SUCCESS;
    }
    ViStatus setTimeout(ViUInt32 ms) override {
        timeoutMs_ = ms;
        return VI_SUCCESS;
    }
    ViStatus setBaudRate(ViUInt32 baud) override {
        termios t{};
        if (::tcgetattr(fd_, &t) != 0) return VI_SUCCESS; // not a terminal: nothing to set
        ::cfsetspeed(&t, speedOf(baud));
        ::tcsetattr(fd_, TCSANOW, &t);
        return VI_SUCCESS;
    }

private:
    int fd_;
    ViUInt32 timeoutMs_ = 2000;
};

std::function<QList<QPair<int, QString>>()>& asrlPorts() {
    static std::function<QList<QPair<int, QString>>()> provider;
    return provider;
}

class AsrlBackend : public VisaBackend {
public:
    QStringList find() override {
        QStringList names;
        if (!asrlPorts()) return names;
        for (const auto& [com, device] : asrlPorts()())
            if (QFileInfo::exists(device)) names << QString("ASRL%1::INSTR").arg(com);
        return names;
    }
    std::unique_ptr<VisaDevice> open(const QString& name, ViStatus* status) override {
        *status = VI_ERROR_RSRC_NFOUND;
        if (!asrlPorts()) return nullptr;
        static const QRegularExpression pattern("^ASRL(\\d+)::INSTR$",
                                                QRegularExpression::CaseInsensitiveOption);
        const auto m = pattern.match(name);
        if (!m.hasMatch()) return nullptr;
        for (const auto& [com, device] : asrlPorts()()) {
            if (com != m.captured(1).toInt()) continue;
            const int fd = ::open(QFile::encodeName(device).constData(),
                                  O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
            if (fd < 0) return nullptr;
            termios t{};
            if (::tcgetattr(fd, &t) == 0) {
                ::cfmakeraw(&t);
                ::cfsetspeed(&t, B9600);
                ::tcsetattr(fd, TCSANOW, &t);
            }
            *status = VI_SUCCESS;
            return std::make_unique<AsrlDevice>(fd);
        }
        return nullptr;
    }
};

// ---- a vendor VISA library ------------------------------------------------------------

QString& vendorPath() {
    static QString path;
    return path;
}

class VendorVisa {
public:
    static VendorVisa* instance() {
        static VendorVisa v;
        return v.ok_ ? &v : nullptr;
    }
    using OpenDefaultRM = ViStatus (*)(ViSession*);
    using FindRsrc = ViStatus (*)(ViSession, const char*, ViFindList*, ViUInt32*, char*);
    using FindNext = ViStatus (*)(ViFindList, char*);
    using Open = ViStatus (*)(ViSession, const char*, ViUInt32, ViUInt32, ViSession*);
    using Close = ViStatus (*)(ViObject);
    using SetAttribute = ViStatus (*)(ViObject, ViAttr, ViAttrState);
    using Read = ViStatus (*)(ViSession, ViByte*, ViUInt32, ViUInt32*);
    using Write = ViStatus (*)(ViSession, const ViByte*, ViUInt32, ViUInt32*);
    using Clear = ViStatus (*)(ViSession);
    OpenDefaultRM openDefaultRM = nullptr;
    FindRsrc findRsrc = nullptr;
    FindNext findNext = nullptr;
    Open open = nullptr;
    Close close = nullptr;
    SetAttribute setAttribute = nullptr;
    Read read = nullptr;
    Write write = nullptr;
    Clear clear = nullptr;
    ViSession rm = 0;

private:
    VendorVisa() {
        QStringList candidates;
        if (!vendorPath().isEmpty())
            candidates << vendorPath();
        else
            candidates << "libvisa.so"
                       << "libvisa.so.0";
        for (const QString& c : candidates) {
            handle_ = ::dlopen(QFile::encodeName(c).constData(), RTLD_NOW | RTLD_LOCAL);
            if (handle_) break;
        }
        if (!handle_) return;
        ok_ = bind(openDefaultRM, "viOpenDefaultRM") && bind(findRsrc, "viFindRsrc") &&
              bind(findNext, "viFindNext") && bind(open, "viOpen") && bind(close, "viClose") &&
              bind(setAttribute, "viSetAttribute") && bind(read, "viRead") &&
              bind(write, "viWrite") && bind(clear, "viClear") && openDefaultRM(&rm) == VI_SUCCESS;
    }
    template <typename F> bool bind(F& f, const char* symbol) {
        f = reinterpret_cast<F>(::dlsym(handle_, symbol));
        return f != nullptr;
    }
    void* handle_ = nullptr;
    bool ok_ = false;
};

class VendorDevice : public VisaDevice {
public:
    VendorDevice(VendorVisa* v, ViSession s) : v_(v), s_(s) {}
    ~VendorDevice() override { v_->close(s_); }
    ViStatus write(const ViByte* d, ViUInt32 c, ViUInt32* w) override {
        return v_->write(s_, d, c, w);
    }
    ViStatus read(ViByte* d, ViUInt32 c, ViUInt32* g) override { return v_->read(s_, d, c, g); }
    ViStatus clear() override { return v_->clear(s_); }
    ViStatus setTimeout(ViUInt32 ms) override {
        return v_->setAttribute(s_, VI_ATTR_TMO_VALUE, ms);
    }
    ViStatus setBaudRate(ViUInt32 b) override { return v_->setAttribute(s_, VI_ATTR_ASRL_BAUD, b); }

private:
    VendorVisa* v_;
    ViSession s_;
};

class VendorBackend : public VisaBackend {
public:
    QStringList find() override {
        QStringList names;
        VendorVisa* v = VendorVisa::instance();
        if (!v) return names;
        ViFindList list = 0;
        ViUInt32 count = 0;
        char name[VI_FIND_BUFLEN] = {};
        if (v->findRsrc(v->rm, "?*INSTR", &list, &count, name) != VI_SUCCESS) return names;
        names << QString::fromLatin1(name);
        for (ViUInt32 i = 1; i < count; ++i)
            if (v->findNext(list, name) == VI_SUCCESS) names << QString::fromLatin1(name);
        v->close(list);
        return names;
    }
    std::unique_ptr<VisaDevice> open(const QString& name, ViStatus* status) override {
        VendorVisa* v = VendorVisa::instance();
        if (!v) {
            *status = VI_ERROR_RSRC_NFOUND;
            return nullptr;
        }
        ViSession s = 0;
        *status = v->open(v->rm, name.toLatin1().constData(), 0, 0, &s);
        if (*status < VI_SUCCESS) return nullptr;
        return std::make_unique<VendorDevice>(v, s);
    }
};

// ---- sessions ----------------------------------------------------------------------------

struct Registry {
    std::vector<std::unique_ptr<VisaBackend>> backends;
    std::map<ViSession, std::unique_ptr<VisaDevice>> devices;
    std::map<ViSession, bool> managers;
    std::map<ViFindList, QStringList> findLists;
    ViUInt32 next = 1;

    Registry() {
        backends.push_back(std::make_unique<VendorBackend>());
        backends.push_back(std::make_unique<UsbtmcBackend>());
        backends.push_back(std::make_unique<SimUsbBackend>());
        backends.push_back(std::make_unique<AsrlBackend>());
    }
    // Every backend's names; a name a former backend lists is not listed again.
    QList<QPair<QString, VisaBackend*>> all() {
        QList<QPair<QString, VisaBackend*>> found;
        QStringList seen;
        for (auto& b : backends)
            for (const QString& n : b->find())
                if (!seen.contains(n, Qt::CaseInsensitive)) {
                    seen << n;
                    found.append({n, b.get()});
                }
        lastFound = found;
        return found;
    }
    // The backend of a name: from the last search, else from a new one (a
    // name chosen in Options may be opened without searching first).
    QPair<QString, VisaBackend*> backendOf(const QString& name) {
        for (int pass = 0; pass < 2; ++pass) {
            for (const auto& entry : pass == 0 ? lastFound : all())
                if (entry.first.compare(name, Qt::CaseInsensitive) == 0) return entry;
        }
        return {QString(), nullptr};
    }
    QList<QPair<QString, VisaBackend*>> lastFound;
};

Registry& registry() {
    static Registry r;
    return r;
}

void copyName(const QString& name, char out[VI_FIND_BUFLEN]) {
    const QByteArray b = name.toLatin1().left(VI_FIND_BUFLEN - 1);
    std::memcpy(out, b.constData(), static_cast<std::size_t>(b.size()));
    out[b.size()] = '\0';
}

} // namespace

void AddVisaBackend(std::unique_ptr<VisaBackend> backend) {
    registry().backends.insert(registry().backends.begin(), std::move(backend));
    registry().lastFound.clear();
}

void SetSimulatedUsbDirectory(const QString& directory) {
    simDirectory() = directory;
}

QString SimulatedUsbDirectory() {
    if (!simDirectory().isEmpty()) return simDirectory();
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty()) return QString::fromLocal8Bit(runtime) + "/nq4000l-sim";
    return QString("/tmp/nq4000l-sim-%1").arg(::getuid());
}

void SetVendorVisaLibrary(const QString& path) {
    vendorPath() = path;
}

void SetUsbtmcRoots(const QString& dev, const QString& sys) {
    devRoot() = dev;
    sysRoot() = sys;
}

void SetAsrlPortProvider(std::function<QList<QPair<int, QString>>()> provider) {
    asrlPorts() = std::move(provider);
}

std::unique_ptr<VisaDevice> OpenUsbtmcNode(const QString& path, ViStatus* status) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        *status = VI_ERROR_RSRC_NFOUND;
        return nullptr;
    }
    termios t{};
    if (::tcgetattr(fd, &t) == 0) { // a terminal standing in for the driver in tests
        ::cfmakeraw(&t);
        ::tcsetattr(fd, TCSANOW, &t);
    }
    *status = VI_SUCCESS;
    return std::make_unique<UsbtmcDevice>(fd);
}

bool VisaExpressionMatches(const QString& expression, const QString& name) {
    QString pattern;
    for (const QChar c : expression) {
        if (c == '?')
            pattern += '.';
        else if (c == '*')
            pattern += '*';
        else if (c == '(' || c == ')' || c == '|')
            pattern += c;
        else
            pattern += QRegularExpression::escape(QString(c));
    }
    const QRegularExpression re(QRegularExpression::anchoredPattern(pattern),
                                QRegularExpression::CaseInsensitiveOption);
    return re.match(name).hasMatch();
}

} // namespace platform

using platform::registry;

ViStatus viOpenDefaultRM(ViSession* rm) {
    const ViSession s = registry().next++;
    registry().managers[s] = true;
    *rm = s;
    return VI_SUCCESS;
}

ViStatus viFindRsrc(ViSession rm, const char* expression, ViFindList* list, ViUInt32* count,
                    char name[VI_FIND_BUFLEN]) {
    if (!registry().managers.count(rm)) return VI_ERROR_INV_OBJECT;
    QStringList matches;
    for (const auto& [n, backend] : registry().all())
        if (platform::VisaExpressionMatches(QString::fromLatin1(expression), n)) matches << n;
    if (count) *count = static_cast<ViUInt32>(matches.size());
    if (matches.isEmpty()) {
        if (name) name[0] = '\0';
        return VI_ERROR_RSRC_NFOUND;
    }
    if (name) platform::copyName(matches.takeFirst(), name);
    const ViFindList handle = registry().next++;
    registry().findLists[handle] = matches;
    if (list) *list = handle;
    return VI_SUCCESS;
}

ViStatus viFindNext(ViFindList list, char name[VI_FIND_BUFLEN]) {
    const auto it = registry().findLists.find(list);
    if (it == registry().findLists.end()) return VI_ERROR_INV_OBJECT;
    if (it->second.isEmpty()) return VI_ERROR_RSRC_NFOUND;
    platform::copyName(it->second.takeFirst(), name);
    return VI_SUCCESS;
}

ViStatus viOpen(ViSession rm, const char* name, ViUInt32, ViUInt32, ViSession* session) {
    if (!registry().managers.count(rm)) return VI_ERROR_INV_OBJECT;
    const QString wanted = QString::fromLatin1(name ? name : "");
    const auto [found, backend] = registry().backendOf(wanted);
    if (!backend) return VI_ERROR_RSRC_NFOUND;
    ViStatus status = VI_ERROR_RSRC_NFOUND;
    auto device = backend->open(found, &status);
    if (!device) return status;
    const ViSession s = registry().next++;
    registry().devices[s] = std::move(device);
    *session = s;
    return VI_SUCCESS;
}

ViStatus viClose(ViObject object) {
    auto& r = registry();
    if (r.devices.erase(object) || r.managers.erase(object) || r.findLists.erase(object))
        return VI_SUCCESS;
    return VI_ERROR_INV_OBJECT;
}

namespace {
platform::VisaDevice* device(ViSession s) {
    const auto it = registry().devices.find(s);
    return it == registry().devices.end() ? nullptr : it->second.get();
}
} // namespace

ViStatus viSetAttribute(ViObject object, ViAttr attribute, ViAttrState value) {
    platform::VisaDevice* d = device(object);
    if (!d) return VI_ERROR_INV_OBJECT;
    if (attribute == VI_ATTR_TMO_VALUE) return d->setTimeout(static_cast<ViUInt32>(value));
    if (attribute == VI_ATTR_ASRL_BAUD) return d->setBaudRate(static_cast<ViUInt32>(value));
    return VI_ERROR_NSUP_ATTR;
}

ViStatus viRead(ViSession session, ViByte* buffer, ViUInt32 count, ViUInt32* returned) {
    platform::VisaDevice* d = device(session);
    if (returned) *returned = 0;
    return d ? d->read(buffer, count, returned) : VI_ERROR_INV_OBJECT;
}

ViStatus viWrite(ViSession session, const ViByte* buffer, ViUInt32 count, ViUInt32* returned) {
    platform::VisaDevice* d = device(session);
    if (returned) *returned = 0;
    return d ? d->write(buffer, count, returned) : VI_ERROR_INV_OBJECT;
}

ViStatus viClear(ViSession session) {
    platform::VisaDevice* d = device(session);
    return d ? d->clear() : VI_ERROR_INV_OBJECT;
}
