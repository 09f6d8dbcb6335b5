// Corvane::View: something that draws itself and offers commands to its operator.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

class DC;

// Shown by the host in a window, a page or a picture of its own. Invalidate may be called from any thread; everything
// else on the thread that draws.
class GNSS_EXPORT View {
public:
    // What the operator can do with the view.
    struct Command {
        Ident ident;
        String title;
        std::function<void()> run;
        // For a switch: whether it is on. Empty for a plain command.
        std::function<bool()> isOn;
    };

    View() = default;
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    virtual ~View();

    // Draws the view into the area of this size, in pixels, at the context's origin. The view is up to date
    // afterwards unless something invalidates it meanwhile or drawing throws.
    void Paint(DC& dc, Size size);
    // The view has changed since it was last painted, or never was.
    [[nodiscard]] virtual bool RequiresRedraw() const { return isInvalid_.load(std::memory_order_acquire); }
    void Invalidate() { isInvalid_.store(true, std::memory_order_release); }

    // In the order in which to show them.
    [[nodiscard]] const std::vector<Command>& GetCommands() const { return commands_; }
    // Runs a command; false when there is none of this identifier.
    bool DoCommand(Ident ident);

protected:
    virtual void Draw(DC& dc, Size size) = 0;
    // For constructors. The command replaces the one of the same identifier.
    void AddCommand(Command command);

private:
    std::atomic<bool> isInvalid_ = true;
    std::vector<Command> commands_;
};

}  // namespace Corvane
