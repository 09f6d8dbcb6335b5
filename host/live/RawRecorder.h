// RawRecorder: keeps the bytes of a live source in a file, as they came.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/live/Descriptor.h"
#include "host/live/SteadyClock.h"

namespace Host {

// Adds to the end of the file, each piece at once, so that what was received is there whatever happens next. What goes
// wrong is told, and tried again after a while; the source goes on.
class RawRecorder {
public:
    static constexpr std::chrono::seconds Pause{60};
    using Tell = std::function<void(const std::string&)>;

    RawRecorder(std::string path, SteadyClock clock, Tell tell);
    void Write(std::string_view bytes);

    [[nodiscard]] const std::string& GetPath() const { return path_; }
    [[nodiscard]] std::int64_t GetNmrLost() const { return nmrLost_; }

private:
    [[nodiscard]] bool Open();
    void Fail(const std::string& reason);

    std::string path_;
    SteadyClock clock_;
    Tell tell_;
    Descriptor file_;
    std::optional<SteadyTime> retry_;  // set after a failure
    std::int64_t nmrLost_ = 0;
};

}  // namespace Host
