#include "gnss/platform/View.h"

#include <algorithm>
#include <utility>

namespace Corvane {

View::~View() = default;

void View::Paint(DC& dc, Size size) {
    // Before drawing, so that a change during it asks for the next one.
    isInvalid_.store(false, std::memory_order_release);
    try {
        Draw(dc, size);
    } catch (...) {
        Invalidate();
        throw;
    }
}

bool View::DoCommand(Ident ident) {
    const auto found =
        std::find_if(commands_.begin(), commands_.end(), [&](const Command& each) { return each.ident == ident; });
    if (found == commands_.end() || !found->run) return false;
    const auto run = found->run;  // a command may replace itself
    run();
    return true;
}

void View::AddCommand(Command command) {
    const auto found = std::find_if(commands_.begin(), commands_.end(),
                                    [&](const Command& each) { return each.ident == command.ident; });
    if (found == commands_.end()) {
        commands_.push_back(std::move(command));
    } else {
        *found = std::move(command);
    }
}

}  // namespace Corvane
