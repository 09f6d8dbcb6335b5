// Corvane::ValueType: which C++ type an untyped value has.
#pragma once

#include <string_view>
#include <typeinfo>

namespace Corvane {

// Tells whether two libraries of the process mean the same class. Compares the type's name as text, never addresses:
// with hidden visibility each library has type information of its own. Guards the conversion from an untyped value;
// two classes of one name in unnamed namespaces of different sources are not told apart.
class ValueType {
public:
    template <typename T>
    [[nodiscard]] static ValueType Of() {
        return ValueType(typeid(T).name());
    }
    friend bool operator==(ValueType, ValueType) = default;

private:
    explicit ValueType(std::string_view name) : name_(name) {}
    std::string_view name_;
};

}  // namespace Corvane
