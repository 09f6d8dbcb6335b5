#include "gnss/platform/Root.h"

#include <utility>

namespace Corvane {

Root::~Root() {
    const auto components = Snapshot();
    for (const auto& component : *components) Leave(*component);
}

bool Root::Join(const std::shared_ptr<Component>& component) {
    if (!component) return false;
    // Taken without waiting, so that a handler may make other components and join them.
    const Component::WriteLock turn(*component, Component::WriteLock::Try);
    if (!turn.IsTaken()) return false;
    {
        const std::lock_guard members(component->members_);
        if (component->GetRoot() != nullptr) return false;
        component->DropQueue();
        const std::lock_guard lock(mutex_);
        auto components = std::make_shared<Components>(*components_);
        components->push_back(component);
        try {
            for (const auto& output : component->outputs_) OfferLocked(output);
            for (const auto& input : component->inputs_) SubscribeLocked(input);
        } catch (...) {
            WithdrawAllLocked(*component);
            component->DropQueue();
            throw;
        }
        components_ = std::move(components);
        component->root_.store(this, std::memory_order_release);
    }
    const Component::Raised inHandler(component->isInHandler_);
    component->CallGuarded("OnJoin", [&] { component->OnJoin(); });
    return true;
}

bool Root::Leave(Component& component) {
    std::shared_ptr<const Components> before;  // may be the last to hold the component: ends after the locks
    {
        const std::lock_guard members(component.members_);
        if (component.GetRoot() != this) return false;
        const std::lock_guard lock(mutex_);
        auto components = std::make_shared<Components>(*components_);
        std::erase_if(*components, [&](const auto& each) { return each.get() == &component; });
        WithdrawAllLocked(component);
        before = std::exchange(components_, std::move(components));
        component.nmrLeaves_.fetch_add(1, std::memory_order_acq_rel);
        component.root_.store(nullptr, std::memory_order_release);
    }
    const Component::WriteLock turn(component, Component::WriteLock::WaitIfSafe);
    // It may have joined again meanwhile. Without the turn, who has it drops the queue when it ends.
    if (turn.IsTaken() && component.GetRoot() == nullptr) component.DropQueue();
    return true;
}

std::vector<std::shared_ptr<Component>> Root::GetComponents() const {
    return *Snapshot();
}

std::shared_ptr<Component> Root::Find(Ident ident) const {
    const auto components = Snapshot();
    for (const auto& component : *components) {
        if (component->GetIdent() == ident) return component;
    }
    return nullptr;
}

void Root::CycleAll() {
    const auto components = Snapshot();
    for (const auto& component : *components) component->DoCycle();
}

std::size_t Root::NmrQueued() const {
    std::size_t nmrQueued = 0;
    const auto components = Snapshot();
    for (const auto& component : *components) nmrQueued += component->NmrQueued();
    return nmrQueued;
}

void Root::ForEach(const std::function<void(Component&)>& function) {
    const auto components = Snapshot();
    for (const auto& component : *components) {
        const Component::WriteLock turn(*component);
        if (component->GetRoot() == this) component->CallGuarded("A call", [&] { function(*component); });
    }
}

std::shared_ptr<const Root::Components> Root::Snapshot() const {
    const std::lock_guard lock(mutex_);
    return components_;
}

void Root::Offer(const std::shared_ptr<Exchange::Output>& output) {
    const std::lock_guard lock(mutex_);
    OfferLocked(output);
}

void Root::Subscribe(const std::shared_ptr<Exchange::Input>& input) {
    const std::lock_guard lock(mutex_);
    SubscribeLocked(input);
}

void Root::Withdraw(const std::shared_ptr<Exchange::Output>& output) {
    const std::lock_guard lock(mutex_);
    WithdrawLocked(output);
}

void Root::Withdraw(const std::shared_ptr<Exchange::Input>& input) {
    const std::lock_guard lock(mutex_);
    WithdrawLocked(input);
}

void Root::OfferLocked(const std::shared_ptr<Exchange::Output>& output) {
    outputs_.push_back(output);
    try {
        for (const auto& input : inputs_) {
            if (input->Wants(*output)) Exchange::Output::Connect(output, input);
        }
    } catch (...) {
        WithdrawLocked(output);
        throw;
    }
}

void Root::SubscribeLocked(const std::shared_ptr<Exchange::Input>& input) {
    inputs_.push_back(input);
    try {
        for (const auto& output : outputs_) {
            if (input->Wants(*output)) Exchange::Output::Connect(output, input);
        }
    } catch (...) {
        WithdrawLocked(input);
        throw;
    }
}

void Root::WithdrawAllLocked(const Component& component) {
    for (const auto& output : component.outputs_) WithdrawLocked(output);
    for (const auto& input : component.inputs_) WithdrawLocked(input);
}

void Root::WithdrawLocked(const std::shared_ptr<Exchange::Output>& output) {
    std::erase(outputs_, output);
    Exchange::Output::Disconnect(*output);
}

void Root::WithdrawLocked(const std::shared_ptr<Exchange::Input>& input) {
    std::erase(inputs_, input);
    Exchange::Output::Disconnect(*input);
}

}  // namespace Corvane
