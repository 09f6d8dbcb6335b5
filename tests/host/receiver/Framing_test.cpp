// Messages between bytes that look like the beginnings of others, with lengths that lie.
#include <string>

#include <gtest/gtest.h>

#include "host/receiver/OemDecoder.h"
#include "host/receiver/RtcmDecoder.h"
#include "host/receiver/UbxDecoder.h"
#include "host/receiver/UbxKinds.h"
#include "tests/host/receiver/OemFrames.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/RtcmFrames.h"
#include "tests/host/receiver/UbxFrames.h"

namespace {

// Patterns over and over, with messages among them.
template <typename Decoder>
void ExpectFound(const std::vector<std::string>& patterns, const std::string& message) {
    std::string noise;
    for (const std::string& pattern : patterns) {
        while (noise.size() % 5000 < 4900) noise += pattern;
        noise += std::string(100, '\0') + message;
    }
    // Far enough for the sums to begin anew, and an end that no lie reaches.
    std::string stream;
    std::int64_t nmr = 0;
    while (stream.size() < 150'000) {
        stream += noise + message;
        nmr += static_cast<std::int64_t>(patterns.size()) + 1;
    }
    stream += std::string(20'000, '\0');
    for (const std::size_t piece : {std::size_t{999}, std::size_t{70'000}, std::string::npos}) {
        const tests::Run<Decoder> run(stream, piece);
        EXPECT_EQ(run.Counts().GetNmrMessages(), nmr) << piece;
        EXPECT_EQ(run.Counts().skipped,
                  static_cast<std::int64_t>(stream.size() - message.size() * static_cast<std::size_t>(nmr)));
        EXPECT_GT(run.Counts().checksumFailures, 1000);
    }
}

TEST(Framing, FindsMessagesInsideOfLies) {
    ExpectFound<Host::UbxDecoder>({"\xB5\x62\x1F", std::string("\xB5\x62\2\x15\0\x20", 6), "\xB5"},
                                  tests::UbxFrame(Host::UbxKinds::NavDOP, tests::Bytes(18)));
    ExpectFound<Host::OemDecoder>(
        {"\xAA\x44\x12", "\xAA\x44\x13", std::string("\xAA\x44\x12\x1C\0\0\0\0\0\x40", 10) + std::string(18, '\0')},
        tests::OemFrame(9999, "twelve bytes"));
    ExpectFound<Host::RtcmDecoder>({"\xD3\3", std::string("\xD3\0", 2), "\xD3\3\xFF"}, tests::MakeFrame("\xFF\xF0 a"));
}

// A lying length holds back no more than the longest message.
TEST(Framing, LiesHoldNothingBack) {
    tests::ReceiverRecording said;
    Host::OemDecoder decoder(said);
    decoder.Feed(std::string("\xAA\x44\x12\x1C\0\0\0\0\xFF\xFF", 10) + tests::OemFrame(9999, ""));
    EXPECT_EQ(said.order, "t");
}

}  // namespace
