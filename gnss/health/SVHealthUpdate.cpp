#include "gnss/health/SVHealthUpdate.h"

namespace GNSS {

using Corvane::String;

const Corvane::Type SVHealth::Update::Type("SVHealth Update");

void SVHealth::Update::Set(Mode mode, const PRN& prn, int health) {
    mode_ = mode;
    prn_ = prn;
    slot_ = Glonass::Slot::Null;
    health_ = health;
    glonass_ = false;
}

void SVHealth::Update::Set(Mode mode, const Glonass::Slot& slot, int health) {
    mode_ = mode;
    prn_ = PRN::Null;
    slot_ = slot;
    health_ = health;
    glonass_ = true;
}

String SVHealth::Update::GetDesc() const {
    const String number = String::FormatInt(glonass_ ? int{slot_} : int{prn_});
    String text;
    text.Reserve(40);
    text += glonass_ ? "Glonass " : "GPS ";
    switch (mode_) {
        case Enable:
            text += "Enabled " + number;
            break;
        case Disable:
            text += "Disabled " + number;
            break;
        case AlmanacHealth:
            text += "Almanac " + number + " " + String::FormatInt(health_);
            break;
        case EphemerisHealth:
            text += "Ephemeris " + number + " " + String::FormatInt(health_);
            break;
        case Unknown:
            text += "Unknown";
            break;
    }
    return text;
}

}  // namespace GNSS
