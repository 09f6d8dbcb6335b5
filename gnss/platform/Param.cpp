#include "gnss/platform/Param.h"

namespace Corvane {

namespace {

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
[[maybe_unused]] const ParamDefn<ParamList>& madeEarly = ParamList::GetVoidDefn();

}  // namespace

const ParamDefn<ParamList>& ParamList::GetVoidDefn() {
    static const ParamDefn<ParamList> defn("ParamList", ParamList());
    return defn;
}

Type ParamList::GetType(Ident ident) const {
    const auto found = params_.find(ident);
    return found == params_.end() ? Type() : found->second->GetType();
}

const ParamCore* ParamList::Find(Ident ident, Type type, ValueType valueType) const {
    const auto found = params_.find(ident);
    if (found == params_.end()) return nullptr;
    const ParamCore& param = *found->second;
    return param.GetType() == type && param.GetValueType() == valueType ? &param : nullptr;
}

}  // namespace Corvane
