#include "host/cli/RunEnd.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include <fmt/format.h>

#include "host/cli/Inputs.h"
#include "host/run/RunConfig.h"

namespace Host {

namespace {

// Why there is nothing.
std::string DescribeNothing(const RunFacts& facts) {
    std::int64_t records = 0;
    for (const RunInput& input : facts.inputs) records += input.records;
    if (records == 0) return "the inputs hold no measurements that could be used";
    return fmt::format(
        "the inputs hold no measurements that could be used, but {} navigation records: gnss decode and gnss store "
        "read them",
        records);
}

}  // namespace

int PrintSettings(const RunSettings& settings) {
    std::string text;
    std::string fault;
    if (!PrintConfig(settings, text, fault)) return Complain(fault), 2;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return 0;
    return Complain("standard output cannot be written"), 1;
}

bool TellWhetherPositions(const RunFacts& facts) {
    if (facts.counts.epochs == 0) {
        Complain(DescribeNothing(facts));
    } else if (facts.counts.fixes == 0) {
        Complain("no epoch has a position; the notes and events say why");
    }
    return facts.counts.fixes > 0;
}

}  // namespace Host
