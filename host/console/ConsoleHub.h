// ConsoleHub: where the run leaves its panels and the streams of the browsers pick them up.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/live/Descriptor.h"

namespace Host {

// Every member may be called from any thread, those of a Reader from one thread at a time.
//
// A panel is the newest text of its name. A reader that is late finds the newest alone; the texts of a panel that were
// replaced before it took them are counted as dropped. Publishing costs the same whatever the readers do.
class ConsoleHub {
public:
    using Text = std::shared_ptr<const std::string>;

    static constexpr std::size_t MaxPanels = 64;
    static constexpr std::size_t MaxName = 32;

    // Takes the unsent texts of one stream. At the beginning every panel that there is is unsent.
    class Reader {
    public:
        explicit Reader(ConsoleHub& hub);
        ~Reader();
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

        // Appends up to `most` events as they stand in a stream of events, the oldest first; false when there is none.
        bool Take(std::vector<Text>& events, std::size_t most);
        // Texts that were replaced before they were taken.
        [[nodiscard]] std::uint64_t GetDropped() const;

    private:
        friend class ConsoleHub;
        ConsoleHub& hub_;
        std::array<std::uint64_t, MaxPanels> taken_{};  // how many texts of each panel have been taken or dropped
        std::uint64_t dropped_ = 0;
    };

    struct Figures {
        std::uint64_t published = 0;  // texts
        std::uint64_t taken = 0;      // texts, by all readers
        std::uint64_t dropped = 0;    // texts, over all readers that there were
        std::size_t readers = 0;
    };

    // Throws std::system_error when the system gives no descriptor.
    ConsoleHub();
    ~ConsoleHub();
    ConsoleHub(const ConsoleHub&) = delete;
    ConsoleHub& operator=(const ConsoleHub&) = delete;

    // The new text of a panel, whose name is of the letters a-z, digits and '_'. A name of another kind, or one more
    // than MaxPanels, is ignored: false. Never waits for a reader.
    bool Publish(std::string_view panel, std::string json);

    // Null when the panel has never been published.
    [[nodiscard]] Text Latest(std::string_view panel) const;
    [[nodiscard]] Figures GetFigures() const;

    // An eventfd that is readable from each Publish until DrainWakeUp.
    [[nodiscard]] int GetWakeFile() const { return wake_.Get(); }
    void DrainWakeUp();

private:
    struct Panel {
        std::string name;
        Text json;
        Text event;
        std::uint64_t number = 0;  // of the text, over all panels
        std::uint64_t count = 0;   // of the panel's texts
    };
    // Of a reader: texts of each panel that it has not taken and never will.
    [[nodiscard]] std::uint64_t CountReplaced(const Reader& reader) const;

    mutable std::mutex mutex_;
    std::vector<Panel> panels_;
    std::vector<const Reader*> readers_;
    std::uint64_t number_ = 0;
    std::uint64_t taken_ = 0;
    std::uint64_t droppedBefore_ = 0;  // by readers that are gone
    Descriptor wake_;
};

}  // namespace Host
