// CopyOnWrite: a value whose copies share one body until one of them is changed.
#pragma once

#include <cstdint>
#include <utility>

#include "gnss/platform/CriticalSection.h"

namespace Corvane {

// NOLINTBEGIN(clang-analyzer-cplusplus.NewDelete): the analyser forgets the count at every locking, and then takes
// bodies that have handles for deleted.

// A handle on a reference-counted body. Copying a handle shares the body; changing it through one handle leaves what
// the others see as it was. There is always a body.
//
// Different handles, of the same body too, may be used by different threads at once. One handle is like any plain
// value: used by one thread at a time, or guarded by its owner's lock.
template <class Body>
class CopyOnWrite {
public:
    // A body made by its default constructor.
    CopyOnWrite() : CopyOnWrite(std::in_place) {}
    // A body made from the arguments.
    template <class... Arguments>
    explicit CopyOnWrite(std::in_place_t, Arguments&&... arguments)
        : shared_(new Shared(std::forward<Arguments>(arguments)...)) {}

    // Moving is sharing, too: a handle that has been moved from still has its body.
    CopyOnWrite(const CopyOnWrite& other) noexcept : shared_(other.shared_) {
        const pt::mutexlock lock(CriticalSection());
        ++shared_->handles;
    }
    CopyOnWrite& operator=(CopyOnWrite other) noexcept {
        Swap(other);
        return *this;
    }
    // The last handle deletes the body.
    ~CopyOnWrite() {
        // A deleted body may hold handles of its own, so this goes on outside the lock.
        if (Release()) delete shared_;
    }

    void Swap(CopyOnWrite& other) noexcept { std::swap(shared_, other.shared_); }

    [[nodiscard]] const Body& Read() const { return shared_->body; }

    // The body, of this handle alone from now on: a shared one is copied first. When the copying throws, the handle is
    // as before. The reference is good until the handle is next copied, assigned or destroyed.
    [[nodiscard]] Body& Write() {
        // While this handle counts, nobody changes a shared body, so the copying needs no lock. Should the other
        // handles go meanwhile, a copy was made in vain, and the old body goes with its last handle as always.
        if (IsShared()) CopyOnWrite(std::in_place, std::as_const(shared_->body)).Swap(*this);
        return shared_->body;
    }

    // Whether other handles have the same body, at this moment.
    [[nodiscard]] bool IsShared() const {
        const pt::mutexlock lock(CriticalSection());
        return shared_->handles > 1;
    }
    // Whether two handles have one body.
    [[nodiscard]] bool SharesWith(const CopyOnWrite& other) const { return shared_ == other.shared_; }

private:
    struct Shared {
        template <class... Arguments>
        explicit Shared(Arguments&&... arguments) : body(std::forward<Arguments>(arguments)...) {}

        Body body;
        std::uint32_t handles = 1;
    };

    // Takes this handle off the count; whether it was the last.
    [[nodiscard]] bool Release() noexcept {
        const pt::mutexlock lock(CriticalSection());
        return --shared_->handles == 0;
    }

    Shared* shared_;
};

// NOLINTEND(clang-analyzer-cplusplus.NewDelete)

}  // namespace Corvane
