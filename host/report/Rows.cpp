#include "host/report/Rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace Host {

namespace {

constexpr std::size_t LongestNumber = 350;

// Number of characters, not bytes, of UTF-8 text.
std::size_t Length(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

// What the writers share: printing a value without quotes.
char* PrintPlain(const Cell& cell, int decimals, char* to) {
    if (const auto* whole = std::get_if<std::int64_t>(&cell)) return std::to_chars(to, to + 24, *whole).ptr;
    if (const auto* real = std::get_if<double>(&cell)) {
        return std::isfinite(*real) ? PrintNumber(*real, decimals, to) : to;
    }
    return to;
}

std::string FullName(const Column& column) {
    std::string name = column.name;
    if (!column.unit.empty()) name += "_" + column.unit;
    std::ranges::replace(name, '/', '_');
    std::ranges::replace(name, ' ', '_');
    return name;
}

class TableWriter final : public RowWriter {
public:
    TableWriter(std::vector<Column> columns, Sink& sink) : columns_(std::move(columns)), sink_(sink) {
        if (sink_.IsContinued()) return;
        for (const Column& column : columns_) Put(column.name, column);
        EndLine();
        if (std::ranges::all_of(columns_, [](const Column& column) { return column.unit.empty(); })) return;
        for (const Column& column : columns_) Put(column.unit, column);
        EndLine();
    }

    void Write(std::span<const Cell> cells) override {
        std::array<char, LongestNumber> number;
        for (std::size_t i = 0; i < columns_.size() && i < cells.size(); ++i) {
            if (const auto* text = std::get_if<std::string_view>(&cells[i])) {
                Put(*text, columns_[i]);
            } else if (const auto* yes = std::get_if<bool>(&cells[i])) {
                Put(*yes ? "yes" : "no", columns_[i]);
            } else {
                const char* end = PrintPlain(cells[i], columns_[i].decimals, number.data());
                const std::string_view printed(number.data(), static_cast<std::size_t>(end - number.data()));
                Put(printed.empty() ? "-" : printed, columns_[i]);
            }
        }
        EndLine();
    }

private:
    // A value too long for its column still keeps a blank before it.
    void Put(std::string_view text, const Column& column) {
        const auto width = static_cast<std::size_t>(std::max(column.width, 1));
        const std::size_t length = Length(text);
        const std::size_t filling = length < width ? width - length : 0;
        line_.append(1 + (column.isLeft ? 0 : filling), ' ');
        line_ += text;
        if (column.isLeft) line_.append(filling, ' ');
    }

    void EndLine() {
        line_.erase(line_.find_last_not_of(' ') + 1);
        line_ += '\n';
        sink_.Write(line_);
        line_.clear();
    }

    std::vector<Column> columns_;
    Sink& sink_;
    std::string line_;
};

class CsvWriter final : public RowWriter {
public:
    CsvWriter(std::vector<Column> columns, Sink& sink) : columns_(std::move(columns)), sink_(sink) {
        if (sink_.IsContinued()) return;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (i > 0) sink_.Write(",");
            Quoted(FullName(columns_[i]));
        }
        sink_.Write("\n");
    }

    void Write(std::span<const Cell> cells) override {
        for (std::size_t i = 0; i < columns_.size() && i < cells.size(); ++i) {
            if (const auto* text = std::get_if<std::string_view>(&cells[i])) {
                if (i > 0) sink_.Write(",");
                Quoted(*text);
                continue;
            }
            char* const start = sink_.Reserve(LongestNumber + 1);
            char* end = start;
            if (i > 0) *end++ = ',';
            if (const auto* yes = std::get_if<bool>(&cells[i])) {
                *end++ = *yes ? '1' : '0';
            } else {
                end = PrintPlain(cells[i], columns_[i].decimals, end);
            }
            sink_.Advance(static_cast<std::size_t>(end - start));
        }
        sink_.Write("\n");
    }

private:
    // As RFC 4180 wants it.
    void Quoted(std::string_view text) {
        if (text.find_first_of(",\"\r\n") == std::string_view::npos) return sink_.Write(text);
        sink_.Write("\"");
        for (const char c : text) sink_.Write(c == '"' ? std::string_view("\"\"") : std::string_view(&c, 1));
        sink_.Write("\"");
    }

    std::vector<Column> columns_;
    Sink& sink_;
};

void AppendQuoted(std::string_view text, std::string& to) {
    constexpr std::string_view Digits = "0123456789abcdef";
    to += '"';
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') to += '\\';
        if (code < 0x20) {
            to += "\\u00";
            to += Digits[code >> 4U];
            to += Digits[code & 0xFU];
        } else {
            to += c;
        }
    }
    to += '"';
}

