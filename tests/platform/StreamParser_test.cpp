#include "gnss/platform/StreamParser.h"

#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

using Corvane::StreamParser;

namespace {

std::string Rest(std::istream& is) {
    is.clear();
    return {std::istreambuf_iterator<char>(is), {}};
}

// A buffer that gives two digits and then breaks, as a lost connection does.
class BrokenBuffer : public std::streambuf {
    int_type underflow() override {
        if (given_) throw std::runtime_error("connection lost");
        given_ = true;
        setg(digits_, digits_, digits_ + 2);
        return digits_[0];
    }
    char digits_[2] = {'1', '2'};
    bool given_ = false;
};

}  // namespace

TEST(StreamParser, ReadsOneNumberAndLeavesTheRest) {
    struct Case {
        std::string text;
        double value;
        bool hasFraction;
        std::string rest;
    };
    const Case cases[] = {
        {"7", 7.0, false, ""},
        {"0051.50N", 51.5, true, "N"},
        {"3.", 3.0, true, ""},
        {"1.2.3", 1.2, true, ".3"},
        {"5e3", 5.0, false, "e3"},
        {"1,5", 1.0, false, ",5"},
        {"0", 0.0, false, ""},
        {std::string(500, '9'), std::numeric_limits<double>::max(), false, ""},
        {std::string(500, '0') + "4", 4.0, false, ""},
        {std::string(50, '0') + "." + std::string(500, '0') + "4", 0.0, true, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::istringstream is(c.text);
        const auto number = StreamParser(is).ReadNumber();
        ASSERT_TRUE(number);
        EXPECT_FALSE(is.fail());
        EXPECT_EQ(number->value, c.value);
        EXPECT_EQ(number->hasFraction, c.hasFraction);
        EXPECT_EQ(Rest(is), c.rest);
    }
}

TEST(StreamParser, FailsWhereNoNumberStands) {
    for (const std::string text : {"", ".5", "-1", " 1", "x", "inf", "nan"}) {
        std::istringstream is(text);
        EXPECT_FALSE(StreamParser(is).ReadNumber()) << text;
        EXPECT_TRUE(is.fail()) << text;
        EXPECT_EQ(Rest(is), text);
    }
    std::istream none(nullptr);
    EXPECT_FALSE(StreamParser(none).ReadNumber());
    EXPECT_TRUE(none.bad());
}

TEST(StreamParser, ReportsABrokenStreamThroughItsState) {
    BrokenBuffer buffer;
    std::istream is(&buffer);
    EXPECT_FALSE(StreamParser(is).ReadNumber());
    EXPECT_TRUE(is.bad());
}

TEST(StreamParser, SkipsWhatItIsTold) {
    std::istringstream is(" \t\n-+ ,x");
    StreamParser parser(is);
    parser.SkipBlanks();
    EXPECT_EQ(parser.Peek(), '\n');
    parser.SkipWhiteSpace();
    EXPECT_EQ(parser.ReadSign(), -1);
    EXPECT_EQ(parser.ReadSign(), 1);
    EXPECT_EQ(parser.ReadSign(), 0);
    parser.SkipBlanks();
    EXPECT_TRUE(parser.SkipOneOf("',"));
    EXPECT_FALSE(parser.SkipOneOf("',"));
    EXPECT_EQ(Rest(is), "x");
    // At the end there is nothing to look at, however often one looks, and that is no failure.
    std::istringstream end;
    EXPECT_EQ(StreamParser(end).Peek(), std::nullopt);
    EXPECT_EQ(StreamParser(end).ReadSign(), 0);
    EXPECT_FALSE(end.fail());
}

TEST(StreamParser, KnowsTheLettersOfLatin1) {
    int letters = 0;
    for (int code = 0; code < 256; ++code) letters += StreamParser::IsLetter(static_cast<char>(code)) ? 1 : 0;
    EXPECT_EQ(letters, 2 * 26 + 62);
    EXPECT_FALSE(StreamParser::IsLetter('\xB0'));
}
