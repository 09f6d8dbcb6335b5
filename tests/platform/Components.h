// Components for the tests of links: one that sends numbers and one that writes down what it gets.
#pragma once

#include <memory>
#include <vector>

#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Root.h"

namespace tests {

inline const Corvane::Type NumberType("Number");

struct Source : Corvane::Component {
    explicit Source(const Corvane::String& name = {}, Corvane::Index index = {})
        : Component(Corvane::Ident("Source"), 100),
          messages(*this, NumberType, name, index),
          value(*this, Corvane::Type("Value"), name, index) {}
    Corvane::Link<int> messages;
    Corvane::ManagedLink<int> value;
};

struct Listener : Corvane::Component {
    explicit Listener(const Corvane::String& name = {}, Corvane::Index index = {})
        : Component(Corvane::Ident("Listener"), 100),
          messages(*this, NumberType, &Listener::OnMessage, name, index),
          values(*this, Corvane::Type("Value"), &Listener::OnValue, name, index) {}
    void OnMessage(const int& number) { got.push_back(number); }
    void OnValue(const std::shared_ptr<const int>& number) { got.push_back(1000 + *number); }

    std::vector<int> got;
    Corvane::Response<int> messages;
    Corvane::Response<int> values;
};

// Joined to the root.
template <typename C, typename... Args>
std::shared_ptr<C> Joined(Corvane::Root& root, Args&&... args) {
    auto component = std::make_shared<C>(std::forward<Args>(args)...);
    root.Join(component);
    return component;
}

}  // namespace tests
