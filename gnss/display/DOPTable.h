// GNSS::DOPTable: the main figures of a DOP as a table.
#pragma once

#include "gnss/display/TableArt.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// GDOP, PDOP, HDOP and VDOP with three decimals; without values when the DOP is invalid.
class GNSS_EXPORT DOPTable : public TableArt {
public:
    // Of an invalid DOP.
    DOPTable() { Init(); }
    explicit DOPTable(const DOP& dop) : DOPTable() { SetDOP(dop); }

    void SetDOP(const DOP& dop);

private:
    void Init();
};

}  // namespace GNSS
