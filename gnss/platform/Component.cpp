#include "gnss/platform/Component.h"

#include <cassert>

#include "gnss/platform/Failure.h"
#include "gnss/platform/Root.h"

namespace Corvane {

namespace {

// The innermost turn that this thread has.
thread_local const Component::WriteLock* innermost = nullptr;

}  // namespace

Component::WriteLock::WriteLock(Component& component) {
    assert(IsSafeToWait(component) && "a component's lock while holding another component's or a link's");
    Wait(component);
    Take(component);
}

Component::WriteLock::WriteLock(Component& component, How how) {
    if (!component.turn_.try_lock()) {
        if (how == Try || !IsSafeToWait(component)) return;
        Wait(component);
    }
    Take(component);
}

Component::WriteLock::~WriteLock() {
    if (component_ == nullptr) return;
    innermost = outer_;
    component_->turn_.unlock();
    component_->DropIfLeft();
}

bool Component::WriteLock::IsSafeToWait(const Component& component) {
    for (const WriteLock* each = innermost; each != nullptr; each = each->outer_) {
        if (each->component_ == &component) return true;
    }
    return innermost == nullptr && !Exchange::Output::HoldsAny();
}

void Component::WriteLock::Wait(Component& component) {
    component.nmrWaiting_.fetch_add(1, std::memory_order_relaxed);
    component.turn_.lock();
    component.nmrWaiting_.fetch_sub(1, std::memory_order_relaxed);
}

void Component::WriteLock::Take(Component& component) {
    component_ = &component;
    outer_ = innermost;
    innermost = this;
}

Component::Component(Ident ident, std::int32_t cycleMS, const Factory* factory)
    : ident_(ident), cycleMS_(cycleMS), factory_(factory) {}

Component::~Component() {
    assert(GetRoot() == nullptr && "a component must be held by the shared pointer that it joined with");
}

Index Component::GetIndex() const {
    const std::lock_guard lock(members_);
    return index_;
}

void Component::SetIndex(const Index& index) {
    const WriteLock turn(*this);
    {
        const std::lock_guard lock(members_);
        index_ = index;
    }
    OnIndex(index);
}

void Component::ReplayChange(bool) {}
void Component::RootPathChange(const String&, bool) {}
void Component::OnIndex(const Index&) {}

bool Component::MayHandle() const {
    return !isInHandler_ && GetRoot() != nullptr && !Exchange::Output::HoldsAny();
}

bool Component::DoCycle() {
    // Threads that cycle without a pause would hardly let anybody else in.
    if (nmrWaiting_.load(std::memory_order_relaxed) != 0) return false;
    const WriteLock turn(*this, WriteLock::Try);
    if (!turn.IsTaken() || isInCycle_ || !MayHandle()) return false;
    const Raised inCycle(isInCycle_);
    CheckQueue();
    if (GetRoot() != nullptr) CallGuarded("Cycle", [this] { Cycle(); });
    return true;
}

void Component::CheckQueue() {
    if (NmrQueued() == 0) return;
    const WriteLock turn(*this, WriteLock::Try);
    const std::uint64_t nmrLeaves = nmrLeaves_.load(std::memory_order_acquire);
    if (!turn.IsTaken() || !MayHandle()) return;
    const Raised inHandler(isInHandler_);
    inbox_.TakeAll(draining_);
    for (Exchange::Inbox::Message& each : draining_) {
        const Exchange::Inbox::Message message = std::move(each);
        message.input->length_.fetch_sub(1, std::memory_order_relaxed);
        // Who has left the tree hears no more, and neither does a response that is gone.
        if (nmrLeaves == nmrLeaves_.load(std::memory_order_acquire) && message.input->IsOpen()) {
            CallGuarded("A handler", [&message] { message.input->Deliver(message.value); });
        }
        inbox_.CountDone();
    }
    draining_.clear();
}

// After a turn: a leave that found the turn taken, and could not wait for it, left the queue as it was.
void Component::DropIfLeft() {
    {
        // Either this comes after the leave, and sees it, or the leave comes after the turn, and takes its own.
        const std::lock_guard lock(members_);
        if (GetRoot() != nullptr || NmrQueued() == 0) return;
    }
    const std::unique_lock turn(turn_, std::try_to_lock);
    if (turn.owns_lock() && GetRoot() == nullptr) DropQueue();
}

void Component::DropQueue() {
    std::vector<Exchange::Inbox::Message> dropped;
    inbox_.TakeAll(dropped);
    for (const auto& message : dropped) {
        message.input->length_.fetch_sub(1, std::memory_order_relaxed);
        inbox_.CountDone();
    }
}

void Component::OnFailure(const char* what) noexcept {
    nmrFailures_.fetch_add(1, std::memory_order_relaxed);
    TellFailure(ident_, what);
}

void Component::Attach(const std::shared_ptr<Exchange::Output>& output) {
    const std::lock_guard lock(members_);
    outputs_.push_back(output);
    try {
        if (Root* const root = GetRoot()) root->Offer(output);
    } catch (...) {
        outputs_.pop_back();
        throw;
    }
}

void Component::Attach(const std::shared_ptr<Exchange::Input>& input) {
    const std::lock_guard lock(members_);
    inputs_.push_back(input);
    try {
        if (Root* const root = GetRoot()) root->Subscribe(input);
    } catch (...) {
        inputs_.pop_back();
        throw;
    }
}

void Component::Detach(const std::shared_ptr<Exchange::Output>& output) {
    const std::lock_guard lock(members_);
    std::erase(outputs_, output);
    if (Root* const root = GetRoot()) root->Withdraw(output);
}

void Component::Detach(const std::shared_ptr<Exchange::Input>& input) {
    // A handler that runs on another thread ends first; one that destroys its own response goes on.
    const WriteLock turn(*this, WriteLock::WaitIfSafe);
    assert(turn.IsTaken() && "a response of a working component destroyed inside another component's handler");
    input->Close();
    const std::lock_guard lock(members_);
    std::erase(inputs_, input);
    if (Root* const root = GetRoot()) root->Withdraw(input);
}

}  // namespace Corvane
