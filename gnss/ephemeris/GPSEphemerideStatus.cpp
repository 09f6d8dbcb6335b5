#include "gnss/ephemeris/GPSEphemerideStatus.h"

#include <array>
#include <cmath>

namespace GNSS {

namespace {

int FitHours(int iodc) {
    struct Row {
        int first;
        int last;
        int hours;
    };
    static constexpr std::array Rows = {
        Row{240, 247, 8},   Row{248, 255, 14},    Row{496, 496, 14},    Row{497, 503, 26},
        Row{504, 510, 50},  Row{511, 511, 74},    Row{752, 756, 74},    Row{757, 763, 98},
        Row{764, 767, 122}, Row{1008, 1010, 122}, Row{1011, 1020, 146},
    };
    for (const Row& row : Rows) {
        if (row.first <= iodc && iodc <= row.last) return row.hours;
    }
    return 6;
}

}  // namespace

void GPSEphemerideStatus::SetCurveFit(int fitFlag, int iodc) {
    SetCurveFit(fitFlag == 0 ? 4 : FitHours(iodc));
}

double GPSEphemerideStatus::GetURAMetres() const {
    switch (ura_) {
        case 0:
        case 2:
        case 4:
        case 6:
            return std::ldexp(1.0, ura_ / 2 + 1);
        case 1:
            return 2.8;
        case 3:
            return 5.7;
        case 5:
            return 11.3;
        case 15:
            return 32767.0;
        default:
            // Held within what ldexp can take, whatever number was set.
            return std::ldexp(1.0, ura_ < -10000 ? -10002 : (ura_ > 10000 ? 9998 : ura_ - 2));
    }
}

double GPSEphemerideStatus::GetURAMetres(int index, bool upper) {
    static constexpr std::array Limits = {2.4,  3.4,   4.85,  6.85,  9.65,   13.65,  24.0,  48.0,
                                          96.0, 192.0, 384.0, 768.0, 1536.0, 3072.0, 6144.0};
    if (!upper) {
        if (index < 1) return 0.0;
        --index;
    }
    if (index < 0) return 0.0;
    return index < static_cast<int>(Limits.size()) ? Limits[static_cast<std::size_t>(index)] : 12288.0;
}

bool GPSEphemerideStatus::Write(Corvane::Stream::Output& output) const {
    return Corvane::Stream::Succeeds([&] {
        output.WriteInt(flags_);
        output.WriteInt(ura_);
        output.WriteInt(health_);
        output.WriteInt(curveFit_);
        output.WriteChar(l2Codes_);
        output.WriteBool(l2PData_);
        output.WriteInt(asFlag_);
        output.WriteInt(alert_);
    });
}

bool GPSEphemerideStatus::Read(Corvane::Stream::Input& input) {
    return Corvane::Stream::Succeeds([&] {
        GPSEphemerideStatus read;
        read.flags_ = input.ReadInt();
        read.ura_ = input.ReadInt();
        read.health_ = input.ReadInt();
        read.curveFit_ = input.ReadInt();
        read.l2Codes_ = input.ReadChar();
        read.l2PData_ = input.ReadBool();
        read.asFlag_ = input.ReadInt();
        read.alert_ = input.ReadInt();
        *this = read;
    });
}

}  // namespace GNSS
