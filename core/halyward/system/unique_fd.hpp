#pragma once
/// The one owner of a POSIX file descriptor in the library.

namespace halyward {

/// An owned file descriptor, closed when the owner goes away. Moving hands the descriptor
/// on; a default-constructed owner holds none (-1).
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    /// Gives the descriptor up without closing it.
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    /// Closes the descriptor held (ignoring close(2)'s result) and takes `fd` instead.
    void reset(int fd = -1);
    /// Closes the descriptor now and returns close(2)'s result: 0, or -1 with errno set.
    /// Writers use it because a failed close can be the first report of a lost write.
    int close();

private:
    int fd_ = -1;
};

}  // namespace halyward
