// Corvane::Param: a host parameter of one type, its definition, and the list from which a component is made.
#pragma once

#include <concepts>
#include <map>
#include <memory>
#include <utility>

#include "gnss/platform/Export.h"
#include "gnss/platform/ParamCore.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

// Defines a parameter type: its name and its empty ("void") value.
template <typename T>
class ParamDefn {
public:
    ParamDefn(const String& name, T voidValue) : type_(name), void_(std::move(voidValue)) {}

    [[nodiscard]] String GetName() const { return type_.Print(); }
    [[nodiscard]] Type GetType() const { return type_; }
    [[nodiscard]] const T& GetVoid() const { return void_; }

private:
    Type type_;
    T void_;
};

// A value of type T under the name of its definition; void until it is set.
template <typename T>
class Param : public ParamCore {
public:
    using Defn = ParamDefn<T>;

    explicit Param(const Defn& defn) : Param(defn, defn.GetVoid()) {}
    Param(const Defn& defn, T value)
        : ParamCore(defn.GetType(), ValueType::Of<T>()), value_(std::move(value)), void_(defn.GetVoid()) {}

    [[nodiscard]] const T& Get() const { return value_; }
    void Set(T value) { value_ = std::move(value); }
    void SetVoid() { value_ = void_; }
    [[nodiscard]] bool IsVoid() const requires std::equality_comparable<T> { return value_ == void_; }

private:
    T value_;
    T void_;
};

// Parameters by name, each of any type. Copies share the values, which nobody changes.
class GNSS_EXPORT ParamList {
public:
    // The definition of a parameter that is itself a list: "ParamList", empty.
    [[nodiscard]] static const ParamDefn<ParamList>& GetVoidDefn();

    [[nodiscard]] bool IsEmpty() const { return params_.empty(); }
    [[nodiscard]] bool Has(Ident ident) const { return params_.contains(ident); }
    // The name of the parameter's type; null when there is none of this identifier.
    [[nodiscard]] Type GetType(Ident ident) const;
    void Remove(Ident ident) { params_.erase(ident); }

    // Adds the parameter or replaces the one of the same identifier, whatever its type.
    template <typename T>
    void Set(Ident ident, const Param<T>& param) {
        params_.insert_or_assign(ident, std::make_shared<const Param<T>>(param));
    }
    // The parameter; a void one when there is none of this identifier or it is of another type.
    template <typename T>
    [[nodiscard]] Param<T> Get(Ident ident, const ParamDefn<T>& defn) const {
        const ParamCore* const param = Find(ident, defn.GetType(), ValueType::Of<T>());
        return param == nullptr ? Param<T>(defn) : *static_cast<const Param<T>*>(param);
    }

private:
    [[nodiscard]] const ParamCore* Find(Ident ident, Type type, ValueType valueType) const;

    std::map<Ident, std::shared_ptr<const ParamCore>> params_;
};

}  // namespace Corvane
