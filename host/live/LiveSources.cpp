#include "host/live/LiveSources.h"

#include "host/live/SerialSource.h"
#include "host/live/TcpListenSource.h"
#include "host/live/TcpSource.h"
#include "host/live/UdpSource.h"

namespace Host {

std::unique_ptr<LiveSource> MakeLiveSource(const SourceAddress& address, LiveSettings settings, LiveSink& sink,
                                           const Secret& password, const NtripSource::Position& position) {
    if (address.silence) settings.silence = *address.silence;
    switch (address.kind) {
        case SourceAddress::Kind::Serial:
            return std::make_unique<SerialSource>(address, settings, sink);
        case SourceAddress::Kind::Tcp:
            return std::make_unique<TcpSource>(address, settings, sink);
        case SourceAddress::Kind::TcpListen:
            return std::make_unique<TcpListenSource>(address, settings, sink);
        case SourceAddress::Kind::Udp:
            return std::make_unique<UdpSource>(address, settings, sink);
        case SourceAddress::Kind::Ntrip:
            return std::make_unique<NtripSource>(address, settings, sink, password, position);
    }
    return nullptr;
}

}  // namespace Host
