// Corvane::ParamCore: what the parameters of all types share, and the types' names.
#pragma once

#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/ValueType.h"

namespace Corvane {

// A parameter without its value: Param<T> has that.
class GNSS_EXPORT ParamCore {
public:
    // A type of parameter values that the whole process knows by name while the object lives, so that a library can
    // bring a type of its own and be unloaded again. Safe to make, find and destroy from any thread.
    class GNSS_EXPORT MultiType {
    public:
        explicit MultiType(const String& name);
        // A registration of its own for the same name.
        MultiType(const MultiType& other);
        MultiType& operator=(const MultiType&) = delete;
        virtual ~MultiType();

        [[nodiscard]] String GetName() const { return type_.Print(); }
        [[nodiscard]] Type GetType() const { return type_; }

        // The type of a name, the one registered first when there are several; null when there is none. The caller
        // sees to it that the library that registered it stays loaded.
        [[nodiscard]] static const MultiType* Find(const String& name);
        // The names that are known, in their order, each once.
        [[nodiscard]] static std::vector<String> GetNames();

    private:
        Type type_;
    };

    // The parameter type's name.
    [[nodiscard]] Type GetType() const { return type_; }
    // The class of the value.
    [[nodiscard]] ValueType GetValueType() const { return valueType_; }

protected:
    ParamCore(Type type, ValueType valueType) : type_(type), valueType_(valueType) {}
    ParamCore(const ParamCore&) = default;
    ParamCore& operator=(const ParamCore&) = default;
    ~ParamCore() = default;

private:
    Type type_;
    ValueType valueType_;
};

}  // namespace Corvane
