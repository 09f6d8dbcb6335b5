// RecordRows: how a kind of record fills a RecordTable: one line of a list for each parameter.
#pragma once

#include <span>

#include "gnss/display/RecordTable.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Style.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"

namespace GNSS::RecordRows {

using Cell = RecordTable::Cell;

// A record, and what is to be known besides to show it.
template <typename Record>
struct Item {
    const Record& record;
    GPSTime now;
    int nmrHeld = 1;  // records of the satellite's history

    const Record* operator->() const { return &record; }
};

template <typename Record>
struct Row {
    const char* name;
    const char* symbol;
    const char* unit;
    Cell (*print)(const Item<Record>&);
    bool endsGroup = false;
};

template <typename Record>
RecordTable NewTable(const Corvane::String& title, std::span<const Row<Record>> rows) {
    RecordTable table(title);
    for (const auto& row : rows) table.AddParameter({row.name, row.symbol, row.unit, row.endsGroup});
    return table;
}

// A faint record has all its cells faint but for alerts.
template <typename Record>
void AddRecord(RecordTable& table, std::span<const Row<Record>> rows, const Corvane::String& heading,
               const Item<Record>& item, bool isFaint = false) {
    RecordTable::Record column{heading, {}};
    for (const auto& row : rows) {
        column.cells.push_back(row.print(item));
        Cell& cell = column.cells.back();
        if (isFaint && cell.part != Corvane::Style::Alert) cell.part = Corvane::Style::Faint;
    }
    table.AddRecord(std::move(column));
}

inline Cell Word(const char* word) {
    return {word};
}
// The word of a satellite's state.
inline Cell Health(bool isHealthy) {
    if (isHealthy) return {"Healthy"};
    return {"Unhealthy", Corvane::Style::Alert};
}
// Of a record that is or is not to be computed with at an age since its reference time, which is negative before it.
inline Cell Validity(bool isOutside, double age) {
    if (!isOutside) return {"Valid"};
    return {age < 0.0 ? "Too early" : "Too old"};
}
inline Cell Whole(int number) {
    return {Corvane::String::FormatInt(number)};
}
// A number with just enough decimals to tell numbers apart that lie `lastBit` from each other, as a multiple of that
// power of ten: Real(-3.42e-6, 0x1p-29, -6) is "-3.420e-6".
Cell Real(double value, double lastBit, int exponent = 0);
// An angle of which the message counts semicircles.
inline Cell Degrees(Corvane::Angle angle, double lastBitSemicircles, int exponent = 0) {
    return Real(angle.Degrees(), 180.0 * lastBitSemicircles, exponent);
}
// Days with two decimals, and whole minutes.
inline Cell Days(double seconds) {
    return Real(seconds / 86400.0, 0.01);
}
inline Cell Minutes(double seconds) {
    return Real(seconds / 60.0, 1.0);
}
// Days since a date that a record has been given; nothing when it has none.
inline Cell DaysSince(const GPSTime& time, const GPSTime& now) {
    return time == GPSTime::Zero ? Cell() : Days((now - time).Seconds());
}

}  // namespace GNSS::RecordRows
