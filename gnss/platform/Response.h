// Corvane::Response: a component's input.
#pragma once

#include <cstddef>
#include <memory>

#include "gnss/platform/Component.h"
#include "gnss/platform/Exchange.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

class GNSS_EXPORT ResponseBase {
public:
    ResponseBase(const ResponseBase&) = delete;
    ResponseBase& operator=(const ResponseBase&) = delete;

    // Number of values in the component's queue for this response. The queue has no limit: a host watches its length.
    [[nodiscard]] std::size_t Length() const { return input_->Length(); }

protected:
    ResponseBase(Component& owner, std::shared_ptr<Exchange::Input> input);
    // Waits for the handler to end where it runs on another thread.
    ~ResponseBase();
    [[nodiscard]] const Exchange::Input& GetInput() const { return *input_; }

private:
    Component& owner_;
    const std::shared_ptr<Exchange::Input> input_;
};

// Takes the values of class T that links of its type carry, with a member function of its component as handler, called
// in the component's cycle. Subscribes to every link of the type of the other components; a name or an index that is
// given narrows that. A link of the same type that carries another class is not connected. May be made and destroyed
// at any time, also in OnJoin and in handlers of its component, which must outlive it.
template <typename T>
class Response : public ResponseBase {
public:
    template <typename C>
    Response(C& component, Type type, void (C::*handler)(const T&), const String& name = {}, const Index& index = {})
        : ResponseBase(component, std::make_shared<MemberInput<C>>(component, type, handler, name, index)) {}
    // For a handler that keeps the value: it takes a share instead of a copy.
    template <typename C>
    Response(C& component, Type type, void (C::*handler)(const std::shared_ptr<const T>&), const String& name = {},
             const Index& index = {})
        : ResponseBase(component, std::make_shared<SharingInput<C>>(component, type, handler, name, index)) {}

    // The value that the connected link keeps now, whatever still waits in the queue; of several links the first that
    // keeps one. Null when there is none.
    [[nodiscard]] std::shared_ptr<const T> Get() const {
        return std::static_pointer_cast<const T>(GetInput().GetKept());
    }

private:
    template <typename C>
    class MemberInput final : public Exchange::Input {
    public:
        MemberInput(C& component, Type type, void (C::*handler)(const T&), const String& name, const Index& index)
            : Input(component, {type, name, index, ValueType::Of<T>()}), component_(component), handler_(handler) {}
        void Deliver(const Exchange::Value& value) override {
            (component_.*handler_)(*static_cast<const T*>(value.get()));
        }

    private:
        C& component_;
        void (C::*const handler_)(const T&);
    };

    template <typename C>
    class SharingInput final : public Exchange::Input {
    public:
        using Handler = void (C::*)(const std::shared_ptr<const T>&);
        SharingInput(C& component, Type type, Handler handler, const String& name, const Index& index)
            : Input(component, {type, name, index, ValueType::Of<T>()}), component_(component), handler_(handler) {}
        void Deliver(const Exchange::Value& value) override {
            (component_.*handler_)(std::static_pointer_cast<const T>(value));
        }

    private:
        C& component_;
        const Handler handler_;
    };
};

}  // namespace Corvane
