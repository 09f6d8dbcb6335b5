#include "gnss/platform/Factory.h"

#include <algorithm>
#include <mutex>

namespace Corvane {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<const Factory*> factories;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
Registry& TheRegistry() {
    static Registry registry;
    return registry;
}
[[maybe_unused]] const Registry& madeEarly = TheRegistry();

}  // namespace

Factory::Factory(const String& name, const String& title, const Text& description, Creator creator)
    : name_(name), title_(title), description_(description), creator_(creator) {
    const std::lock_guard lock(TheRegistry().mutex);
    TheRegistry().factories.push_back(this);
}

Factory::~Factory() {
    const std::lock_guard lock(TheRegistry().mutex);
    std::erase(TheRegistry().factories, this);
}

const Factory* Factory::Find(const String& name) {
    const std::lock_guard lock(TheRegistry().mutex);
    const auto& factories = TheRegistry().factories;
    const auto found =
        std::find_if(factories.begin(), factories.end(), [&](const auto* each) { return each->name_ == name; });
    return found == factories.end() ? nullptr : *found;
}

std::vector<const Factory*> Factory::GetAll() {
    const std::lock_guard lock(TheRegistry().mutex);
    return TheRegistry().factories;
}

}  // namespace Corvane
