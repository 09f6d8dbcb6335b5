// SerialSource: a receiver on a serial port.
#pragma once

#include <string>
#include <vector>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/live/SourceAddress.h"

namespace Host {

// Eight data bits and no flow control; the port is taken for this program alone. When nothing comes it is opened again
// from time to time, for adapters that were pulled out and put back.
class SerialSource : public LiveSource {
public:
    SerialSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink);
    ~SerialSource() override { Close(); }
    void AddWanted(std::vector<pollfd>& wanted) const override;

    [[nodiscard]] static bool IsSpeed(int baud);

protected:
    void Open() override;
    void Close() override { port_.Close(); }
    void OnDescriptor(const pollfd& ready) override;
    void OnSilence() override { Reopen(); }

private:
    SourceAddress address_;
    Descriptor port_;
};

}  // namespace Host
