// What links and responses are behind their typed faces: outputs and inputs that a root connects. Inbox, Input and
// Output are internal: no component or host uses them itself, and they may change with every version.
//
// Locks. A thread takes them in this order, and none after a later one:
//   1. Component::WriteLock   the component's turn; held while one of its handlers or its Cycle runs
//   2. LinkBase::Lock         of one link at a time, by those who read, change and publish a value in one step
//   3. a component's list of its links and responses (join, leave, making and destroying a link or response)
//   4. Root                   who is joined and what is offered and wanted
//   5. Output                 a link's value and its subscribers
//   6. Inbox, Input           a component's queue; an input's sources
// 3 to 6 are held for a few instructions, never while anything of the user's runs: handlers and writers run under 1
// and 2 only, and values are destroyed outside them. 1 of another component is never waited for by who holds a 1 or a
// 2; debug builds assert it, and that nobody takes a second 2.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/ValueType.h"

namespace Corvane {

class Component;

namespace Exchange {

// A value on its way: shared by all who get it, never changed.
using Value = std::shared_ptr<const void>;

// What an output offers or an input wants.
struct Address {
    Type type;
    String name;
    Index index;
    ValueType valueType;
};

class Input;
class Output;

// A component's queue: the values for all its inputs in the order in which they came.
class GNSS_EXPORT Inbox {
public:
    struct Message {
        std::shared_ptr<Input> input;
        Value value;
    };

    void Post(const std::shared_ptr<Input>& input, const Value& value);
    // Swaps the queue with `messages`, which is empty and lends its memory to the queue.
    void TakeAll(std::vector<Message>& messages);
    // One of the messages taken has been handled or dropped.
    void CountDone() { nmrOpen_.fetch_sub(1, std::memory_order_release); }
    // Number of messages posted and not yet done.
    [[nodiscard]] std::size_t NmrOpen() const { return nmrOpen_.load(std::memory_order_acquire); }

private:
    std::atomic<std::size_t> nmrOpen_ = 0;
    std::mutex mutex_;
    std::vector<Message> messages_;
};

// The receiving end, one per response. Shared by the response, the root, the outputs that it is connected with and its
// values on their way.
class GNSS_EXPORT Input {
public:
    // Wants outputs of its type and value; an empty name and a null index match every one.
    Input(Component& owner, const Address& wanted);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    virtual ~Input();

    // Calls the handler. Only in the owner's turn.
    virtual void Deliver(const Value& value) = 0;

    [[nodiscard]] const Address& GetAddress() const { return wanted_; }
    // A component does not hear itself.
    [[nodiscard]] bool Wants(const Output& output) const;
    // Number of values in the queue for this input.
    [[nodiscard]] std::size_t Length() const { return length_.load(std::memory_order_relaxed); }
    // The value that the first of its sources keeps that keeps one; else null.
    [[nodiscard]] Value GetKept() const;

    // No value is delivered any more.
    void Close() { isOpen_ = false; }
    [[nodiscard]] bool IsOpen() const { return isOpen_; }

private:
    friend class Inbox;
    friend class Output;
    friend class Corvane::Component;

    const Component* const owner_;
    Inbox* const inbox_;
    const Address wanted_;
    std::atomic<std::size_t> length_ = 0;
    std::atomic<bool> isOpen_ = true;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Output>> sources_;
};

// The sending end, one per link.
class GNSS_EXPORT Output {
public:
    Output(const Component& owner, const Address& offered) : owner_(&owner), offered_(offered) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    [[nodiscard]] const Component* GetOwner() const { return owner_; }
    [[nodiscard]] const Address& GetAddress() const { return offered_; }

    // Posts the value to every subscriber; with `keep` it becomes the kept value in the same step.
    void Send(Value value, bool keep);
    // Keeps the value without telling anybody.
    void Keep(Value value);
    // Posts the kept value, if there is one, to every subscriber.
    void SendKept();
    [[nodiscard]] Value GetKept() const;
    [[nodiscard]] std::size_t NmrSubscribers() const { return nmrSubscribers_.load(std::memory_order_acquire); }

    // Called by the root under its lock. A kept value goes to the new subscriber at once. When connecting throws, for
    // want of memory, they are not connected.
    static void Connect(const std::shared_ptr<Output>& output, const std::shared_ptr<Input>& input);
    static void Disconnect(Output& output);
    static void Disconnect(Input& input);

    // LinkBase::Lock.
    void LockForUser();
    void UnlockForUser();
    // Whether the calling thread holds the LinkBase::Lock of any link.
    [[nodiscard]] static bool HoldsAny();

private:
    const Component* const owner_;
    const Address offered_;
    std::recursive_mutex userLock_;
    mutable std::mutex mutex_;
    Value kept_;
    std::vector<std::shared_ptr<Input>> subscribers_;
    std::atomic<std::size_t> nmrSubscribers_ = 0;
};

}  // namespace Exchange

}  // namespace Corvane
