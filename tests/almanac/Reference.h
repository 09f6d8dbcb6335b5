// What the tests of the almanac share: tables of reference values, directions in the sky, records in the file.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <initializer_list>
#include <locale>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Stream.h"
#include "tests/support/TestData.h"

namespace tests {

// A file of values separated by commas with the names of the columns in its first line.
class Table {
public:
    explicit Table(const std::string& path) {
        std::ifstream file(path);
        std::string line;
        while (std::getline(file, line)) lines_.push_back(Split(line));
    }
    [[nodiscard]] std::size_t NmrRows() const { return lines_.size() - 1; }
    [[nodiscard]] const std::string& Text(std::size_t row, std::string_view column) const {
        for (std::size_t i = 0; i < lines_[0].size(); ++i) {
            if (lines_[0][i] == column) return lines_[row + 1][i];
        }
        throw std::runtime_error("no such column: " + std::string(column));
    }
    [[nodiscard]] double Get(std::size_t row, std::string_view column) const {
        std::istringstream text(Text(row, column));
        text.imbue(std::locale::classic());
        double value = std::nan("");
        text >> value;
        return value;
    }

private:
    static std::vector<std::string> Split(const std::string& line) {
        std::vector<std::string> cells;
        std::istringstream text(line);
        for (std::string cell; std::getline(text, cell, ',');) cells.push_back(cell);
        return cells;
    }
    std::vector<std::vector<std::string>> lines_;
};

// The record of a row of a table of GLONASS almanacs, orbit only.
inline GNSS::Almanac::GlonassSV GlonassFromRow(const Table& table, std::size_t row) {
    GNSS::Almanac::GlonassSV sv;
    sv.slot = static_cast<int>(table.Get(row, "slot"));
    sv.day = static_cast<int>(table.Get(row, "N_A_day"));
    sv.Lambda = Corvane::Angle::FromSemiCircles(table.Get(row, "lambda_semicycle"));
    sv.TLambda = table.Get(row, "t_lambda_s");
    sv.Eccent = table.Get(row, "ecc");
    sv.W = Corvane::Angle::FromSemiCircles(table.Get(row, "omega_semicycle"));
    sv.Di = Corvane::Angle::FromSemiCircles(table.Get(row, "delta_i_semicycle"));
    sv.DDrac = table.Get(row, "delta_T_s_per_orbit");
    sv.DDracDot = table.Get(row, "delta_T_dot_s_per_orbit2");
    return sv;
}

// A place from which a direction is seen; the vertical is that of the ellipsoid.
struct Observer {
    GNSS::ECEF posn;
    double lat;  // rad
    double lon;

    // East, north and up.
    [[nodiscard]] std::array<GNSS::ECEF::Delta, 3> Axes() const {
        return {GNSS::ECEF::Delta(-std::sin(lon), std::cos(lon), 0.0),
                GNSS::ECEF::Delta(-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon), std::cos(lat)),
                GNSS::ECEF::Delta(std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat))};
    }
    // Degrees between where a satellite stands and a direction by azimuth and elevation in degrees.
    [[nodiscard]] double Separation(const GNSS::ECEF& satellite, double azimuth, double elevation) const {
        const double degree = std::numbers::pi / 180.0;
        const auto [east, north, up] = Axes();
        const GNSS::ECEF::Delta seen = east * (std::sin(azimuth * degree) * std::cos(elevation * degree)) +
                                       north * (std::cos(azimuth * degree) * std::cos(elevation * degree)) +
                                       up * std::sin(elevation * degree);
        const GNSS::ECEF::Delta line = satellite - posn;
        return 2.0 * std::asin((line / line.Magnitude() - seen).Magnitude() / 2.0) / degree;
    }
};

// On the ellipsoid of WGS 84.
inline Observer MakeObserver(double lat, double lon) {
    constexpr double Shape = 0.00669437999014;  // square of the eccentricity
    const double N = 6378137.0 / std::sqrt(1.0 - Shape * std::sin(lat) * std::sin(lat));
    return {{N * std::cos(lat) * std::cos(lon), N * std::cos(lat) * std::sin(lon), N * (1.0 - Shape) * std::sin(lat)},
            lat,
            lon};
}

// The receiver's own position at a time of a table of fixes.
inline Observer FindObserver(const Table& fixes, std::string_view iTOW) {
    for (std::size_t row = 0; row < fixes.NmrRows(); ++row) {
        if (fixes.Text(row, "iTOW_ms_GPST") != iTOW) continue;
        const double degree = std::numbers::pi / 180.0;
        return {{fixes.Get(row, "ecef_x_m"), fixes.Get(row, "ecef_y_m"), fixes.Get(row, "ecef_z_m")},
                fixes.Get(row, "lat_deg") * degree,
                fixes.Get(row, "lon_deg") * degree};
    }
    throw std::runtime_error("no such fix");
}

template <typename Record>
std::vector<std::byte> BytesOf(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    EXPECT_TRUE(record.Write(output));
    return output.Bytes();
}

template <typename Record>
Record ReadBack(const Record& record) {
    const auto bytes = BytesOf(record);
    Corvane::Stream::MemoryInput input(bytes);
    Record read;
    EXPECT_TRUE(read.Read(input));
    EXPECT_EQ(input.NmrLeft(), 0U);
    return read;
}

// The length of a record in the file and its first bytes.
template <typename Record>
void ExpectFileForm(const Record& record, std::size_t length, std::initializer_list<int> start) {
    const auto bytes = BytesOf(record);
    ASSERT_EQ(bytes.size(), length);
    std::size_t i = 0;
    for (const int byte : start) EXPECT_EQ(std::to_integer<int>(bytes[i++]), byte) << "byte " << i;
}

// A record comes back as it was written, and a file cut short anywhere leaves the object untouched.
template <typename Record>
void ExpectReadsAllOrNothing(const Record& record) {
    const auto bytes = BytesOf(record);
    EXPECT_EQ(BytesOf(ReadBack(record)), bytes);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        Corvane::Stream::MemoryInput input({bytes.data(), length});
        Record read;
        const auto before = BytesOf(read);
        EXPECT_FALSE(read.Read(input)) << length;
        EXPECT_EQ(BytesOf(read), before) << length;
    }
}

}  // namespace tests
