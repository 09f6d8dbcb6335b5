#include "gnss/platform/Exchange.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "gnss/platform/Component.h"

namespace Corvane::Exchange {

namespace {

// The link lock that this thread holds, and how often.
struct Held {
    const Output* output = nullptr;
    int depth = 0;
};
thread_local Held held;

}  // namespace

void Inbox::Post(const std::shared_ptr<Input>& input, const Value& value) {
    const std::lock_guard lock(mutex_);
    messages_.push_back({input, value});
    nmrOpen_.fetch_add(1, std::memory_order_relaxed);
    input->length_.fetch_add(1, std::memory_order_relaxed);
}

void Inbox::TakeAll(std::vector<Message>& messages) {
    assert(messages.empty());
    const std::lock_guard lock(mutex_);
    messages_.swap(messages);
}

Input::Input(Component& owner, const Address& wanted) : owner_(&owner), inbox_(&owner.inbox_), wanted_(wanted) {}

Input::~Input() = default;

bool Input::Wants(const Output& output) const {
    const Address& offered = output.GetAddress();
    return output.GetOwner() != owner_ && offered.type == wanted_.type && offered.valueType == wanted_.valueType &&
           (wanted_.name.IsEmpty() || offered.name == wanted_.name) &&
           (wanted_.index.IsNull() || offered.index == wanted_.index);
}

Value Input::GetKept() const {
    std::vector<std::shared_ptr<Output>> sources;
    {
        const std::lock_guard lock(mutex_);
        sources = sources_;
    }
    for (const auto& source : sources) {
        if (Value value = source->GetKept()) return value;
    }
    return nullptr;
}

void Output::Send(Value value, bool keep) {
    const std::lock_guard lock(mutex_);
    for (const auto& subscriber : subscribers_) subscriber->inbox_->Post(subscriber, value);
    // The old value ends in the argument, which outlives the lock.
    if (keep) kept_.swap(value);
}

void Output::Keep(Value value) {
    const std::lock_guard lock(mutex_);
    kept_.swap(value);
}

void Output::SendKept() {
    const std::lock_guard lock(mutex_);
    if (!kept_) return;
    for (const auto& subscriber : subscribers_) subscriber->inbox_->Post(subscriber, kept_);
}

Value Output::GetKept() const {
    const std::lock_guard lock(mutex_);
    return kept_;
}

void Output::Connect(const std::shared_ptr<Output>& output, const std::shared_ptr<Input>& input) {
    {
        const std::lock_guard lock(input->mutex_);
        input->sources_.push_back(output);
    }
    try {
        const std::lock_guard lock(output->mutex_);
        output->subscribers_.reserve(output->subscribers_.size() + 1);
        if (output->kept_) input->inbox_->Post(input, output->kept_);
        output->subscribers_.push_back(input);
        output->nmrSubscribers_.store(output->subscribers_.size(), std::memory_order_release);
    } catch (...) {
        const std::lock_guard lock(input->mutex_);
        std::erase(input->sources_, output);
        throw;
    }
}

void Output::Disconnect(Output& output) {
    std::vector<std::shared_ptr<Input>> subscribers;
    {
        const std::lock_guard lock(output.mutex_);
        subscribers.swap(output.subscribers_);
        output.nmrSubscribers_.store(0, std::memory_order_release);
    }
    for (const auto& subscriber : subscribers) {
        const std::lock_guard lock(subscriber->mutex_);
        std::erase_if(subscriber->sources_, [&](const auto& source) { return source.get() == &output; });
    }
}

void Output::Disconnect(Input& input) {
    std::vector<std::shared_ptr<Output>> sources;
    {
        const std::lock_guard lock(input.mutex_);
        sources.swap(input.sources_);
    }
    for (const auto& source : sources) {
        const std::lock_guard lock(source->mutex_);
        std::erase_if(source->subscribers_, [&](const auto& subscriber) { return subscriber.get() == &input; });
        source->nmrSubscribers_.store(source->subscribers_.size(), std::memory_order_release);
    }
}

void Output::LockForUser() {
    assert((held.depth == 0 || held.output == this) && "a second link's lock while holding one");
    userLock_.lock();
    held.output = this;
    ++held.depth;
}

void Output::UnlockForUser() {
    --held.depth;
    userLock_.unlock();
}

bool Output::HoldsAny() {
    return held.depth > 0;
}

}  // namespace Corvane::Exchange
