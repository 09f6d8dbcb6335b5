#include "gnss/display/RecordTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

#include "gnss/display/RecordRows.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Number.h"

namespace GNSS {

using Corvane::String;
using Corvane::StringTable;
using Corvane::TextPlace;

namespace {

// The part of a run that there is.
struct Run {
    std::int32_t first;
    std::int32_t end;

    Run(std::int32_t from, std::int32_t nmr, std::size_t size)
        : first(std::clamp(from, 0, Corvane::Saturate(static_cast<std::int64_t>(size)))),
          end(first + std::clamp(nmr, 0, Corvane::Saturate(static_cast<std::int64_t>(size)) - first)) {}
};

}  // namespace

RecordTable::Block RecordTable::GetWhole() const {
    return {0, Corvane::Saturate(static_cast<std::int64_t>(records_.size())), 0,
            Corvane::Saturate(static_cast<std::int64_t>(parameters_.size()))};
}

StringTable RecordTable::MakeTable(const Block& block) const {
    const Run records(block.firstRecord, block.nmrRecords, records_.size());
    const Run parameters(block.firstParameter, block.nmrParameters, parameters_.size());
    StringTable table;
    table.SetTitle(records.first > 0 || parameters.first > 0 ? title_ + " (continued)" : title_);
    if (records.first == records.end) return table;

    // Also where the block does not have them: the columns of blocks below one another line up.
    Parameter widest;
    const auto widen = [](String& to, const String& text) {
        if (text.Length() > to.Length()) to = text;
    };
    for (const Parameter& each : parameters_) {
        widen(widest.name, each.name);
        widen(widest.symbol, each.symbol);
        widen(widest.unit, each.unit);
    }
    String widestCell;
    for (const Record& each : records_) {
        for (const Cell& cell : each.cells) widen(widestCell, cell.text);
    }
    table.AddColumn({"Parameter", widest.name, TextPlace::Left});
    table.AddColumn({"Symbol", widest.symbol, TextPlace::Left});
    table.AddColumn({"Unit", widest.unit, TextPlace::Left});
    for (std::int32_t i = records.first; i < records.end; ++i)
        table.AddColumn({records_[static_cast<std::size_t>(i)].heading, widestCell, TextPlace::Right});

    table.AddRule(StringTable::UnderHeading);
    for (std::int32_t i = parameters.first; i < parameters.end; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const Parameter& parameter = parameters_[index];
        const std::int32_t row = table.AddRow({parameter.name, parameter.symbol, parameter.unit});
        for (std::int32_t column = records.first; column < records.end; ++column) {
            const auto& cells = records_[static_cast<std::size_t>(column)].cells;
            if (index < cells.size())
                table.SetCell(3 + column - records.first, row, cells[index].text, cells[index].part);
        }
        if (parameter.endsGroup && i + 1 < parameters.end) table.AddRule(row);
    }
    return table;
}

String RecordTable::ToText() const {
    StringTable title;
    title.AddColumn({});
    title.AddRow({title_});
    return title.ToText() + MakeTable(GetWhole()).ToText();
}

RecordRows::Cell RecordRows::Real(double value, double lastBit, int exponent) {
    // What no message says is short all the same.
    constexpr double Large = 1e12;
    const double scaled = value * std::pow(10.0, -exponent);
    if (std::isfinite(value) && !(std::abs(scaled) < Large)) {
        std::array<char, 32> text{};
        const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, 6);
        return {String(std::string(text.data(), end.ptr))};
    }
    constexpr int MaxDecimals = 15;
    const double step = lastBit * std::pow(10.0, -exponent);
    int decimals = 0;
    double scale = 1.0;
    while (decimals < MaxDecimals && 1.0 / scale > step) {
        scale *= 10.0;
        ++decimals;
    }
    String text = String::FormatReal(scaled, -1, decimals);
    if (exponent != 0 && std::isfinite(value)) text += "e" + String::FormatInt(exponent);
    return {text};
}

}  // namespace GNSS
