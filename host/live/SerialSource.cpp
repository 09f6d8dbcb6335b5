#include "host/live/SerialSource.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <termios.h>
#include <utility>

#include <fmt/format.h>
#include <sys/ioctl.h>

namespace Host {

namespace {

struct Speed {
    int baud;
    speed_t code;
};
constexpr std::array Speeds{
    Speed{1200, B1200},       Speed{2400, B2400},       Speed{4800, B4800},       Speed{9600, B9600},
    Speed{19200, B19200},     Speed{38400, B38400},     Speed{57600, B57600},     Speed{115200, B115200},
    Speed{230400, B230400},   Speed{460800, B460800},   Speed{500000, B500000},   Speed{576000, B576000},
    Speed{921600, B921600},   Speed{1000000, B1000000}, Speed{1152000, B1152000}, Speed{1500000, B1500000},
    Speed{2000000, B2000000}, Speed{2500000, B2500000}, Speed{3000000, B3000000}, Speed{4000000, B4000000},
};

const Speed* FindSpeed(int baud) {
    const auto* found = std::find_if(Speeds.begin(), Speeds.end(), [baud](const Speed& s) { return s.baud == baud; });
    return found == Speeds.end() ? nullptr : found;
}

// False with the system's error number.
bool SetUp(int port, const SourceAddress& address, int& error) {
    termios settings{};
    const Speed* speed = FindSpeed(address.baud);
    error = EINVAL;
    if (speed == nullptr) return false;
    if (::tcgetattr(port, &settings) != 0) {
        error = errno;
        return false;
    }
    ::cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARENB | PARODD | CRTSCTS | HUPCL);
    settings.c_cflag |= CLOCAL | CREAD;
    if (address.stopBits == 2) settings.c_cflag |= CSTOPB;
    if (address.parity != SourceAddress::Parity::None) settings.c_cflag |= PARENB;
    if (address.parity == SourceAddress::Parity::Odd) settings.c_cflag |= PARODD;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    if (::cfsetspeed(&settings, speed->code) != 0 || ::tcsetattr(port, TCSANOW, &settings) != 0) {
        error = errno;
        return false;
    }
    // What came at another speed.
    static_cast<void>(::tcflush(port, TCIFLUSH));
    static_cast<void>(::ioctl(port, TIOCEXCL));
    return true;
}

}  // namespace

SerialSource::SerialSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink)
    : LiveSource(address.GetName(), settings, sink), address_(std::move(address)) {}

bool SerialSource::IsSpeed(int baud) {
    return FindSpeed(baud) != nullptr;
}

void SerialSource::AddWanted(std::vector<pollfd>& wanted) const {
    if (port_.IsOpen()) wanted.push_back({port_.Get(), POLLIN, 0});
}

void SerialSource::Open() {
    SetState(State::Connecting);
    port_ = Descriptor(::open(address_.path.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!port_.IsOpen()) {
        const int error = errno;
        Drop(SystemWords(error) + (error == EACCES ? " (the ports belong to a group, often dialout)" : ""));
        return;
    }
    int error = 0;
    if (SetUp(port_.Get(), address_, error)) {
        Begin(fmt::format("open at {} baud", address_.baud));
    } else if (error == ENOTTY) {
        Fail("is no serial port");
    } else {
        Drop("cannot be set up: " + SystemWords(error));
    }
}

void SerialSource::OnDescriptor(const pollfd& ready) {
    if (ready.fd != port_.Get()) return;
    std::string_view bytes;
    std::string reason;
    if (!Read(port_.Get(), bytes, reason)) {
        Drop(reason);
    } else if (!bytes.empty()) {
        Deliver(bytes);
    } else if ((ready.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        Drop("the port is gone");
    }
}

}  // namespace Host
