// The body that almanacs share: the records, their order and their file form.
#pragma once

#include <memory>
#include <vector>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Stream.h"

namespace GNSS {

// Records of different satellites in the order of their numbers. A copy shares the records, which never change.
template <class Record, class Id, Id Record::*Number>
class AlmanacRecords {
public:
    [[nodiscard]] int GetSize() const { return static_cast<int>(records_.size()); }
    // Null outside the list.
    [[nodiscard]] const Record* Get(int index) const;
    // Index, or -1.
    [[nodiscard]] int Find(const Id& id) const;
    // Null when the satellite has none.
    [[nodiscard]] const Record* FindRecord(const Id& id) const { return Get(Find(id)); }
    // In place of the satellite's record, if it has one.
    void Store(const Record& record);

private:
    // Where a satellite's record stands or would stand.
    [[nodiscard]] auto FindPlace(const Id& id) const;

    std::vector<std::shared_ptr<const Record>> records_;
};

class Almanac::Inner {
public:
    AlmanacRecords<SV, PRN, &SV::prn> svs;
    Iono iono;
    UTC utc;
    AlmanacRecords<GlonassSV, Glonass::Slot, &GlonassSV::slot> glonassSVs;

    // Whether a record names a satellite of which there is none yet, or only an older one.
    [[nodiscard]] bool ShouldStore(const SV& sv) const;
    [[nodiscard]] bool ShouldStore(const GlonassSV& sv) const;

    bool Write(Corvane::Stream::Output& output) const;
    // Into a fresh body, which is half read when the answer is false or the stream throws.
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
