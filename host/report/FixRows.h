// Rows of the tables of a run: its fixes and their satellites.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "host/fix/FixComponent.h"
#include "host/report/FixFigures.h"
#include "host/report/Rows.h"

namespace Host {

// One fix as a row: of positions.csv and positions.ndjson, and of what a run prints. One object for all rows.
class FixRow {
public:
    static constexpr std::size_t NmrColumns = 76;
    [[nodiscard]] static std::vector<Column> Columns();
    // Which of them a table for people shows, in its order.
    [[nodiscard]] static std::vector<std::size_t> ChiefColumns();
    // Cells in the order of the columns, good until the next call. An epoch without a position has its time, what was
    // tracked, the notes and the reason.
    [[nodiscard]] std::span<const Cell> Fill(const PublishedFix& fix, const FixFigures& figures);

private:
    void AddPosition(const FixResult& result);
    void AddStatistics(const FixResult& result, const FixFigures& figures);
    void AddVelocity(const PublishedFix& fix);
    void Add(Cell cell) { cells_.push_back(cell); }
    void AddNone(std::size_t number) { cells_.resize(cells_.size() + number); }
    // Of the largest of a figure.
    void Add(const FixResult& result, const FixFigures::Largest& largest, std::string& name);

    std::vector<Cell> cells_;
    std::string utc_;
    std::string mode_;
    std::string maxW_, mdb_, extRel2D_, extRel3D_, extRelHeight_;
};

// One measured satellite of a fix as a row of satellites.csv.
class SatelliteRow {
public:
    static constexpr std::size_t NmrColumns = 23;
    [[nodiscard]] static std::vector<Column> Columns();
    [[nodiscard]] std::span<const Cell> Fill(const FixResult& result, const FixSatellite& satellite);

private:
    std::vector<Cell> cells_;
    std::string name_;
};

}  // namespace Host
