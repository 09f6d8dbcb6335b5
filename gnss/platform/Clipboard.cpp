#include "gnss/platform/Clipboard.h"

#include <memory>
#include <mutex>
#include <utility>

namespace Corvane {

namespace {

struct State {
    std::mutex mutex;  // guards the members; never held while a sink runs
    bool open = false;
    String text;
    std::shared_ptr<const Clipboard::Sink> sink;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
State& TheState() {
    static State state;
    return state;
}
[[maybe_unused]] const State& madeEarly = TheState();

bool Deliver(const Clipboard::Sink& sink, const String& text) {
    try {
        return sink(text);
    } catch (...) {
        return false;
    }
}

}  // namespace

Clipboard::Clipboard() {
    const std::lock_guard lock(TheState().mutex);
    open_ = !std::exchange(TheState().open, true);
}

void Clipboard::SetText(const String& text) {
    if (open_) change_ = text;
}

bool Clipboard::Close() {
    if (!open_) return false;
    open_ = false;
    State& state = TheState();
    std::shared_ptr<const Sink> sink;
    {
        const std::lock_guard lock(state.mutex);
        sink = state.sink;
    }
    const bool delivered = !change_ || !sink || Deliver(*sink, *change_);
    const std::lock_guard lock(state.mutex);
    if (change_ && delivered) state.text = *std::exchange(change_, std::nullopt);
    state.open = false;
    return delivered;
}

bool Clipboard::Copy(const String& text) {
    Clipboard clipboard;
    clipboard.SetText(text);
    return clipboard.Close();
}

String Clipboard::GetText() {
    const std::lock_guard lock(TheState().mutex);
    return TheState().text;
}

void Clipboard::SetSink(Sink sink) {
    auto replacement = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
    const std::lock_guard lock(TheState().mutex);
    TheState().sink.swap(replacement);
}

}  // namespace Corvane
