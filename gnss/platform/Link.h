// Corvane::Link and ManagedLink: a component's outputs, to which responses of other components subscribe.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "gnss/platform/Component.h"
#include "gnss/platform/Exchange.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

// What all links have: a type, a name and an index, by which responses find them at the root; a lock; subscribers.
// A link belongs to a component, which must outlive it, and is connected while the component is joined.
//
// Sending puts the value into each subscriber's queue and returns; handlers run in the subscribers' cycles. Each
// subscriber gets the values that are sent while it is connected, each once, in the order in which they were sent, and
// in that order over all the links on which one thread sends. A value is shared by all subscribers and by the link, and
// nobody changes it. Its class's library stays loaded while anybody keeps or queues values. When the memory for a queue
// runs out, sending throws, and only some of the subscribers have got the value.
class GNSS_EXPORT LinkBase {
public:
    // Holds a link for those who read, change and publish its value in one step; all of them take it. Readers and
    // subscribers never wait for it. May be taken again by the thread that holds it. Nobody takes a second link's lock
    // while holding one; publishing on other links, and on this one, is fine.
    class GNSS_EXPORT Lock {
    public:
        explicit Lock(const LinkBase& link);
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { Close(); }
        // Lets go before the end of the scope, on the thread that took it.
        void Close();

    private:
        Exchange::Output* output_;
    };

    LinkBase(const LinkBase&) = delete;
    LinkBase& operator=(const LinkBase&) = delete;

    [[nodiscard]] Type GetType() const { return output_->GetAddress().type; }
    [[nodiscard]] const String& GetName() const { return output_->GetAddress().name; }
    [[nodiscard]] Index GetIndex() const { return output_->GetAddress().index; }
    [[nodiscard]] std::size_t NmrSubscribers() const { return output_->NmrSubscribers(); }
    [[nodiscard]] bool HasSubscribers() const { return NmrSubscribers() != 0; }

protected:
    LinkBase(Component& owner, const Exchange::Address& address);
    ~LinkBase();
    [[nodiscard]] Exchange::Output& GetOutput() const { return *output_; }

private:
    Component& owner_;
    const std::shared_ptr<Exchange::Output> output_;
};

// Carries messages: who is not connected when one is sent does not get it.
template <typename T>
class Link : public LinkBase {
public:
    Link(Component& owner, Type type, const String& name = {}, const Index& index = {})
        : LinkBase(owner, {type, name, index, ValueType::Of<T>()}) {}

    // To every subscriber. Null is not sent.
    void Send(std::shared_ptr<const T> message) {
        if (message) GetOutput().Send(std::move(message), false);
    }
    void Send(const T& message) {
        if (HasSubscribers()) Send(std::make_shared<const T>(message));
    }
};

// Keeps a value: who joins late gets it then, and anybody can read it.
template <typename T>
class ManagedLink : public LinkBase {
public:
    // Without a value until one is set.
    ManagedLink(Component& owner, Type type, const String& name = {}, const Index& index = {})
        : LinkBase(owner, {type, name, index, ValueType::Of<T>()}) {}

    // The value of now; null when there is none. Does not wait for the link's lock.
    [[nodiscard]] std::shared_ptr<const T> Get() const {
        return std::static_pointer_cast<const T>(GetOutput().GetKept());
    }
    // Replaces the value and sends it to every subscriber, in one step. Null empties the link and is not sent.
    void Publish(std::shared_ptr<const T> value) {
        if (value) {
            GetOutput().Send(std::move(value), true);
        } else {
            Set(nullptr);
        }
    }
    void Publish(T value) { Publish(std::make_shared<const T>(std::move(value))); }
    // Replaces the value without telling the subscribers.
    void Set(std::shared_ptr<const T> value) { GetOutput().Keep(std::move(value)); }
    void Set(T value) { Set(std::make_shared<const T>(std::move(value))); }
    // Sends the value of now, if there is one, to every subscriber.
    void Notify() { GetOutput().SendKept(); }
};

}  // namespace Corvane
