// UdpSource: datagrams that are sent here.
#pragma once

#include <optional>
#include <vector>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/live/NameLookup.h"
#include "host/live/RefusalCount.h"
#include "host/live/SourceAddress.h"

namespace Host {

// The first sender is the one that is listened to, until it has been silent for as long as counts as silence; others
// are refused.
class UdpSource : public LiveSource {
public:
    UdpSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink);
    ~UdpSource() override { Close(); }
    void AddWanted(std::vector<pollfd>& wanted) const override;

    // The port that it has, which the system chooses for port 0; 0 when it is not open.
    [[nodiscard]] int GetPort() const;

protected:
    void Open() override;
    void Close() override;
    void OnDescriptor(const pollfd& ready) override;
    void OnSilence() override { Reopen(); }

private:
    SourceAddress address_;
    Descriptor socket_;
    std::optional<SocketAddress> peer_;
    RefusalCount refusals_;
    std::vector<char> room_;
};

}  // namespace Host
