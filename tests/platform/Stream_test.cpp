#include "gnss/platform/Stream.h"

#include <array>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using Corvane::Angle;
using Corvane::Stream::Error;
using Corvane::Stream::MemoryInput;
using Corvane::Stream::MemoryOutput;

std::vector<unsigned char> Bytes(const MemoryOutput& output) {
    std::vector<unsigned char> bytes;
    for (const std::byte b : output.Bytes()) bytes.push_back(static_cast<unsigned char>(b));
    return bytes;
}

TEST(Stream, ValuesHaveAFixedLittleEndianForm) {
    MemoryOutput output;
    output.WriteIntAsShort(-2);
    output.WriteInt(0x01020304);
    output.WriteULong(0xFFFFFFFEU);
    output.WriteBool(true);
    output.WriteDouble(1.0);
    output.WriteFloat(-2.0F);
    output.WriteString("\xB0");
    EXPECT_EQ(Bytes(output), (std::vector<unsigned char>{0xFE, 0xFF,                                  //
                                                         0x04, 0x03, 0x02, 0x01,                      //
                                                         0xFE, 0xFF, 0xFF, 0xFF,                      //
                                                         0x01,                                        //
                                                         0,    0,    0,    0,    0,   0, 0xF0, 0x3F,  //
                                                         0,    0,    0,    0xC0,                      //
                                                         1,    0,    0,    0,    0xB0}));
}

TEST(Stream, ReadsBackWhatWasWritten) {
    MemoryOutput output;
    output.WriteChar('\xB0');
    output.WriteUChar(250);
    output.WriteBool(false);
    output.WriteShort(-32768);
    output.WriteInt(-2147483647 - 1);
    output.WriteULong(4000000000U);
    output.WriteFloat(0.1F);
    output.WriteDouble(-1e-300);
    output.WriteAngle(Angle(2.5));
    output.WriteString(Corvane::String(std::string(10000, 'x')));
    MemoryInput input(output.Bytes());
    EXPECT_EQ(input.ReadChar(), '\xB0');
    EXPECT_EQ(input.ReadUChar(), 250);
    EXPECT_FALSE(input.ReadBool());
    EXPECT_EQ(input.ReadShortAsInt(), -32768);
    EXPECT_EQ(input.ReadInt(), -2147483647 - 1);
    EXPECT_EQ(input.ReadULong(), 4000000000U);
    EXPECT_EQ(input.ReadFloat(), 0.1F);
    EXPECT_EQ(input.ReadDouble(), -1e-300);
    EXPECT_EQ(input.ReadAngle(), Angle(2.5));
    EXPECT_EQ(input.ReadString().Length(), 10000U);
    EXPECT_EQ(input.NmrLeft(), 0U);
    EXPECT_THROW(static_cast<void>(input.ReadUChar()), Error);
}

TEST(Stream, FailsWhereTheDataEndsOrANumberDoesNotFit) {
    const std::array<std::byte, 7> seven{};
    MemoryInput input(seven);
    EXPECT_THROW(static_cast<void>(input.ReadDouble()), Error);
    EXPECT_EQ(input.NmrLeft(), 7U);  // a failed read takes nothing
    // A damaged length must not ask for the memory it names.
    const std::array<std::byte, 6> damaged = {std::byte{0xFF}, std::byte{0xFF}, std::byte{0xFF}, std::byte{0xFF}};
    MemoryInput text(damaged);
    EXPECT_THROW(static_cast<void>(text.ReadString()), Error);
    MemoryOutput output;
    EXPECT_THROW(output.WriteIntAsShort(32768), Error);
    EXPECT_TRUE(output.Bytes().empty());
}

}  // namespace
