#include "host/receiver/RinexObservationPlan.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace Host {

namespace {

using Plan = RinexObservationPlan;
using Types = std::vector<std::string>;

// The columns of one system.
class Layout {
public:
    Layout(const RinexObservationHeader& header, char system) : header_(header), system_(system) {
        const auto types = header.types.find(IsVersion2() ? ' ' : system);
        if (types != header.types.end()) types_ = &types->second;
        plan_.nmrTypes = types_ != nullptr ? types_->size() : 0;
        if (IsVersion2()) {
            for (const RinexSignal2& signal : RinexSignals2) {
                if (signal.system == system) Add(signal);
            }
        } else {
            for (const RinexSignal3& signal : RinexSignals3) {
                if (signal.system == system) Add(signal);
            }
        }
    }
    [[nodiscard]] const Plan::System& GetPlan() const { return plan_; }

private:
    [[nodiscard]] bool IsVersion2() const { return header_.version < 300; }

    void Add(const RinexSignal3& from) {
        for (const char code : std::string_view(from.codes)) {
            const std::string name{from.band, code};
            Add(from.ident, {Find("C" + name), Find("L" + name), Find("D" + name), Find("S" + name), code});
        }
    }
    void Add(const RinexSignal2& from) {
        const std::string others = from.others;
        Plan::Signal signal{Find(from.range), {}, {}, {}, others[0]};
        // L1, D1 and S1 are of one code only.
        const bool isC1 = from.range == std::string_view("C1");
        if (others != "1" || isC1 == Find("C1").isThere)
            signal = {signal.range, Find("L" + others), Find("D" + others), Find("S" + others), others[0]};
        Add(from.ident, signal);
    }
    void Add(std::uint8_t ident, Plan::Signal signal) {
        // What is not in dB-Hz cannot be told as such.
        if (!header_.snrUnit.empty() && header_.snrUnit != "DBHZ") signal.snr = {};
        bool isAny = false;
        for (const Plan::Column* column : {&signal.range, &signal.phase, &signal.doppler, &signal.snr}) {
            if (!column->isThere) continue;
            isAny = true;
            // A phase has its loss-of-lock digit.
            const std::size_t width = Plan::NumberWidth + (column == &signal.phase ? 1 : 0);
            plan_.wholeLength = std::max(plan_.wholeLength, column->first + width);
        }
        if (isAny) plan_.records.at(ident - 1U).push_back(signal);
    }

    [[nodiscard]] Plan::Column Find(std::string_view type) const {
        if (types_ == nullptr) return {};
        const auto found = std::find(types_->begin(), types_->end(), type);
        if (found == types_->end()) return {};
        const auto index = static_cast<std::size_t>(found - types_->begin());
        constexpr std::size_t Width = Plan::NumberWidth + 2;
        const std::size_t first =
            IsVersion2() ? index / Plan::TypesInLine2 * Plan::LineWidth2 + index % Plan::TypesInLine2 * Width
                         : 3 + index * Width;
        return {true, first, 1000.0 * GetFactor(type)};
    }
    // The last one told holds.
    [[nodiscard]] double GetFactor(std::string_view type) const {
        double factor = 1.0;
        for (const RinexObservationHeader::Scale& scale : header_.scales) {
            const Types& of = scale.types;
            const bool isMeant = of.empty() || std::find(of.begin(), of.end(), type) != of.end();
            if (scale.system == system_ && isMeant) factor = scale.factor;
        }
        return factor;
    }

    const RinexObservationHeader& header_;
    char system_;
    const Types* types_ = nullptr;
    Plan::System plan_;
};

}  // namespace

RinexObservationPlan::RinexObservationPlan(const RinexObservationHeader& header)
    : gps_(Layout(header, 'G').GetPlan()), glonass_(Layout(header, 'R').GetPlan()) {
    if (header.version >= 300) return;
    nmrLines_ = std::max<std::size_t>((gps_.nmrTypes + TypesInLine2 - 1) / TypesInLine2, 1);
}

}  // namespace Host
