// FourYearTurn: where GLONASS begins to count its days anew, after day 1461.
#pragma once

namespace Host {

// The days of GLONASS records, in the order of their coming. A history refuses a record of day 1 after one of day 1461,
// so that it has to be emptied between the two; and a satellite that still repeats day 1461 must not get into it again.
class FourYearTurn {
public:
    enum class Verdict { Take, ClearFirst, Drop };

    [[nodiscard]] Verdict Judge(int day) {
        const int before = last_;
        if (before > 0 && before <= Near && day > DaysInInterval - Near) return Verdict::Drop;
        last_ = day;
        return before > DaysInInterval - Near && day <= Near ? Verdict::ClearFirst : Verdict::Take;
    }
    // The data begin anew at another time.
    void Reset() { last_ = 0; }

private:
    static constexpr int DaysInInterval = 1461;
    static constexpr int Near = 30;  // days

    int last_ = 0;
};

}  // namespace Host
