#include "gnss/store/AlmanacFile.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"
#include "gnss/platform/FileStream.h"
#include "gnss/platform/SafeFile.h"
#include "gnss/platform/SetAside.h"
#include "gnss/platform/Stream.h"

namespace GNSS {

using Corvane::FileLock;
using Corvane::String;
using Corvane::Stream::Succeeds;

namespace {

void Tell(const String& text) {
    Corvane::Event::AddEvent("Almanac", text);
}

template <class Record>
std::vector<std::byte> ToBytes(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    record.Write(output);
    return output.Bytes();
}

// The number that stands at a place; 0 when it is cut off or negative.
int NumberAt(std::span<const std::byte> bytes, std::size_t place) {
    int number = 0;
    Corvane::Stream::MemoryInput input(bytes.subspan(std::min(place, bytes.size())));
    Succeeds([&] { number = input.ReadShortAsInt(); });
    return std::max(number, 0);
}

// More than the longest file holds, so that a file of whatever size takes little memory.
constexpr std::size_t MaxSize = 8U << 20U;

// The content of a file, or its first MaxSize bytes; nothing when it cannot be read.
std::optional<std::vector<std::byte>> ReadBytes(Corvane::FileInput& input) {
    std::vector<std::byte> bytes;
    while (!input.IsAtEnd() && bytes.size() < MaxSize) bytes.push_back(std::byte{input.ReadUChar()});
    if (!input.IsValid()) return std::nullopt;
    return bytes;
}

String Count(int number, const char* what) {
    return String::FormatInt(number) + " " + what + (number == 1 ? "" : "s");
}

void AddToList(String& list, const String& what) {
    list += (list.IsEmpty() ? String() : String(", ")) + what;
}

// "2026-11-21T12:34:56Z"
String NowForName() {
    std::string text = Corvane::Clock::Now().Print(0).str();
    std::replace(text.begin(), text.end(), ' ', 'T');
    return text + 'Z';
}

}  // namespace

String DescribeLoss(std::span<const std::byte> bytes, const Almanac& almanac) {
    const std::size_t svSize = ToBytes(Almanac::SV()).size();
    const std::size_t glonassSVSize = ToBytes(Almanac::GlonassSV()).size();
    const std::vector<std::byte> utc = ToBytes(almanac.GetUTC());
    const int nmrSV = NumberAt(bytes, 0);
    const std::size_t utcPlace = 2 + static_cast<std::size_t>(nmrSV) * svSize + ToBytes(almanac.GetIono()).size();
    const std::size_t countPlace = utcPlace + utc.size();
    const int nmrGlonassSV = NumberAt(bytes, countPlace);
    const std::size_t end = countPlace + 2 + static_cast<std::size_t>(nmrGlonassSV) * glonassSVSize;

    String loss;
    if (almanac.NmrSV() < nmrSV) {
        AddToList(loss, String::FormatInt(nmrSV - almanac.NmrSV()) + " of " + Count(nmrSV, "GPS satellite"));
    }
    const auto hasUTC = [&] { return std::ranges::equal(bytes.subspan(utcPlace, utc.size()), utc); };
    if (bytes.size() < countPlace || !hasUTC()) AddToList(loss, "the UTC parameters");
    if (bytes.size() < countPlace + 2) {
        AddToList(loss, "whatever GLONASS satellites there were");
    } else if (almanac.NmrGlonassSV() < nmrGlonassSV) {
        AddToList(loss, String::FormatInt(nmrGlonassSV - almanac.NmrGlonassSV()) + " of " +
                            Count(nmrGlonassSV, "GLONASS satellite"));
    }
    if (bytes.size() > end) AddToList(loss, Count(static_cast<int>(bytes.size() - end), "byte") + " at the end");
    return loss;
}

AlmanacFile::~AlmanacFile() {
    Succeeds([this] { Flush(); });
}

bool AlmanacFile::Load(const String& path, Almanac& almanac) {
    return Use(path) && Read(almanac);
}

void AlmanacFile::SaveTo(const String& path, const Almanac& almanac) {
    if (Use(path)) Save(almanac);
}

void AlmanacFile::Save(const Almanac& almanac) {
    if (path_.IsEmpty() || isHeldByOther_) return;
    unsaved_ = almanac;
    Flush();
}

bool AlmanacFile::Use(const String& path) {
    Flush();
    unsaved_.reset();
    failure_.Clear();
    isHeldByOther_ = false;
    mustSetAside_ = false;
    if (path != path_) lock_.Release();
    path_ = path;
    return TakeLock() || !isHeldByOther_;
}

bool AlmanacFile::TakeLock() {
    if (lock_.IsTaken()) return true;
    const FileLock::Result result = lock_.Take(path_ + ".lock");
    if (result == FileLock::Held) {
        isHeldByOther_ = true;
        unsaved_.reset();
        const String holder = lock_.GetHolder() == 0 ? String("another process")
                                                     : String("process ") + String::FormatInt(lock_.GetHolder());
        Tell(holder + " uses the almanac file " + path_ + ": nothing is loaded from it or saved there");
    }
    return result == FileLock::Taken;
}

bool AlmanacFile::Read(Almanac& almanac) {
    mustSetAside_ = true;
    Corvane::FileInput file(path_, Corvane::ByteOrder::PC);
    const auto bytes = file.IsOpen() ? ReadBytes(file) : std::nullopt;
    if (!bytes) {
        Tell("nothing was loaded: " + path_ + " is not there or cannot be read; the almanac stays as it is");
        return false;
    }
    file.Close();
    Corvane::Stream::MemoryInput input(*bytes);
    Almanac read;
    if (!read.Read(input)) {
        Tell("the almanac file " + path_ + " is damaged: nothing was loaded, and the almanac stays as it is; " +
             SetRefusedAside());
        return false;
    }
    const String loss = DescribeLoss(*bytes, read);
    if (loss.IsEmpty()) {
        mustSetAside_ = false;
    } else {
        Tell("the almanac file " + path_ + " is damaged: loaded were " + Count(read.NmrSV(), "GPS satellite") +
             ", the ionosphere and " + Count(read.NmrGlonassSV(), "GLONASS satellite") + ", but not " + loss + "; " +
             SetRefusedAside());
    }
    almanac = read;
    return true;
}

String AlmanacFile::SetRefusedAside() {
    const auto result = Corvane::SetAside(path_, ".refused-" + NowForName());
    mustSetAside_ = !result.isFree;
    if (!result.isFree) return result.failure + ", and nothing is saved there until that can be done";
    return result.path.IsEmpty() ? String("the file is gone") : "the file is now " + result.path;
}

void AlmanacFile::Flush() {
    if (!unsaved_) return;
    const String failure = Write(*unsaved_);
    if (isHeldByOther_) return;  // which has been told
    if (failure.IsEmpty()) {
        unsaved_.reset();
        if (!failure_.IsEmpty()) Tell("the almanac is saved again as " + path_);
    } else if (failure != failure_) {
        Tell("the almanac is not saved: " + failure);
    }
    failure_ = failure;
}

String AlmanacFile::Write(const Almanac& almanac) {
    if (!TakeLock()) return lock_.GetFailure();
    if (mustSetAside_) {
        const auto aside = Corvane::SetAside(path_, ".refused-" + NowForName());
        if (!aside.isFree) return aside.failure;
        if (!aside.path.IsEmpty()) Tell("the file that stood at " + path_ + " was not loaded and is now " + aside.path);
    }
    Corvane::Stream::MemoryOutput output;
    if (!almanac.Write(output)) return "a number does not fit into the almanac file " + path_;
    Corvane::SafeFile file;
    if (!file.Open(path_) || !file.Write(output.Bytes()) || !file.Commit()) return file.GetFailure();
    mustSetAside_ = false;
    return {};
}

}  // namespace GNSS
