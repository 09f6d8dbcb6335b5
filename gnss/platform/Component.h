// Corvane::Component: a part of an application that joins a tree, takes data through responses and offers it on links.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "gnss/platform/Exchange.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

class Factory;
class Root;

// A component owns links (Link.h) and responses (Response.h), usually as members. While it is joined to a Root they are
// connected with those of the other components; what arrives waits in the component's queue until the component's next
// cycle, which hands each value to its response's handler, in the order of arrival over all its responses.
//
// Handlers and Cycle run in the component's turn: one at a time, on whichever thread cycles the component, and never
// inside each other. An exception that leaves one goes to the event log; the next message follows as if nothing had
// happened. The other virtual functions are called by the host; a component whose implementation of them must not meet
// a running handler takes its WriteLock there.
//
// A component is held by shared pointers; the root's is one of them while the component is joined.
class GNSS_EXPORT Component {
public:
    // `cycleMS` is the period in milliseconds in which the component asks to be cycled.
    Component(Ident ident, std::int32_t cycleMS, const Factory* factory = nullptr);
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    virtual ~Component();

    [[nodiscard]] Ident GetIdent() const { return ident_; }
    [[nodiscard]] std::int32_t GetCycleMS() const { return cycleMS_; }
    // Null for a component that was made without one.
    [[nodiscard]] const Factory* GetFactory() const { return factory_; }
    // The root of the tree that the component is joined to; null outside a tree.
    [[nodiscard]] Root* GetRoot() const { return root_.load(std::memory_order_acquire); }
    // The number that the host gives to one of several components of a kind; null until then.
    [[nodiscard]] Index GetIndex() const;
    // Calls OnIndex, in the component's turn. Takes the component's lock: not inside another component's handler and
    // not under a link's lock.
    void SetIndex(const Index& index);

    // The component's links and responses are connected; values wait until OnJoin has returned.
    virtual void OnJoin() {}
    // Called at every cycle, after the queue has been drained.
    virtual void Cycle() {}
    // The host's tree is complete and starts to work.
    virtual void Run() {}
    // Forget the data.
    virtual void Clear() {}
    // The data come from a replayed log from now on, or live again.
    virtual void ReplayChange(bool isReplay);
    // The path that the component's files begin with; `save` asks to write them there instead of reading them.
    virtual void RootPathChange(const String& root, bool save);
    virtual void OnIndex(const Index& index);

    // The framework's own cycle: drains the queue, then calls Cycle. False, and nothing is done, when the component is
    // not joined, when another thread has or waits for its turn, inside one of its own handlers, and under a link's
    // lock.
    bool DoCycle();
    // Hands out what is in the queue now; what arrives meanwhile waits for the next time. Does nothing in the cases
    // where DoCycle does nothing, except that Cycle may call it.
    void CheckQueue();
    // Number of values in the queue, with the one that is being handled.
    [[nodiscard]] std::size_t NmrQueued() const { return inbox_.NmrOpen(); }
    // Number of times that an exception left a handler, Cycle or OnJoin.
    [[nodiscard]] std::uint64_t NmrFailures() const { return nmrFailures_.load(std::memory_order_relaxed); }

    // Has the component's turn: waits for a cycle under way to end and holds the next ones off. May be taken again by
    // the thread that has it, as every handler does; not while holding another component's or any link's lock.
    class GNSS_EXPORT WriteLock {
    public:
        explicit WriteLock(Component& component);
        WriteLock(const WriteLock&) = delete;
        WriteLock& operator=(const WriteLock&) = delete;
        ~WriteLock();

    private:
        friend class Component;
        friend class Root;
        enum How : std::int32_t {
            Try,         // never waits
            WaitIfSafe,  // waits unless this thread holds a lock that whom it waits for may want
        };
        WriteLock(Component& component, How how);
        [[nodiscard]] bool IsTaken() const { return component_ != nullptr; }
        [[nodiscard]] static bool IsSafeToWait(const Component& component);
        static void Wait(Component& component);
        void Take(Component& component);

        Component* component_ = nullptr;
        const WriteLock* outer_ = nullptr;
    };

private:
    friend class Root;
    friend class LinkBase;
    friend class ResponseBase;
    friend class Exchange::Input;

    // Sets a flag for as long as it lives.
    class Raised {
    public:
        explicit Raised(bool& flag) : flag_(flag), before_(flag) { flag = true; }
        Raised(const Raised&) = delete;
        Raised& operator=(const Raised&) = delete;
        ~Raised() { flag_ = before_; }

    private:
        bool& flag_;
        const bool before_;
    };

    void Attach(const std::shared_ptr<Exchange::Output>& output);
    void Attach(const std::shared_ptr<Exchange::Input>& input);
    void Detach(const std::shared_ptr<Exchange::Output>& output);
    void Detach(const std::shared_ptr<Exchange::Input>& input);
    // In the turn.
    [[nodiscard]] bool MayHandle() const;
    void DropQueue();
    void DropIfLeft();
    void OnFailure(const char* what) noexcept;
    // The queue's own state changes between calls: nothing may leave one.
    template <typename Function>
    void CallGuarded(const char* what, Function&& function) noexcept {
        try {
            function();
        } catch (...) {
            OnFailure(what);
        }
    }

    const Ident ident_;
    const std::int32_t cycleMS_;
    const Factory* const factory_;
    std::atomic<std::uint64_t> nmrFailures_ = 0;

    std::recursive_mutex turn_;
    std::atomic<int> nmrWaiting_ = 0;
    bool isInCycle_ = false;                          // in the turn
    bool isInHandler_ = false;                        // in the turn
    std::vector<Exchange::Inbox::Message> draining_;  // in the turn; keeps its memory from one time to the next
    std::atomic<std::uint64_t> nmrLeaves_ = 0;

    mutable std::mutex members_;  // guards what follows
    Index index_;
    std::atomic<Root*> root_ = nullptr;
    std::vector<std::shared_ptr<Exchange::Output>> outputs_;
    std::vector<std::shared_ptr<Exchange::Input>> inputs_;

    Exchange::Inbox inbox_;
};

}  // namespace Corvane
