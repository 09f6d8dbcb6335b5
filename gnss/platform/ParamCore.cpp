#include "gnss/platform/ParamCore.h"

#include <algorithm>
#include <mutex>

namespace Corvane {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<const ParamCore::MultiType*> types;

    void Add(const ParamCore::MultiType* type) {
        const std::lock_guard lock(mutex);
        types.push_back(type);
    }
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
Registry& TheRegistry() {
    static Registry registry;
    return registry;
}
[[maybe_unused]] const Registry& madeEarly = TheRegistry();

}  // namespace

ParamCore::MultiType::MultiType(const String& name) : type_(name) {
    TheRegistry().Add(this);
}

ParamCore::MultiType::MultiType(const MultiType& other) : type_(other.type_) {
    TheRegistry().Add(this);
}

ParamCore::MultiType::~MultiType() {
    const std::lock_guard lock(TheRegistry().mutex);
    std::erase(TheRegistry().types, this);
}

const ParamCore::MultiType* ParamCore::MultiType::Find(const String& name) {
    const std::lock_guard lock(TheRegistry().mutex);
    const auto& types = TheRegistry().types;
    const auto found =
        std::find_if(types.begin(), types.end(), [&](const auto* each) { return each->GetName() == name; });
    return found == types.end() ? nullptr : *found;
}

std::vector<String> ParamCore::MultiType::GetNames() {
    std::vector<String> names;
    {
        const std::lock_guard lock(TheRegistry().mutex);
        for (const MultiType* type : TheRegistry().types) names.push_back(type->GetName());
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

}  // namespace Corvane
