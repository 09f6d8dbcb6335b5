// RINEX files of reference: observations, and navigation records.
#pragma once

#include <string>
#include <vector>

#include "gnss/measurement/MeasSet.h"
#include "host/receiver/RinexObservation.h"
#include "tests/host/receiver/NavigationData.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/Table.h"

namespace tests {

// The epochs of a file without damage.
inline std::vector<GNSS::MeasSet> ReadObservations(const std::string& path) {
    Run<Host::RinexObservationDecoder> run(ReadAll(path));
    EXPECT_EQ(run.decoder.GetFailure(), "");
    EXPECT_EQ(run.decoder.GetWarnings().GetCount(), 0);
    return std::move(run.said.sets);
}

}  // namespace tests
