// GNSS::Glonass::Ephemeride: one broadcast ephemeris of one GLONASS satellite.
#pragma once

#include <array>

#include "gnss/ephemeris/GlonassOrbit.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GloTime.h"
#include "gnss/time/GlonassSlot.h"

namespace GNSS::Glonass {

// Position, velocity and lunisolar acceleration of a GLONASS satellite at a reference time tb, with its clock, as the
// strings 1 to 4 of a frame carry them (GLONASS interface control document, edition 5.1, 4.4). The state is carried to
// the wanted time by integration of the equations of motion (see Orbit). Positions are earth-fixed in the frame of the
// message, PZ-90 (PZ-90.02 from September 2007, PZ-90.11 from 2014); a shift to WGS 84 is the caller's. Against precise
// orbits they are good to some metres within 15 minutes of tb.
//
// A record of NaN or infinite numbers gives NaN positions; nothing here loops for longer than 35 steps.
class GNSS_EXPORT Ephemeride {
public:
    using Orbit = Glonass::Orbit;

    struct GNSS_EXPORT Posn {
        int day = 0;             // day of tb within the four-year interval
        double frameTime = 0.0;  // of the frame that carried the record, seconds of the Moscow day
        double tb = 0.0;         // reference time, seconds of the Moscow day
        int sequence = -1;       // continuity counter kept by the history; -1 without a close predecessor
        ECEF posn;               // km
        ECEF vely;               // km/s
        ECEF accel;              // lunisolar, km/s^2

        void Reset() { *this = Posn(); }
        // Whether the two tb agree within a millisecond.
        [[nodiscard]] bool IsTheSameTb(const Posn& other) const;
        // False when the stream fails; a failed read leaves the object as it was.
        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);
    };

    struct GNSS_EXPORT Clock {
        double tau = 0.0;    // offset tau_n at tb, s, to be added to the satellite's time
        double gamma = 0.0;  // relative frequency offset gamma_n

        void Reset() { *this = Clock(); }
        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);
    };

    // Six words: which of the others were given, then the five of the message.
    class GNSS_EXPORT Status {
    public:
        enum Word : std::int32_t {
            Present = 0,  // one bit for each of the words that follow: 1, 2, 4, 8, 16
            Health = 1,   // UnhealthyBit when the satellite says that it is not to be used
            P1 = 2,       // interval between tb of successive records, minutes: 0, 30, 45 or 60
            P2 = 3,       // whether tb is odd or even
            P3 = 4,       // 1: five satellites' almanacs in the frame, 0: four
            P4 = 5,       // 1: the ephemeris was updated
        };
        static constexpr int NmrWords = 6;
        static constexpr int UnhealthyBit = 4;

        void Reset() { *this = Status(); }
        [[nodiscard]] int Get(Word word) const { return words_[static_cast<std::size_t>(word)]; }
        // Stores a word and marks it as given.
        void Set(Word word, int value);
        // The health flag of the message: 1 is unhealthy.
        void SetUnhealthy(bool unhealthy) { Set(Health, unhealthy ? UnhealthyBit : 0); }
        [[nodiscard]] bool IsUnhealthy() const { return (Get(Health) & UnhealthyBit) != 0; }
        [[nodiscard]] bool IsHealthy() const { return !IsUnhealthy(); }
        friend bool operator==(const Status&, const Status&) = default;

        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);

    private:
        std::array<int, NmrWords> words_{};
    };

    // The additional words of GLONASS-M satellites.
    struct GNSS_EXPORT M {
        bool isM = false;       // a GLONASS-M satellite
        int age = 0;            // E: age of the immediate information, days
        int accuracyIndex = 0;  // F_T

        void Reset() { *this = M(); }
        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);
    };

    // What a position calculation returns.
    struct Result {
        bool valid = false;            // a position was computed
        ECEF posn;                     // metres, earth-fixed
        ECEF vely;                     // metres per second, in the same turning frame
        double clockCorrection = 0.0;  // s, with the sign of the message's tau_n: to be added to the satellite's time
        double clockDrift = 0.0;       // s/s
        int tb = 0;                    // of the record used, whole seconds
        int sequence = -1;             // of the record used
        bool healthy = false;

        void Reset() { *this = Result(); }
    };

    // Rotation of the earth, per second.
    static constexpr Corvane::Angle EarthRate{Orbit::EarthRate};
    // The value of `accuracy` when the message gives none.
    static constexpr double UnknownAccuracy = 1000001.0;

    Slot slot;
    GPSTime reference;  // time of interest: when the record was received
    Posn posn;
    Clock clock;
    Status status;
    M m;
    double accuracy = UnknownAccuracy;  // predicted range accuracy, m

    void Reset() { *this = Ephemeride(); }

    // The reference time (day, tb), its four-year interval unknown.
    [[nodiscard]] GloTime GetReferenceTime() const { return {posn.day, posn.tb, GloTime::UnknownYear}; }

    // Position, velocity and clock at a GPS system time. An unhealthy satellite is an answer: true with Result::valid
    // false. False when t is too old. Allocates nothing.
    //
    // In the first hour of a GPS week, for a tb before 03:15 Moscow time (close to 03:00 in practice), tb is taken to
    // stand the leap-second rule's change earlier: right around a leap second at a week's end, and a second (3 km) off
    // in any other week as long as the rule in force names a change. Give GPSTime the broadcast rule before relying on
    // it.
    bool CalculatePosn(const GPSTime& t, Result& result, bool extended) const;
    // True when t lies more than 1200 s from tb, or 2100 s when extended. Both ends are valid.
    [[nodiscard]] bool IsTooOld(const GPSTime& t, bool extended) const;

    // Whether the reference time lies within a week of the time of interest.
    [[nodiscard]] bool IsPosnTimeConsistentWithToI() const;
    // Whether the satellite is 24971 to 25971 km from the earth's centre.
    [[nodiscard]] bool HasReasonablePosn() const;
    // Whether its speed is 2.875 to 3.875 km/s.
    [[nodiscard]] bool HasReasonableVely() const;
    // The three tests in this order; the first that fails adds an event under "Glonass Ephemeris" and gives false.
    [[nodiscard]] bool IsPlausible() const;

    // Same day, frame time and tb (within a millisecond).
    [[nodiscard]] bool IsTheSame(const Ephemeride& other) const;
    // Same day and tb and the same broadcast state, whenever it was sent.
    [[nodiscard]] bool HasTheSameBody(const Ephemeride& other) const;
    // From the other's reference time to this one's, each placed in the four-year interval nearest to today.
    [[nodiscard]] Corvane::Time TbDifference(const Ephemeride& other) const;
    // Whether this healthy record has just this tb, and a sequence counter that is below zero or has that oddness.
    [[nodiscard]] bool CanCalcWith(int tb, bool odd) const;
    // By IsTheSame.
    friend bool operator==(const Ephemeride& a, const Ephemeride& b) { return a.IsTheSame(b); }

    // False when the stream fails; a failed read leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
    // Which of the two stream forms is in use: the old one writes slot and day in 16 bits, the new one in 8 and 32.
    [[nodiscard]] static bool IsOldFormat();

private:
    [[nodiscard]] int LeapCorrection(const GPSTime& t) const;
};

}  // namespace GNSS::Glonass
