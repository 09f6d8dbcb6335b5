// Corvane::Root: the tree that components join, where their links and responses meet.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "gnss/platform/Component.h"
#include "gnss/platform/Exchange.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

// Connects every link of its components with every response that wants its type, name and index, whichever comes first.
// All functions may be called from any thread, also from handlers. The destructor makes the components leave; no other
// thread may be using the root by then.
class GNSS_EXPORT Root {
public:
    Root() = default;
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;
    ~Root();

    // Connects the component and calls its OnJoin. Responses receive the values that the links keep. False for null,
    // for a component that is joined (here or elsewhere) and for one whose lock another thread has. When it throws for
    // want of memory, the component has not joined.
    bool Join(const std::shared_ptr<Component>& component);
    // Disconnects the component and drops what its queue still holds; whoever needs that cycles it once more before.
    // When it returns, none of the component's handlers runs, but for the one that calls it; inside another component's
    // handler and under a link's lock it does not wait for the running handler to end, and the queue is dropped then.
    // False when it is not joined here.
    bool Leave(Component& component);

    // The joined components in the order of joining.
    [[nodiscard]] std::vector<std::shared_ptr<Component>> GetComponents() const;
    // The first one of an identifier; null when there is none.
    [[nodiscard]] std::shared_ptr<Component> Find(Ident ident) const;

    // Cycles each component once, in the order of joining. Several threads may do so: each component is cycled by one
    // of them at a time, and passed over by the others meanwhile.
    void CycleAll();
    // Number of values in all the queues, with those that are being handled. Exact while no other thread sends or
    // cycles.
    [[nodiscard]] std::size_t NmrQueued() const;
    // Calls the function for each component, in the order of joining, under the component's lock; for Run, Clear,
    // RootPathChange and the like. Not inside a handler. An exception goes to the event log, and the next one follows.
    void ForEach(const std::function<void(Component&)>& function);

private:
    friend class Component;
    using Components = std::vector<std::shared_ptr<Component>>;

    void Offer(const std::shared_ptr<Exchange::Output>& output);
    void Subscribe(const std::shared_ptr<Exchange::Input>& input);
    void Withdraw(const std::shared_ptr<Exchange::Output>& output);
    void Withdraw(const std::shared_ptr<Exchange::Input>& input);
    void OfferLocked(const std::shared_ptr<Exchange::Output>& output);
    void SubscribeLocked(const std::shared_ptr<Exchange::Input>& input);
    void WithdrawAllLocked(const Component& component);
    void WithdrawLocked(const std::shared_ptr<Exchange::Output>& output);
    void WithdrawLocked(const std::shared_ptr<Exchange::Input>& input);
    [[nodiscard]] std::shared_ptr<const Components> Snapshot() const;

    mutable std::mutex mutex_;
    std::shared_ptr<const Components> components_ = std::make_shared<const Components>();
    std::vector<std::shared_ptr<Exchange::Output>> outputs_;
    std::vector<std::shared_ptr<Exchange::Input>> inputs_;
};

}  // namespace Corvane
