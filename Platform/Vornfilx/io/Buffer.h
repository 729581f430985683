/**
 * @file io/Buffer.h
 * Owners of the kernel library's blocks and copies.
 */
#pragma once

#include "Vornkrnx.h"

namespace vorn::fil {

/** Working memory for rows; empty when there was no memory. */
class Buffer {
public:
    explicit Buffer(uint64_t bytes) noexcept
        : data_{static_cast<uint8_t*>(KrnAlloc(bytes, 1, __LINE__, "Vornfilx/Buffer"))}
    {
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { KrnFree(data_, __LINE__, "Vornfilx/Buffer"); }

    uint8_t* Get() const noexcept { return data_; }

private:
    uint8_t* data_;
};

/** A file name in the system's own encoding; null when there was no memory. */
class AnsiName {
public:
    explicit AnsiName(const WCHAR* name) noexcept : name_{KrnAllocAnsiCopy(name)} {}
    AnsiName(const AnsiName&) = delete;
    AnsiName& operator=(const AnsiName&) = delete;
    ~AnsiName() { KrnFreeAnsiCopy(name_); }

    const char* Get() const noexcept { return name_; }

private:
    char* name_;
};

}  // namespace vorn::fil
