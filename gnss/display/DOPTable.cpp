#include "gnss/display/DOPTable.h"

#include <cstdint>

#include "gnss/platform/Font.h"
#include "gnss/platform/String.h"
#include "gnss/position/DOP.h"

namespace GNSS {

using Corvane::String;
using Corvane::TextPlace;

void DOPTable::Init() {
    table_ = Corvane::StringTable();
    table_.SetTitle("DOP");
    table_.AddColumn({"", "GDOP", TextPlace::Left});
    table_.AddColumn({"", "000.000", TextPlace::Right});
    // Sets the figure of the whole off from those of its parts.
    table_.AddRule(0);
    for (const char* name : {"GDOP", "PDOP", "HDOP", "VDOP"}) table_.AddRow({name, ""});
}

void DOPTable::SetDOP(const DOP& dop) {
    std::int32_t row = 0;
    for (const double figure : {dop.GetGDOP(), dop.GetPDOP(), dop.GetHDOP(), dop.GetVDOP()}) {
        table_.SetCell(1, row, dop.IsValid() ? String::FormatReal(figure, -1, 3) : String());
        ++row;
    }
}

}  // namespace GNSS
