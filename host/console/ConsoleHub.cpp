#include "host/console/ConsoleHub.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/eventfd.h>

namespace Host {

namespace {

bool IsName(std::string_view name) {
    return !name.empty() && name.size() <= ConsoleHub::MaxName && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    });
}

// Each line of the text becomes one of the event; what JSON would write as \n is no line.
std::string MakeEvent(std::uint64_t number, std::string_view name, std::string_view json) {
    std::string event = "id: " + std::to_string(number) + "\nevent: ";
    event.reserve(event.size() + name.size() + json.size() + 16);
    event.append(name).append("\ndata: ");
    while (true) {
        const std::size_t end = json.find_first_of("\r\n");
        event.append(json.substr(0, end));
        if (end == std::string_view::npos) break;
        event.append("\ndata: ");
        json.remove_prefix(end + 1);
    }
    return event.append("\n\n");
}

}  // namespace

ConsoleHub::Reader::Reader(ConsoleHub& hub) : hub_(hub) {
    const std::lock_guard lock(hub_.mutex_);
    // The newest text of each panel is what it begins with; those before are not missed.
    for (std::size_t i = 0; i < hub_.panels_.size(); ++i) taken_[i] = hub_.panels_[i].count - 1;
    hub_.readers_.push_back(this);
}

ConsoleHub::Reader::~Reader() {
    const std::lock_guard lock(hub_.mutex_);
    hub_.droppedBefore_ += dropped_ + hub_.CountReplaced(*this);
    std::erase(hub_.readers_, this);
}

bool ConsoleHub::Reader::Take(std::vector<Text>& events, std::size_t most) {
    const std::lock_guard lock(hub_.mutex_);
    std::array<std::pair<std::uint64_t, std::size_t>, MaxPanels> unsent;
    std::size_t nmr = 0;
    for (std::size_t i = 0; i < hub_.panels_.size(); ++i)
        if (hub_.panels_[i].count > taken_[i]) unsent[nmr++] = {hub_.panels_[i].number, i};
    std::sort(unsent.begin(), unsent.begin() + static_cast<std::ptrdiff_t>(nmr));
    nmr = std::min(nmr, most);
    for (std::size_t k = 0; k < nmr; ++k) {
        const std::size_t i = unsent[k].second;
        events.push_back(hub_.panels_[i].event);
        dropped_ += hub_.panels_[i].count - taken_[i] - 1;
        taken_[i] = hub_.panels_[i].count;
    }
    hub_.taken_ += nmr;
    return nmr > 0;
}

std::uint64_t ConsoleHub::Reader::GetDropped() const {
    const std::lock_guard lock(hub_.mutex_);
    return dropped_ + hub_.CountReplaced(*this);
}

ConsoleHub::ConsoleHub() : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_.IsOpen()) throw std::system_error(errno, std::generic_category(), "no eventfd");
}

ConsoleHub::~ConsoleHub() = default;

bool ConsoleHub::Publish(std::string_view panel, std::string json) {
    if (!IsName(panel)) return false;
    {
        // Under the lock: the numbers are to follow the order of publishing. The text is copied once for all readers.
        const std::lock_guard lock(mutex_);
        auto at = std::find_if(panels_.begin(), panels_.end(), [&](const Panel& p) { return p.name == panel; });
        if (at == panels_.end()) {
            if (panels_.size() >= MaxPanels) return false;
            at = panels_.insert(panels_.end(), Panel{std::string(panel), nullptr, nullptr, 0, 0});
        }
        at->number = ++number_;
        ++at->count;
        at->event = std::make_shared<const std::string>(MakeEvent(number_, panel, json));
        at->json = std::make_shared<const std::string>(std::move(json));
    }
    // Fails only when it is about to overflow, and then it is readable.
    const std::uint64_t one = 1;
    static_cast<void>(!::write(wake_.Get(), &one, sizeof(one)));
    return true;
}

ConsoleHub::Text ConsoleHub::Latest(std::string_view panel) const {
    const std::lock_guard lock(mutex_);
    const auto at = std::find_if(panels_.begin(), panels_.end(), [&](const Panel& p) { return p.name == panel; });
    return at == panels_.end() ? nullptr : at->json;
}

ConsoleHub::Figures ConsoleHub::GetFigures() const {
    const std::lock_guard lock(mutex_);
    Figures figures;
    figures.published = number_;
    figures.taken = taken_;
    figures.dropped = droppedBefore_;
    for (const Reader* reader : readers_) figures.dropped += reader->dropped_ + CountReplaced(*reader);
    figures.readers = readers_.size();
    return figures;
}

void ConsoleHub::DrainWakeUp() {
    std::uint64_t times = 0;
    static_cast<void>(!::read(wake_.Get(), &times, sizeof(times)));
}

std::uint64_t ConsoleHub::CountReplaced(const Reader& reader) const {
    std::uint64_t nmr = 0;
    for (std::size_t i = 0; i < panels_.size(); ++i)
        if (panels_[i].count > reader.taken_[i] + 1) nmr += panels_[i].count - reader.taken_[i] - 1;
    return nmr;
}

}  // namespace Host
