// GNSS::GPSEphemerideStatus, known as GPSEphemeride::Status: the status words of a broadcast GPS ephemeris.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"

namespace GNSS {

// The words of subframe 1 that tell how far a record can be trusted. Each setter sets a bit of the flags word, so that
// IsValid tells which values have been given.
class GNSS_EXPORT GPSEphemerideStatus {
public:
    // The bits of the flags word. Alert has none of its own: setting it sets CurveFit, so that the record then counts
    // as one with a fit interval. Intended.
    enum Flag : std::int32_t { Accuracy = 1, Health = 2, CurveFit = 4, L2Codes = 8, L2PData = 16, ASFlag = 32 };

    // No flags, URA index 15 (no accuracy prediction), everything else 0 or false.
    void Reset() { *this = GPSEphemerideStatus(); }
    // True when every bit of the mask is set in the flags word.
    [[nodiscard]] bool IsValid(int mask) const { return (flags_ & mask) == mask; }

    // User range accuracy as the index of IS-GPS-200, 20.3.3.3.1.3.
    void SetAccuracy(int index) { Set(ura_, index, Accuracy); }
    // The 6-bit health word; 0 is healthy.
    void SetHealth(int word) { Set(health_, word, Health); }
    // The fit interval in hours.
    void SetCurveFit(int hours) { Set(curveFit_, hours, CurveFit); }
    // The fit interval from the broadcast flag and the IODC (IS-GPS-200, table 20-XII); IODC 1021 to 1023 give 6 hours
    // as any other that the table does not name. Intended.
    void SetCurveFit(int fitFlag, int iodc);
    void SetL2Codes(char codes) { Set(l2Codes_, codes, L2Codes); }
    void SetL2PData(bool on) { Set(l2PData_, on, L2PData); }
    void SetASFlag(int flag) { Set(asFlag_, flag, ASFlag); }
    void SetAlert(int alert) { Set(alert_, alert, CurveFit); }

    [[nodiscard]] int GetURA() const { return ura_; }
    [[nodiscard]] int GetHealth() const { return health_; }
    [[nodiscard]] bool IsHealthy() const { return health_ == 0; }
    [[nodiscard]] int GetCurveFit() const { return curveFit_; }
    [[nodiscard]] char GetL2Codes() const { return l2Codes_; }
    [[nodiscard]] bool HasL2PData() const { return l2PData_; }
    [[nodiscard]] int GetASFlag() const { return asFlag_; }
    [[nodiscard]] int GetAlert() const { return alert_; }

    // The record's accuracy in metres: 2, 2.8, 4, 5.7, 8, 11.3, 16 for the indexes 0 to 6, 2^(N-2) for others, 32767
    // for 15.
    [[nodiscard]] double GetURAMetres() const;
    // The lower or upper bound in metres of the accuracy that an index stands for (IS-GPS-200, 20.3.3.3.1.3); beyond
    // either end of the table 0 and 12288.
    [[nodiscard]] static double GetURAMetres(int index, bool upper);

    // False when the stream fails; a failed read leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

private:
    template <typename Value>
    void Set(Value& field, Value value, Flag flag) {
        field = value;
        flags_ |= flag;
    }

    std::int32_t flags_ = 0;
    int ura_ = 15;
    int health_ = 0;
    int curveFit_ = 0;
    char l2Codes_ = 0;
    bool l2PData_ = false;
    int asFlag_ = 0;
    int alert_ = 0;
};

}  // namespace GNSS
