// RinexObservationDecoder: the epochs of a RINEX observation file, while its bytes come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/FileReport.h"
#include "host/receiver/RinexEpochBuilder.h"
#include "host/receiver/RinexEpochLine.h"
#include "host/receiver/RinexObservationHeader.h"
#include "host/receiver/StreamDecoder.h"

namespace Host {

// What an observation file held.
struct RinexObservationCounts {
    std::int64_t epochs = 0;              // delivered
    std::int64_t lost = 0;                // left out for damage, as far as their lines can be told
    std::int64_t repeated = 0;            // delivered, with the time of the one before
    std::int64_t backward = 0;            // delivered, with an earlier time than the one before
    std::int64_t powerFailures = 0;       // flag 1
    std::int64_t antennaMoves = 0;        // flag 2
    std::int64_t newSites = 0;            // flag 3
    std::int64_t headerChanges = 0;       // flag 4
    std::int64_t externalEvents = 0;      // flag 5
    std::int64_t slipRecords = 0;         // flag 6, skipped
    std::int64_t repeatedSatellites = 0;  // within an epoch; the first is kept
    std::map<char, std::int64_t> others;  // satellites of other systems, and numbers that are none of theirs, by letter
};

// RINEX 2.00 to 2.12 and 3.00 to 3.05, GPS and GLONASS. A stream of lines: each is a message, of the kinds "header",
// "epoch", "satellite", "special" and "other", which is refused where it is damaged.
//
// Header    when it is whole, the leap seconds and the station (the antenna reference point, from the approximate
//           position of the marker) are told; the station again when special lines among the epochs change it. A
//           further file behind the end of the first begins anew.
// Epoch     time and measurements, in the order of the file, whatever the times; see RinexObservationPlan for the
//           signals. Blank values and 0.0 are none. Qualities are 0. The signal strength digit is not used.
// Lock      the loss-of-lock digit beside a phase: 1 is lost lock and a slip, 2 the phase warning (half cycle), 4
//           (antispoofing) nothing. A phase without the 1 has not slipped since the signal's last phase; nothing is
//           known of the first phase, nor of those after an epoch that was lost. After a power failure all have lost
//           lock and slipped, and so has a phase that is of another code than the signal's last.
// Damage    costs the epoch, no more: what follows is passed over up to the next line that begins an epoch, which in
//           version 2 is one that has everything in its columns. There an epoch is delivered when the next line shows
//           that it is not one of values, as when a line was lost or doubled. An epoch whose last line has no end (LF)
//           counts as whole when nothing can be missing of that line.
class RinexObservationDecoder final : public StreamDecoder {
public:
    explicit RinexObservationDecoder(ReceiverSink& sink) : StreamDecoder(sink) {}

    // For the warnings.
    void SetFile(std::string_view file) { warnings_.SetFile(file); }

    [[nodiscard]] const RinexObservationHeader& GetHeader() const { return header_; }
    // Whether the header has been read to its end.
    [[nodiscard]] bool HasHeader() const { return hasHeader_; }
    [[nodiscard]] const RinexObservationCounts& GetObservationCounts() const { return counts_; }
    [[nodiscard]] const Warnings& GetWarnings() const { return warnings_; }
    // Why the bytes are not for this decoder; all of them are skipped then. Empty as long as they are.
    [[nodiscard]] const std::string& GetFailure() const { return failure_; }
    // Of the receiver at the epoch that is being delivered, s, where the file has it.
    [[nodiscard]] const std::optional<double>& GetClockOffset() const { return epoch_.clockOffset; }

    [[nodiscard]] std::string GetKindName(std::uint32_t kind) const override;

protected:
    [[nodiscard]] std::size_t FindStart(std::string_view bytes) const override;
    [[nodiscard]] Frame Inspect(std::string_view bytes) override;
    [[nodiscard]] Frame InspectEnd(std::string_view bytes) override;
    [[nodiscard]] bool Decode(std::uint32_t kind, std::string_view message) override;
    void Flush() override;

private:
    // What the next line is.
    enum class Next : std::uint8_t { FirstLine, Header, Epoch, SatelliteList, Satellite, Special, Anything, Nothing };
    enum Kind : std::uint32_t { HeaderLine = 1, EpochLine, SatelliteLine, SpecialLine, OtherLine };

    [[nodiscard]] Kind KindOf(std::string_view line) const;
    [[nodiscard]] bool TakeLine(std::string_view line);
    [[nodiscard]] bool TakeFirstLine(std::string_view line);
    void TakeHeaderLine(std::string_view line);
    void EndHeader();
    // Whatever may stand there is an epoch's, or damaged.
    [[nodiscard]] bool TakeEpochLine(std::string_view line);
    [[nodiscard]] bool TakeSatelliteList(std::string_view line);
    [[nodiscard]] bool TakeSatelliteLine(std::string_view line);
    [[nodiscard]] bool TakeSpecialLine(std::string_view line);
    [[nodiscard]] bool AddSatellite(const RinexSatellite& satellite, std::string_view record);
    [[nodiscard]] bool BeginEpoch(const RinexEpochLine& epoch, std::string_view line);
    void BeginSpecials();
    void EndSatellites();
    void EndSpecials();
    void Deliver();
    // The epoch that is being read, or would stand on this line, is damaged.
    void Lose(std::string_view why);
    void TellStation();
    void Fail(std::string reason);
    [[nodiscard]] bool IsVersion2() const { return header_.version < 300; }

    Warnings warnings_;
    RinexObservationHeader header_;
    RinexObservationHeaderReader headerReader_{header_, warnings_};
    RinexEpochBuilder builder_;
    RinexObservationCounts counts_;
    std::string failure_;
    bool hasHeader_ = false;
    std::optional<GNSS::ECEF> toldStation_;

    Next next_ = Next::FirstLine;
    std::int64_t line_ = 0;      // number of the current line
    bool isInLongLine_ = false;  // the last piece of a line was not its end
    bool isOpen_ = false;        // the current line has no end
    bool isComplete_ = false;    // the epoch waits for its proof
    RinexEpochLine epoch_;
    std::int64_t epochLine_ = 0;              // its number
    std::size_t left_ = 0;                    // lines of satellites or special ones
    std::vector<RinexSatellite> satellites_;  // of the epoch, version 2
    std::string record_;                      // lines of a satellite put together, version 2
    std::size_t nmrLines_ = 0;                // in it
    std::optional<GNSS::GPSTime> last_;
};

}  // namespace Host