class NdjsonWriter final : public RowWriter {
public:
    NdjsonWriter(const std::vector<Column>& columns, Sink& sink) : rows_(columns), sink_(sink) {}

    void Write(std::span<const Cell> cells) override {
        line_.clear();
        rows_.Append(cells, line_);
        line_ += '\n';
        sink_.Write(line_);
    }

private:
    JsonRows rows_;
    Sink& sink_;
    std::string line_;
};

}  // namespace

bool ParseForm(std::string_view text, Form& form) {
    if (text == "table")
        form = Form::Table;
    else if (text == "csv")
        form = Form::Csv;
    else if (text == "ndjson")
        form = Form::Ndjson;
    else
        return false;
    return true;
}

JsonRows::JsonRows(const std::vector<Column>& columns) {
    for (const Column& column : columns) {
        names_.push_back("\"" + FullName(column) + "\":");
        decimals_.push_back(column.decimals);
    }
}

void JsonRows::Append(std::span<const Cell> cells, std::string& to) const {
    to += '{';
    AppendMembers(cells, 0, to);
    to += '}';
}

void JsonRows::AppendMembers(std::span<const Cell> cells, std::size_t first, std::string& to) const {
    std::array<char, LongestNumber> number;
    for (std::size_t i = first; i < names_.size() && i < cells.size(); ++i) {
        if (i > first) to += ',';
        to += names_[i];
        if (const auto* text = std::get_if<std::string_view>(&cells[i])) {
            AppendQuoted(*text, to);
        } else if (const auto* yes = std::get_if<bool>(&cells[i])) {
            to += *yes ? "true" : "false";
        } else if (const char* end = PrintPlain(cells[i], decimals_[i], number.data()); end != number.data()) {
            to.append(number.data(), static_cast<std::size_t>(end - number.data()));
        } else {
            to += "null";
        }
    }
}

std::unique_ptr<RowWriter> RowWriter::Make(Form form, std::vector<Column> columns, Sink& sink) {
    switch (form) {
        case Form::Csv:
            return std::make_unique<CsvWriter>(std::move(columns), sink);
        case Form::Ndjson:
            return std::make_unique<NdjsonWriter>(columns, sink);
        case Form::Table:
            break;
    }
    return std::make_unique<TableWriter>(std::move(columns), sink);
}

char* PrintNumber(double value, int decimals, char* to) {
    char* const last = to + LongestNumber;
    if (decimals < 0)
        return std::to_chars(to, last, value, std::chars_format::scientific, std::min(-decimals - 1, 16)).ptr;
    // The common case in whole numbers, which is several times faster: at most 15 digits lie exactly in a double.
    constexpr std::array Powers = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
    if (decimals < static_cast<int>(Powers.size())) {
        const double power = Powers[static_cast<std::size_t>(decimals)];
        const double scaled = std::abs(value) * power;
        if (scaled < 1e15) {
            const auto whole = static_cast<std::uint64_t>(std::llround(scaled));
            if (value < 0.0 && whole > 0) *to++ = '-';
            const auto unit = static_cast<std::uint64_t>(power);
            to = std::to_chars(to, last, whole / unit).ptr;
            if (decimals == 0) return to;
            *to = '.';
            std::uint64_t fraction = whole % unit;
            for (int i = decimals; i > 0; --i, fraction /= 10) to[i] = static_cast<char>('0' + fraction % 10);
            return to + decimals + 1;
        }
    }
    return std::to_chars(to, last, value, std::chars_format::fixed, std::min(decimals, 30)).ptr;
}

}  // namespace Host
