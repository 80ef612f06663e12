#include "halyward/system/unique_fd.hpp"

#include <unistd.h>

namespace halyward {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
}

void UniqueFd::reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

int UniqueFd::close() {
    if (fd_ < 0) return 0;
    return ::close(release());
}

}  // namespace halyward
