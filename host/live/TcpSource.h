// TcpSource: connects to a server that sends.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/live/NameLookup.h"
#include "host/live/SourceAddress.h"

namespace Host {

// The host's name is looked up at each try; its addresses are tried one after another.
class TcpSource : public LiveSource {
public:
    TcpSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink,
              NameLookup::Function lookUp = NameLookup::AskSystem);
    ~TcpSource() override { TcpSource::Close(); }
    void AddWanted(std::vector<pollfd>& wanted) const override;

protected:
    // The connection stands.
    virtual void OnConnection() { Begin("connected to " + peer_); }
    virtual void OnReceived(std::string_view bytes) { Deliver(bytes); }
    // The peer has ended it, or the system has.
    virtual void OnEnd(const std::string& reason) { Drop(reason); }

    [[nodiscard]] const SourceAddress& GetAddress() const { return address_; }
    // "192.0.2.1:2101".
    [[nodiscard]] const std::string& GetPeer() const { return peer_; }
    // Everything that was to be sent is on its way.
    [[nodiscard]] bool IsAllSent() const { return unsent_.empty(); }
    // The connection may have ended by that.
    void Send(std::string_view bytes);

    void Open() override;
    void Close() override;
    void OnDescriptor(const pollfd& ready) override;
    void OnLimit() override;

private:
    void OnAddresses();
    void ConnectNext(const std::string& failure);
    void OnConnectDone();
    // False when the connection has ended by that.
    bool Flush();

    SourceAddress address_;
    NameLookup::Function lookUp_;
    NameLookup lookup_;
    std::vector<SocketAddress> addresses_;
    std::size_t nextAddress_ = 0;
    std::string peer_;
    std::string unsent_;
    Descriptor socket_;
    bool isConnected_ = false;
};

}  // namespace Host
