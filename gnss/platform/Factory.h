// Corvane::Factory: makes the components of one kind.
#pragma once

#include <memory>
#include <vector>

#include "gnss/platform/Component.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Param.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Text.h"

namespace Corvane {

// A kind of component, which the whole process can find while the object lives. Safe to make, find and destroy from any
// thread; who uses one that was found sees to it that its library stays loaded.
class GNSS_EXPORT Factory {
public:
    // Makes a component; null when the parameters do not allow one.
    using Creator = std::shared_ptr<Component> (*)(const Param<ParamList>& params);

    Factory(const String& name, const String& title, const Text& description, Creator creator);
    Factory(const Factory&) = delete;
    Factory& operator=(const Factory&) = delete;
    ~Factory();

    [[nodiscard]] const String& GetName() const { return name_; }
    // For the operator.
    [[nodiscard]] const String& GetTitle() const { return title_; }
    [[nodiscard]] const Text& GetDescription() const { return description_; }
    [[nodiscard]] std::shared_ptr<Component> CreateComponent(const Param<ParamList>& params) const {
        return creator_(params);
    }
    // From no parameters.
    [[nodiscard]] std::shared_ptr<Component> CreateComponent() const {
        return creator_(Param<ParamList>(ParamList::GetVoidDefn()));
    }

    // The factory of a name, the one made first when there are several; null when there is none.
    [[nodiscard]] static const Factory* Find(const String& name);
    // All of them, in the order in which they were made.
    [[nodiscard]] static std::vector<const Factory*> GetAll();

private:
    const String name_;
    const String title_;
    const Text description_;
    const Creator creator_;
};

}  // namespace Corvane
