#include "gnss/platform/Response.h"

#include <utility>

namespace Corvane {

ResponseBase::ResponseBase(Component& owner, std::shared_ptr<Exchange::Input> input)
    : owner_(owner), input_(std::move(input)) {
    owner_.Attach(input_);
}

ResponseBase::~ResponseBase() {
    owner_.Detach(input_);
}

}  // namespace Corvane
