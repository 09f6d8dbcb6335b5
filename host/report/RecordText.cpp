#include "host/report/RecordText.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "gnss/platform/Number.h"
#include "gnss/platform/StringTable.h"

namespace Host {

using Corvane::String;
using Corvane::StringTable;

namespace {

constexpr std::size_t Gap = 2;  // blanks between columns

std::vector<std::size_t> Widths(const StringTable& table) {
    std::vector<std::size_t> widths;
    for (std::int32_t i = 0; i < table.NmrColumns(); ++i) {
        const auto& column = table.GetColumn(i);
        std::size_t width = std::max(column.heading.Length(), column.widthTemplate.Length());
        for (std::int32_t row = 0; row < table.NmrRows(); ++row)
            width = std::max(width, table.GetCell(i, row).Length());
        widths.push_back(width);
    }
    return widths;
}

std::size_t Sum(const std::vector<std::size_t>& widths) {
    std::size_t sum = 0;
    for (const std::size_t width : widths) sum += width + Gap;
    return sum - std::min(sum, Gap);
}

void Write(const StringTable& table, Sink& sink) {
    const std::vector<std::size_t> widths = Widths(table);
    const std::string rule = std::string(Sum(widths), '-') + '\n';
    const auto writeRow = [&](const auto& text) {
        std::string line;
        for (std::int32_t i = 0; i < table.NmrColumns(); ++i) {
            const String& cell = text(i);
            const std::string blanks(widths[static_cast<std::size_t>(i)] - cell.Length(), ' ');
            if (i > 0) line.append(Gap, ' ');
            const bool isRight = table.GetColumn(i).align == Corvane::TextPlace::Right;
            line += isRight ? blanks + cell.ToUTF8() : cell.ToUTF8() + blanks;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        sink.Write(line + '\n');
    };
    sink.Write(table.GetTitle().ToUTF8() + '\n');
    if (table.HasHeadings()) writeRow([&](std::int32_t i) -> const String& { return table.GetColumn(i).heading; });
    if (table.HasRule(StringTable::UnderHeading)) sink.Write(rule);
    for (std::int32_t row = 0; row < table.NmrRows(); ++row) {
        writeRow([&](std::int32_t i) -> const String& { return table.GetCell(i, row); });
        if (table.HasRule(row)) sink.Write(rule);
    }
}

}  // namespace

void WriteText(const GNSS::RecordTable& table, std::size_t width, Sink& sink) {
    GNSS::RecordTable::Block block = table.GetWhole();
    const std::int32_t nmr = block.nmrRecords;
    const auto widthOf = [&](std::int32_t records) {
        block.nmrRecords = records;
        return Sum(Widths(table.MakeTable(block)));
    };
    const std::size_t one = widthOf(1);
    const std::size_t step = std::max<std::size_t>(1, widthOf(2) - one);
    const std::size_t most = width > one ? 1 + (width - one) / step : 1;
    block.nmrRecords = std::max(
        1, std::min(nmr, Corvane::Saturate(static_cast<std::int64_t>(std::min<std::size_t>(most, INT32_MAX)))));
    do {
        if (block.firstRecord > 0) sink.Write("\n");
        Write(table.MakeTable(block), sink);
        block.firstRecord += block.nmrRecords;
    } while (block.firstRecord < nmr);
}

}  // namespace Host
