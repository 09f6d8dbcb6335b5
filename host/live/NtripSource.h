// NtripSource: a stream of an NTRIP caster.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/live/NtripReply.h"
#include "host/live/Secret.h"
#include "host/live/SourceTable.h"
#include "host/live/TcpSource.h"

namespace Host {

// Asks for the mount point, sends positions where the address says so, and passes the stream on. An answer that will
// not change soon (a wrong password, a redirection) makes it wait for the longest time at once.
class NtripSource : public TcpSource {
public:
    // The sentence GGA of where the antenna is now; empty while that is not known.
    using Position = std::function<std::string()>;

    NtripSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink, Secret password,
                Position position = {}, NameLookup::Function lookUp = NameLookup::AskSystem);
    ~NtripSource() override;

protected:
    void Close() override;
    void OnConnection() override;
    void OnReceived(std::string_view bytes) override;
    void OnEnd(const std::string& reason) override;
    void OnLimit() override;
    void OnSilence() override;

private:
    void TakeContent(NtripReply::Kind kind, std::string_view content);
    void BeginStream();
    void CheckReply();
    // There is a list instead of the stream: says what is near in it.
    void DropByTable();
    void SendPosition();
    [[nodiscard]] std::string GetPosition() const;

    Secret password_;
    Position position_;
    std::optional<NtripReply> reply_;
    std::optional<SourceTable> table_;
    bool isBegun_ = false;    // the stream
    bool hasSent_ = false;    // a position, in this connection
    bool isLacking_ = false;  // told that there is none
};

}  // namespace Host
