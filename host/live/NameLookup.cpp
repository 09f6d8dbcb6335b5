#include "host/live/NameLookup.h"

#include <cstring>
#include <mutex>
#include <netdb.h>
#include <optional>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/eventfd.h>

#include "host/live/Descriptor.h"
#include "host/live/SourceAddress.h"

namespace Host {

namespace {

struct Free {
    void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, Free>;

int Ask(const std::string& host, int port, int flags, AddressList& list) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo* first = nullptr;
    const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &first);
    if (error == 0) list.reset(first);
    return error;
}

SocketAddress Convert(const addrinfo& info) {
    SocketAddress address;
    if (info.ai_addrlen > sizeof(address.storage)) return address;
    std::memcpy(&address.storage, info.ai_addr, info.ai_addrlen);
    address.size = info.ai_addrlen;
    return address;
}

// The system's own words would come in the language of the locale.
std::string Words(int error) {
    switch (error) {
        case EAI_NONAME:
            return "there is no such host";
        case EAI_AGAIN:
            return "the name service does not answer";
        case EAI_FAIL:
            return "the name service has failed";
        case EAI_SYSTEM:
            return "the name service cannot be asked: " + SystemWords(errno);
        default:
            return fmt::format("the host has no address that can be used (error {})", error);
    }
}

}  // namespace

struct NameLookup::Shared {
    Descriptor done;
    std::mutex mutex;
    std::optional<Result> result;
};

std::string SocketAddress::Print() const {
    char host[NI_MAXHOST] = {};
    char port[NI_MAXSERV] = {};
    if (::getnameinfo(Get(), size, host, sizeof(host), port, sizeof(port), NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return "an unknown address";
    return BracketHost(host) + ':' + port;
}

bool SocketAddress::IsSame(const SocketAddress& other) const {
    if (GetFamily() != other.GetFamily()) return false;
    if (GetFamily() == AF_INET) {
        const auto* a = reinterpret_cast<const sockaddr_in*>(&storage);
        const auto* b = reinterpret_cast<const sockaddr_in*>(&other.storage);
        return a->sin_port == b->sin_port && a->sin_addr.s_addr == b->sin_addr.s_addr;
    }
    const auto* a = reinterpret_cast<const sockaddr_in6*>(&storage);
    const auto* b = reinterpret_cast<const sockaddr_in6*>(&other.storage);
    return a->sin6_port == b->sin6_port && a->sin6_scope_id == b->sin6_scope_id &&
           std::memcmp(&a->sin6_addr, &b->sin6_addr, sizeof(in6_addr)) == 0;
}

bool ParseSocketAddress(const std::string& host, int port, SocketAddress& address) {
    AddressList list;
    if (host.empty() || Ask(host, port, AI_NUMERICHOST, list) != 0) return false;
    address = Convert(*list);
    return true;
}

NameLookup::Result NameLookup::AskSystem(const std::string& host, int port) {
    Result result;
    AddressList list;
    if (const int error = Ask(host, port, AI_ADDRCONFIG, list); error != 0) {
        result.failure = Words(error);
        return result;
    }
    for (const addrinfo* info = list.get(); info != nullptr && result.addresses.size() < MaxAddresses;
         info = info->ai_next) {
        result.addresses.push_back(Convert(*info));
    }
    return result;
}

bool NameLookup::Start(const std::string& host, int port, const Function& function) {
    auto shared = std::make_shared<Shared>();
    shared->done = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!shared->done.IsOpen()) return false;
    SocketAddress numeric;
    try {
        if (ParseSocketAddress(host, port, numeric)) {
            shared->result = Result{{numeric}, {}};
            static_cast<void>(::eventfd_write(shared->done.Get(), 1));
        } else {
            std::thread([shared, host, port, function] {
                Result result = function(host, port);
                const std::lock_guard lock(shared->mutex);
                shared->result = std::move(result);
                static_cast<void>(::eventfd_write(shared->done.Get(), 1));
            }).detach();
        }
    } catch (const std::system_error&) {
        return false;
    }
    shared_ = std::move(shared);
    return true;
}

int NameLookup::GetFile() const {
    return shared_ ? shared_->done.Get() : -1;
}

bool NameLookup::Take(Result& result) {
    if (!shared_) return false;
    {
        const std::lock_guard lock(shared_->mutex);
        if (!shared_->result) return false;
        result = std::move(*shared_->result);
    }
    shared_.reset();
    return true;
}

}  // namespace Host
