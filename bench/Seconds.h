/**
 * @file Seconds.h
 * How long something takes.
 */
#pragma once

#include <chrono>

namespace vorn::bench {

template <typename Work>
double Seconds(Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>{std::chrono::steady_clock::now() - start}.count();
}

}  // namespace vorn::bench
