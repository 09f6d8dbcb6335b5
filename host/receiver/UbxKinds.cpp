#include "host/receiver/UbxKinds.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace Host {

namespace {

struct KindName {
    std::uint32_t kind;
    const char* name;
};

// What receivers send, in the order of the numbers.
constexpr std::array Names{
    KindName{0x0101, "NAV-POSECEF"},   KindName{0x0102, "NAV-POSLLH"},    KindName{0x0103, "NAV-STATUS"},
    KindName{0x0104, "NAV-DOP"},       KindName{0x0105, "NAV-ATT"},       KindName{0x0106, "NAV-SOL"},
    KindName{0x0107, "NAV-PVT"},       KindName{0x0109, "NAV-ODO"},       KindName{0x0111, "NAV-VELECEF"},
    KindName{0x0112, "NAV-VELNED"},    KindName{0x0113, "NAV-HPPOSECEF"}, KindName{0x0114, "NAV-HPPOSLLH"},
    KindName{0x0117, "NAV-PVAT"},      KindName{0x0120, "NAV-TIMEGPS"},   KindName{0x0121, "NAV-TIMEUTC"},
    KindName{0x0122, "NAV-CLOCK"},     KindName{0x0123, "NAV-TIMEGLO"},   KindName{0x0124, "NAV-TIMEBDS"},
    KindName{0x0125, "NAV-TIMEGAL"},   KindName{0x0126, "NAV-TIMELS"},    KindName{0x0127, "NAV-TIMEQZSS"},
    KindName{0x0130, "NAV-SVINFO"},    KindName{0x0131, "NAV-DGPS"},      KindName{0x0132, "NAV-SBAS"},
    KindName{0x0134, "NAV-ORB"},       KindName{0x0135, "NAV-SAT"},       KindName{0x0136, "NAV-COV"},
    KindName{0x0139, "NAV-GEOFENCE"},  KindName{0x013B, "NAV-SVIN"},      KindName{0x013C, "NAV-RELPOSNED"},
    KindName{0x013D, "NAV-EELL"},      KindName{0x0142, "NAV-SLAS"},      KindName{0x0143, "NAV-SIG"},
    KindName{0x0160, "NAV-AOPSTATUS"}, KindName{0x0161, "NAV-EOE"},       KindName{0x0162, "NAV-PL"},
    KindName{0x0163, "NAV-TIMENAVIC"}, KindName{0x0210, "RXM-RAW"},       KindName{0x0211, "RXM-SFRB"},
    KindName{0x0213, "RXM-SFRBX"},     KindName{0x0214, "RXM-MEASX"},     KindName{0x0215, "RXM-RAWX"},
    KindName{0x0220, "RXM-SVSI"},      KindName{0x0230, "RXM-ALM"},       KindName{0x0231, "RXM-EPH"},
    KindName{0x0232, "RXM-RTCM"},      KindName{0x0233, "RXM-SPARTN"},    KindName{0x0234, "RXM-COR"},
    KindName{0x0241, "RXM-PMREQ"},     KindName{0x0259, "RXM-RLM"},       KindName{0x0261, "RXM-IMES"},
    KindName{0x0272, "RXM-PMP"},       KindName{0x0273, "RXM-QZSSL6"},    KindName{0x0400, "INF-ERROR"},
    KindName{0x0401, "INF-WARNING"},   KindName{0x0402, "INF-NOTICE"},    KindName{0x0403, "INF-TEST"},
    KindName{0x0404, "INF-DEBUG"},     KindName{0x0500, "ACK-NAK"},       KindName{0x0501, "ACK-ACK"},
    KindName{0x0914, "UPD-SOS"},       KindName{0x0A02, "MON-IO"},        KindName{0x0A04, "MON-VER"},
    KindName{0x0A06, "MON-MSGPP"},     KindName{0x0A07, "MON-RXBUF"},     KindName{0x0A08, "MON-TXBUF"},
    KindName{0x0A09, "MON-HW"},        KindName{0x0A0B, "MON-HW2"},       KindName{0x0A21, "MON-RXR"},
    KindName{0x0A27, "MON-PATCH"},     KindName{0x0A28, "MON-GNSS"},      KindName{0x0A31, "MON-SPAN"},
    KindName{0x0A36, "MON-COMMS"},     KindName{0x0A37, "MON-HW3"},       KindName{0x0A38, "MON-RF"},
    KindName{0x0A39, "MON-SYS"},       KindName{0x0B02, "AID-HUI"},       KindName{0x0B30, "AID-ALM"},
    KindName{0x0B31, "AID-EPH"},       KindName{0x0D01, "TIM-TP"},        KindName{0x0D03, "TIM-TM2"},
    KindName{0x0D04, "TIM-SVIN"},      KindName{0x0D06, "TIM-VRFY"},      KindName{0x1002, "ESF-MEAS"},
    KindName{0x1003, "ESF-RAW"},       KindName{0x1010, "ESF-STATUS"},    KindName{0x1014, "ESF-ALG"},
    KindName{0x1015, "ESF-INS"},       KindName{0x2703, "SEC-UNIQID"},    KindName{0x2709, "SEC-SIG"},
    KindName{0x270A, "SEC-OSNMA"},     KindName{0x2710, "SEC-SIGLOG"},
};
static_assert(std::is_sorted(Names.begin(), Names.end(),
                             [](const KindName& a, const KindName& b) { return a.kind < b.kind; }));

}  // namespace

std::string UbxKinds::Name(std::uint32_t kind) {
    const auto* found = std::lower_bound(Names.begin(), Names.end(), kind,
                                         [](const KindName& entry, std::uint32_t k) { return entry.kind < k; });
    if (found != Names.end() && found->kind == kind) return found->name;
    return fmt::format("0x{:02X} 0x{:02X}", kind >> 8U, kind & 0xFFU);
}

}  // namespace Host
