// The bytes of inputs, and the formats found in them.
#include "host/source/Input.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include <gtest/gtest.h>

#include "host/source/EventQueue.h"

namespace {

class Inputs : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() / ("gnss_input_test_" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    std::string Write(const std::string& content) {
        const std::string path = (folder_ / "input").string();
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::filesystem::path folder_;
};

std::string Gzip(const std::string& text) {
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(text.size() + 1000, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    packed.resize(z.total_out);
    deflateEnd(&z);
    return packed;
}

TEST_F(Inputs, GiveTheContentWhateverTheForm) {
    std::string text;
    for (int i = 0; i < 60000; ++i) text += std::to_string(i * 7919 % 100003) + "\n";
    const std::string packed = Gzip(text);
    struct Form {
        std::string bytes;
        std::size_t whole;  // of the content, at least
        bool isCut;
        bool isDamaged;
    };
    std::string damaged = packed;
    for (std::size_t i = packed.size() / 2; i < packed.size() / 2 + 64; ++i) damaged[i] = '\x55';
    for (const Form& form : {Form{text, text.size(), false, false}, Form{packed, text.size(), false, false},
                             Form{Gzip(text.substr(0, 70000)) + Gzip(text.substr(70000)), text.size(), false, false},
                             Form{packed.substr(0, packed.size() / 2), text.size() / 3, true, false},
                             Form{damaged, 0, false, true}, Form{"", 0, false, false}, Form{"x", 0, false, false}}) {
        Host::InputBytes bytes;
        Host::FileError error;
        ASSERT_TRUE(bytes.Open(Write(form.bytes), error)) << error.Print();
        std::string content;
        for (auto piece = bytes.Next(); !piece.empty(); piece = bytes.Next()) content += piece;
        if (!form.isDamaged && form.bytes.size() > 1) {
            EXPECT_EQ(content, text.substr(0, content.size()));
        }
        EXPECT_GE(content.size(), form.whole);
        EXPECT_EQ(bytes.IsCut(), form.isCut);
        EXPECT_EQ(!bytes.GetFailure().empty(), form.isDamaged) << bytes.GetFailure();
        EXPECT_EQ(bytes.GetSize(), static_cast<std::int64_t>(form.bytes.size()));
        if (!form.isDamaged) {
            EXPECT_EQ(bytes.GetNmrRead(), bytes.GetSize());
        }
    }
}

TEST_F(Inputs, RefuseWhatCannotBeRead) {
    for (const auto& [content, reason] : std::vector<std::pair<std::string, std::string>>{
             {"", "is empty"},
             {"1.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE\n", "Hatanaka"},
             {Gzip("3.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE\n"), "CRX2RNX"},
             {"#cP2010  7  1", "gnss compare"},
             {std::string(5000, 'x'), "no messages"},
             {"PK\x03\x04 and more", "zip"}}) {
        Host::Input input(Write(content));
        Host::FileError error;
        EXPECT_FALSE(input.Open(error)) << reason;
        EXPECT_NE(error.Print().find(reason), std::string::npos) << error.Print();
    }
    Host::FileError error;
    EXPECT_FALSE(Host::Input(folder_.string()).Open(error));
    EXPECT_EQ(error.reason, "is a folder");
    EXPECT_FALSE(Host::Input((folder_ / "none").string()).Open(error));
}

TEST(EventQueue, GivesAllInOrderWithTheTimeOfTheFirst) {
    struct Heard : Host::ReceiverSink {
        void OnTime(const GNSS::GPSTime& t) override { text += "t" + std::to_string(static_cast<int>(t.GetSeconds())); }
        void OnTimeLost() override { text += "L"; }
        void OnSubframe(const Host::GPSSubframe&) override { text += "s"; }
        void OnMeasurements(const GNSS::MeasSet&) override { text += "m"; }
        std::string text;
    };
    Host::EventQueue queue;
    EXPECT_EQ(queue.FindTime(), nullptr);
    queue.OnSubframe({});
    queue.OnTime({2000, 5.0});
    queue.OnMeasurements({});
    queue.OnTimeLost();
    queue.OnSubframe({});
    ASSERT_NE(queue.FindTime(), nullptr);
    Heard heard;
    std::string times;
    while (!queue.IsEmpty()) {
        times += queue.GetTime() ? "5" : "-";
        queue.PopTo(heard);
    }
    EXPECT_EQ(heard.text, "st5mLs");
    EXPECT_EQ(times, "-555-");
}

}  // namespace
