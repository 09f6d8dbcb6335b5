#include "host/live/Descriptor.h"

#include <cstring>
#include <unistd.h>

namespace Host {

std::string SystemWords(int error) {
    const char* words = ::strerrordesc_np(error);
    return words != nullptr ? words : "the system gives no reason";
}

void Descriptor::Close() {
    if (file_ >= 0) ::close(file_);
    file_ = -1;
}

}  // namespace Host
