#include "gnss/platform/Link.h"

#include <utility>

namespace Corvane {

LinkBase::Lock::Lock(const LinkBase& link) : output_(link.output_.get()) {
    output_->LockForUser();
}

void LinkBase::Lock::Close() {
    if (Exchange::Output* const output = std::exchange(output_, nullptr)) output->UnlockForUser();
}

LinkBase::LinkBase(Component& owner, const Exchange::Address& address)
    : owner_(owner), output_(std::make_shared<Exchange::Output>(owner, address)) {
    owner_.Attach(output_);
}

LinkBase::~LinkBase() {
    owner_.Detach(output_);
}

}  // namespace Corvane
