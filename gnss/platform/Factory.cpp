#include "gnss/platform/Factory.h"

#include <algorithm>
#include <mutex>

namespace Corvane {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<const Factory*> factories;
};

// Never destroyed: the factories of other libraries leave it while the process ends.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

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
