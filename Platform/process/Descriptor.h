/**
 * @file Descriptor.h
 * A file descriptor with an owner.
 */
#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace vorn::process {

class Descriptor {
public:
    explicit Descriptor(int value = -1) noexcept : value_{value} {}
    Descriptor(Descriptor&& other) noexcept : value_{std::exchange(other.value_, -1)} {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ >= 0; }

    /** False when the kernel reports, at the last moment, that something was not written. */
    bool Close() noexcept
    {
        const int closing = std::exchange(value_, -1);
        return closing < 0 || close(closing) == 0 || errno == EINTR;
    }

    /** The same under a number above those that careless code closes; closed in programs that are started. */
    Descriptor Raised() && noexcept
    {
        constexpr int kAbove = 100;
        Descriptor raised{fcntl(value_, F_DUPFD_CLOEXEC, kAbove)};
        Close();
        return raised;
    }

private:
    int value_;
};

}  // namespace vorn::process
