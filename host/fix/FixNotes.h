// The coded remarks on a fix.
#pragma once

#include <cstdint>
#include <string>

#include "gnss/health/Notes.h"
#include "host/fix/FixResult.h"
#include "host/fix/FixSettings.h"

namespace Host {

// The ids of the notes. The parameter of one that concerns a satellite is its number, of GLONASS plus GlonassParam;
// that of NoFix is the FixFailure. A note says the same each time, so that a history of them shows when it held.
enum class FixNote : std::int32_t {
    NoFix = 1,
    RejectedSatellite = 2,
    RejectedHeight = 3,
    FTestFailed = 4,      // and no range stands out
    FaultNotPlaced = 5,   // a w-test failed, and the fault cannot be placed
    NotTestable = 6,      // no redundancy
    NotIdentifiable = 7,  // redundancy of 1
    HighHDOP = 8,
    HighPDOP = 9,
    FewSatellites = 10,
    NoIonosphere = 11,  // asked for, but its coefficients have not been received
    NoEphemeris = 12,   // of a satellite that is measured
    StaleEphemeris = 13,
    AgeingEphemeris = 14,  // beyond half of the limit after its reference time, and used
    Unhealthy = 15,
    Disabled = 16,
    NoPosition = 17,
    ReceiverWarning = 18,
    Lone = 19,
    NoVelocity = 20,        // range rates were measured, and no velocity came of them
    SuspectVelocity = 21,   // they contradict each other, and none can be rejected for it
    NoRange = 22,           // of a satellite that is tracked
    NotRejected = 23,       // a w-test failed, and the settings reject nothing
    WeakSignal = 24,        // below the mask of signals
    ContradictsOrbit = 25,  // its range is not one to where its ephemeris puts it
    Missing = 26,           // above the mask, but no longer received
    // Of the stream of epochs.
    EpochRepeated = 30,
    EpochOutOfOrder = 31,
    EpochGap = 32,
    ClockJump = 33,
    // Of the messages and the time that they tell.
    DamagedMessages = 34,
    LeapSecond = 35,
    NewWeek = 36,
    NewFourYears = 37,
};
inline constexpr int GlonassParam = 100;

// "G05", "R14": of a note's parameter too.
[[nodiscard]] std::string SatelliteName(bool glonass, int number);
[[nodiscard]] std::string SatelliteName(int param);

// What is to be remarked on a fix.
[[nodiscard]] GNSS::Notes MakeNotes(const FixResult& result, const FixSettings& settings);

// A remark that alarms: it says that the fix is not there or not to be trusted. An F-test that fails where no range
// stands out does not: with the limit of the same power as the w-test it fails more often than the w-test's level says,
// the more the higher the redundancy (at 99 and 80 % every sixth of faultless fixes with a redundancy of 11).
[[nodiscard]] bool IsAlarm(FixNote note);

}  // namespace Host
