// NameLookup: the addresses of a host, found without making anyone wait.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace Host {

struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t size = 0;

    [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    [[nodiscard]] int GetFamily() const { return storage.ss_family; }
    // "192.0.2.1:2101", "[2001:db8::1]:2101".
    [[nodiscard]] std::string Print() const;
    // The same address and port.
    [[nodiscard]] bool IsSame(const SocketAddress& other) const;
};

// Of a numeric address; false for a name.
[[nodiscard]] bool ParseSocketAddress(const std::string& host, int port, SocketAddress& address);

// The system's functions that ask for names wait, for half a minute if the network is down: each lookup has a thread,
// which ends by itself when nobody waits for it any more.
class NameLookup {
public:
    static constexpr std::size_t MaxAddresses = 8;
    struct Result {
        std::vector<SocketAddress> addresses;
        std::string failure;  // empty when there are addresses
    };
    // Finds the addresses, on a thread of its own.
    using Function = std::function<Result(const std::string& host, int port)>;

    // Asks the system.
    [[nodiscard]] static Result AskSystem(const std::string& host, int port);

    // Begins. False when the system gives no thread.
    [[nodiscard]] bool Start(const std::string& host, int port, const Function& function = AskSystem);
    // Becomes readable when the result is there; -1 when nothing was begun.
    [[nodiscard]] int GetFile() const;
    // The result, once; false when it is not there yet.
    [[nodiscard]] bool Take(Result& result);
    void Forget() { shared_.reset(); }

private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
};

}  // namespace Host
