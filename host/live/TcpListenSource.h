// TcpListenSource: a port that one peer at a time may connect to and send.
#pragma once

#include <vector>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/live/RefusalCount.h"
#include "host/live/SourceAddress.h"

namespace Host {

// While one is connected others are refused. One that is silent is dropped, and the next one is waited for.
class TcpListenSource : public LiveSource {
public:
    TcpListenSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink);
    ~TcpListenSource() override { Close(); }
    void AddWanted(std::vector<pollfd>& wanted) const override;

    // The port that it has, which the system chooses for port 0; 0 when it is not open.
    [[nodiscard]] int GetPort() const;

protected:
    void Open() override;
    void Close() override;
    void OnDescriptor(const pollfd& ready) override;
    void OnSilence() override { EndPeer(SilenceText()); }

private:
    void Accept();
    void EndPeer(const std::string& reason);

    SourceAddress address_;
    Descriptor listener_;
    Descriptor peer_;
    RefusalCount refusals_;
};

}  // namespace Host
