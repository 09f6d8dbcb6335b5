#include "host/receiver/RinexNavigation.h"

#include "host/receiver/FileText.h"
#include "host/receiver/RinexHeader.h"
#include "host/receiver/RinexReaders.h"
#include "host/receiver/RinexRecord.h"
#include "host/receiver/TextField.h"

namespace Host {

namespace {

constexpr std::string_view Systems = "GRECJIS";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// One text from its header to its end.
class Parser {
public:
    Parser(std::string_view text, RinexNavigation& out) : lines_(text), out_(out) {}

    bool Parse(FileError& error) {
        if (!ReadRinexHeader(lines_, header_, out_, error)) return false;
        Reserve();
        while (lines_.HasLine()) {
            const std::string_view line = lines_.Line();
            const char system = StartOf(line);
            if (system != 0) {
                ReadRecord(system);
            } else if (BeginsRinexHeader(line)) {
                if (!ReadNextHeader()) break;
            } else {
                AddStray(line);
                lines_.Advance();
            }
        }
        WarnOfStrays();
        DateRinexHeader(header_, out_);
        return true;
    }

private:
    // Room for what a file of one system holds; the records of a mixed one find their room as they come.
    void Reserve() {
        constexpr std::size_t BytesInLine = 80;
        const std::size_t nmrLines = lines_.GetNmrBytesLeft() / BytesInLine + 1;
        if (header_.system == 'G') out_.gps.reserve(nmrLines / RinexGPSReader::NmrLines);
        if (header_.system == 'R') out_.glonass.reserve(nmrLines / RinexGlonassReader::NmrLines);
    }

    [[nodiscard]] bool IsVersion3() const { return header_.version >= 300; }

    // The system of the record that begins with a line; 0 when none does.
    [[nodiscard]] char StartOf(std::string_view line) const {
        if (line.size() < 4) return 0;
        if (IsVersion3()) return Systems.find(line[0]) != Systems.npos && IsDigit(line[2]) ? line[0] : '\0';
        return (line[0] == ' ' || IsDigit(line[0])) && IsDigit(line[1]) && line[2] == ' ' ? header_.system : '\0';
    }

    void ReadRecord(char system) {
        WarnOfStrays();
        RinexRecord record;
        record.system = system;
        record.isVersion3 = IsVersion3();
        do {
            record.lines[record.nmrLines] = lines_.Line();
            record.numbers[record.nmrLines] = lines_.Number();
            ++record.nmrLines;
            lines_.Advance();
            while (lines_.HasLine() && IsBlank(lines_.Line())) lines_.Advance();
        } while (lines_.HasLine() && record.nmrLines < RinexRecord::MaxLines && IsOrbitLine(lines_.Line()));
        if (system == 'G') {
            gps_.Add(record, out_);
        } else if (system == 'R') {
            glonass_.Add(record, out_);
        } else {
            out_.AddSkipped(system);
        }
    }

    [[nodiscard]] bool IsOrbitLine(std::string_view line) const {
        return line.starts_with("   ") && !BeginsRinexHeader(line);
    }

    // Another file behind this one.
    bool ReadNextHeader() {
        RinexHeader next;
        FileError error;
        const std::int64_t line = lines_.Number();
        if (!ReadRinexHeader(lines_, next, out_, error)) {
            out_.warnings.Add(line, "another header, the rest of the file is left out: " + error.reason);
            return false;
        }
        next.alpha = next.alpha ? next.alpha : header_.alpha;
        next.beta = next.beta ? next.beta : header_.beta;
        next.utc = next.utc ? next.utc : header_.utc;
        header_ = next;
        return true;
    }

    // Lines that belong to no record; one warning for all that stand together.
    void AddStray(std::string_view line) {
        if (IsBlank(line)) return;
        if (nmrStrays_++ == 0) firstStray_ = lines_.Number();
    }
    void WarnOfStrays() {
        if (nmrStrays_ > 0) out_.warnings.Add(firstStray_, std::to_string(nmrStrays_) + " lines outside any record");
        nmrStrays_ = 0;
    }

    LineReader lines_;
    RinexNavigation& out_;
    RinexHeader header_;
    RinexGPSReader gps_;
    RinexGlonassReader glonass_;
    std::int64_t nmrStrays_ = 0;
    std::int64_t firstStray_ = 0;
};

}  // namespace

bool RinexNavigation::Read(const std::string& path, FileError& error) {
    *this = RinexNavigation();
    FileText file;
    if (!file.Open(path, error)) return false;
    const bool isRead = Parse(file.Text(), path, error);
    WarnIfCut(file, warnings);
    return isRead;
}

bool RinexNavigation::Parse(std::string_view text, std::string_view name, FileError& error) {
    *this = RinexNavigation();
    warnings.SetFile(name);
    error = {std::string(name), 0, {}};
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // byte order mark of UTF-8
    return Parser(text, *this).Parse(error);
}

std::int64_t RinexNavigation::GetSkipped(char system) const {
    return system >= 'A' && system <= 'Z' ? skipped_[static_cast<std::size_t>(system - 'A')] : 0;
}

void RinexNavigation::AddSkipped(char system) {
    if (system >= 'A' && system <= 'Z') ++skipped_[static_cast<std::size_t>(system - 'A')];
}

}  // namespace Host
