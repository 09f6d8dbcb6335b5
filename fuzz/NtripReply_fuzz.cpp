// A caster's answer: any bytes are understood or refused, the same in pieces as in one; the list of mount points too.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host/live/NtripReply.h"
#include "host/live/SourceTable.h"
#include "host/report/SafeText.h"

namespace {

using Host::NtripReply;

void Check(bool holds) {
    if (!holds) std::abort();
}

struct Outcome {
    NtripReply reply;
    Host::SourceTable table;
    std::string content;
};

// Pieces of sizes that the bytes themselves give; in one for the step 0.
void Feed(std::string_view bytes, std::size_t step, Outcome& outcome) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        const std::size_t size = step == 0 ? bytes.size() : 1 + static_cast<unsigned char>(bytes[at]) % step;
        const std::string_view piece = bytes.substr(at, size);
        at += piece.size();
        outcome.reply.Feed(piece, [&](std::string_view content) {
            Check(!content.empty());
            const NtripReply::Kind kind = outcome.reply.GetKind();
            Check(kind == NtripReply::Kind::Stream || kind == NtripReply::Kind::SourceTable);
            outcome.content += content;
            outcome.table.Feed(content);
        });
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    Outcome whole;
    Feed(bytes, 0, whole);
    Check(whole.content.size() <= size);
    Check(whole.reply.GetStatus() == Host::CleanText(whole.reply.GetStatus()));
    Check(whole.reply.GetReason() == Host::CleanText(whole.reply.GetReason()));
    const auto near = whole.table.FindNear(std::string(bytes.substr(0, 20)), 5);
    Check(near.size() <= std::min<std::size_t>(5, whole.table.GetMounts().size()));
    for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{64}}) {
        Outcome pieces;
        Feed(bytes, step, pieces);
        Check(pieces.reply.GetKind() == whole.reply.GetKind() && pieces.content == whole.content);
        Check(pieces.reply.GetStatus() == whole.reply.GetStatus());
        Check(pieces.reply.GetReason() == whole.reply.GetReason());
        Check(pieces.reply.IsEnded() == whole.reply.IsEnded() && pieces.reply.IsDamaged() == whole.reply.IsDamaged());
        Check(pieces.table.GetMounts() == whole.table.GetMounts() && pieces.table.IsEnded() == whole.table.IsEnded());
    }
    return 0;
}
