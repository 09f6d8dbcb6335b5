// The streams of single records, chosen by the first byte: bytes that are no record leave the object as it was; those
// that are make one that can be written and comes back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <span>
#include <type_traits>
#include <vector>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/platform/LogPoint.h"

namespace {

using Bytes = std::span<const std::byte>;
using Corvane::LogDataControl;
using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::Glonass::Ephemeride;

void Check(bool holds) {
    if (!holds) std::abort();
}

template <typename Record>
std::vector<std::byte> BytesOf(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    Check(record.Write(output));
    return output.Bytes();
}

template <typename Record>
void Try(Bytes bytes) {
    Record record;
    const std::vector<std::byte> before = BytesOf(record);
    Corvane::Stream::MemoryInput input(bytes);
    if (!record.Read(input)) {
        Check(BytesOf(record) == before);
        return;
    }
    const std::vector<std::byte> written = BytesOf(record);
    Check(written.size() == bytes.size() - input.NmrLeft());
    Corvane::Stream::MemoryInput again(written);
    Record read;
    Check(read.Read(again) && again.NmrLeft() == 0);
    if constexpr (std::is_same_v<Record, GPSEphemeride>) {
        if (record.prn.IsNull()) return;  // comes back as PRN 32
    }
    Check(BytesOf(read) == written);
}

// In the form of streams that came before the newest.
template <typename Record>
void TryOld(Bytes bytes) {
    LogDataControl::SetFileVersion(109);
    Try<Record>(bytes);
    LogDataControl::SetFileVersion(LogDataControl::NewestFileVersion);
}

// New records come last, so that what is in a corpus keeps its meaning.
void (*const Records[])(Bytes) = {
    Try<Almanac::SV>,       Try<Almanac::GlonassSV>,  Try<Almanac::Iono>,        Try<Almanac::UTC>,
    Try<GPSEphemeride>,     Try<GPSEphemeride::Posn>, Try<GPSEphemeride::Clock>, Try<GPSEphemeride::Status>,
    Try<Ephemeride>,        TryOld<Ephemeride>,       Try<Ephemeride::Posn>,     TryOld<Ephemeride::Posn>,
    Try<Ephemeride::Clock>, Try<Ephemeride::Status>,  Try<Ephemeride::M>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || data[0] >= std::size(Records)) return 0;
    Records[data[0]](std::as_bytes(std::span(data, size)).subspan(1));
    return 0;
}
