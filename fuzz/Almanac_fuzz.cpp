// The almanac file: bytes that do not load leave the almanac as it was; those that do load make one that is in order
// and that comes back the same from its own file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"

namespace {

using GNSS::Almanac;

void Check(bool holds) {
    if (!holds) std::abort();
}

std::vector<std::byte> BytesOf(const Almanac& almanac) {
    Corvane::Stream::MemoryOutput output;
    Check(almanac.Write(output));
    return output.Bytes();
}

Almanac MakeHeld() {
    Almanac::SV sv;
    sv.prn = 9;
    Almanac held;
    Check(held.UpdateSV(sv));
    return held;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Almanac almanac = MakeHeld();
    const std::vector<std::byte> before = BytesOf(almanac);
    Corvane::Stream::MemoryInput input(std::as_bytes(std::span(data, size)));
    if (!almanac.Read(input)) {
        Check(BytesOf(almanac) == before);
        return 0;
    }
    for (int i = 0; i < almanac.NmrSV(); ++i) {
        const Almanac::SV& sv = almanac.GetSV(i);
        Check(sv.prn.IsValid() && almanac.Find(sv.prn) == i && (i == 0 || almanac.GetSV(i - 1).prn < sv.prn));
    }
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) {
        const Almanac::GlonassSV& sv = almanac.GetGlonassSV(i);
        Check(sv.slot.IsValid() && almanac.Find(sv.slot) == i && sv.IsTimeConsistentWithToI());
        Check(i == 0 || almanac.GetGlonassSV(i - 1).slot < sv.slot);
    }
    const std::vector<std::byte> written = BytesOf(almanac);
    Corvane::Stream::MemoryInput again(written);
    Almanac read;
    Check(read.Read(again) && again.NmrLeft() == 0 && BytesOf(read) == written);
    return 0;
}
