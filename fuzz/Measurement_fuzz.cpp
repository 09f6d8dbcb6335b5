// Streams of measurement records and sets of both systems, and the text of MeasAvail: what is refused changes nothing,
// what is read is written back so that it reads as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "gnss/measurement/MeasAvail.h"

namespace {

using Corvane::Stream::MemoryInput;
using Corvane::Stream::MemoryOutput;

template <typename T>
std::vector<std::byte> Written(const T& object) {
    MemoryOutput output;
    if (!object.Write(output)) std::abort();
    return output.Bytes();
}

template <typename T>
void Check(std::span<const std::byte> bytes, const T& before) {
    T object = before;
    MemoryInput input(bytes);
    const bool read = object.Read(input);
    const std::vector<std::byte> written = Written(object);
    if (!read) {
        if (written != Written(before)) std::abort();
        return;
    }
    // NaN never equals itself, so the bytes are compared.
    T again;
    MemoryInput rest(written);
    if (!again.Read(rest) || rest.NmrLeft() != 0 || Written(again) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    GNSS::GPSMeas gps(GNSS::GPSFreqy::L2);
    gps.SetRange({2e7, 0.5});
    GNSS::GPSMeas::Set gpsSet(GNSS::GPSTime(2000, 1.0));
    gpsSet.AddMeas(GNSS::PRN(5), gps);
    GNSS::Glonass::Measurement::Set glonassSet(GNSS::GPSTime(2000, 1.0));
    glonassSet.AddSV(GNSS::Glonass::Slot(), 3);
    Check(bytes, gps);
    Check(bytes, GNSS::Glonass::Measurement());
    Check(bytes, gpsSet);
    Check(bytes, glonassSet);
    Check(bytes, GNSS::MeasAvail::Nothing());

    GNSS::MeasAvail avail, back;
    if (avail.Parse(std::string(data, data + size))) {
        if (!back.Parse(avail.Print()) || back != avail) std::abort();
    } else if (avail != GNSS::MeasAvail()) {
        std::abort();
    }
    return 0;
}
