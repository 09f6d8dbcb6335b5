// Sample ephemerides, and the checks that the stream forms of all records share.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"

namespace tests {

// Noon of a Wednesday, UTC by the leap-second rule at start, and the time of both samples.
inline constexpr GNSS::GPSTime SampleTime(1860, 302417.0);

// A healthy GPS satellite with every field filled; toe and toc differ.
inline GNSS::GPSEphemeride SampleGPS() {
    using Corvane::Angle;
    GNSS::GPSEphemeride record;
    record.prn = 17;
    record.reference = SampleTime;
    GNSS::GPSEphemeride::Posn& p = record.posn;
    p.IODE = 83;
    p.toe = 302400.0;
    p.sqrtA = 5153.65433311;
    p.e = 0.0104613;
    p.M0 = Angle(0.72034);
    p.Omega0 = Angle(-2.51332);
    p.i0 = Angle(0.96122);
    p.omega = Angle(1.81251);
    p.deltaN = Angle(4.6e-9);
    p.OmegaDot = Angle(-8.02e-9);
    p.IDOT = Angle(-1.7e-10);
    p.Crc = 234.5625;
    p.Crs = -41.71875;
    p.Cuc = Angle(-2.205e-6);
    p.Cus = Angle(7.113e-6);
    p.Cic = Angle(-9.68e-8);
    p.Cis = Angle(1.303e-7);
    record.clock = {595, 302384.0, -1.024e-8, 1e-18, 3.41e-12, 1.7742e-4};
    record.status.SetAccuracy(2);
    record.status.SetHealth(0);
    record.status.SetL2Codes('\1');
    return record;
}

// A healthy GLONASS satellite with tb at SampleTime, 15:00 in Moscow.
inline GNSS::Glonass::Ephemeride SampleGlonass() {
    GNSS::Glonass::Ephemeride record;
    record.slot = 7;
    record.reference = SampleTime;
    record.posn.day = GNSS::GloTime(SampleTime).GetDay();
    record.posn.frameTime = 53970.0;
    record.posn.tb = 54000.0;
    record.posn.sequence = 4;
    record.posn.posn = {7003.008789, -12206.626953, 21280.765625};
    record.posn.vely = {0.7835417, 2.8042530, 1.3525150};
    record.posn.accel = {-1.7e-9, 2.8e-9, -1.9e-9};
    record.clock = {-3.6e-5, 9.1e-13};
    record.status.SetUnhealthy(false);
    record.m = {true, 1, 3};
    record.accuracy = 2.5;
    return record;
}

template <typename Record>
std::vector<std::byte> Bytes(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    EXPECT_TRUE(record.Write(output));
    return output.Bytes();
}

// A stream with room for so many bytes.
class FullOutput final : public Corvane::Stream::Output {
public:
    explicit FullOutput(std::size_t room) : room_(room) {}

protected:
    void WriteBytes(std::span<const std::byte> bytes) override {
        if (bytes.size() > room_) throw Corvane::Stream::Error("full");
        room_ -= bytes.size();
    }

private:
    std::size_t room_;
};

// The record's form has `size` bytes and reads back; from every shorter stream it cannot be read, and `other` stays as
// it was; into every smaller one it cannot be written.
template <typename Record>
void ExpectStreams(const Record& record, const Record& other, std::size_t size) {
    const std::vector<std::byte> bytes = Bytes(record);
    const std::vector<std::byte> otherBytes = Bytes(other);
    ASSERT_EQ(bytes.size(), size);
    ASSERT_NE(bytes, otherBytes);
    for (std::size_t n = 0; n <= size; ++n) {
        Record read = other;
        Corvane::Stream::MemoryInput input{std::span(bytes).first(n)};
        EXPECT_EQ(read.Read(input), n == size) << n;
        EXPECT_EQ(Bytes(read), n == size ? bytes : otherBytes) << n;
        FullOutput output(n);
        EXPECT_EQ(record.Write(output), n == size) << n;
    }
}

}  // namespace tests
