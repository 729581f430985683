/**
 * @file DamagingProxy.h
 * A relay in front of SANE's network daemon that damages what the daemon answers: bits, words, and ends.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace vorn::test {

class DamagingProxy {
public:
    /** Listens at 127.0.0.3, for the daemon's port and those of its data; relays to 127.0.0.1. */
    DamagingProxy();
    DamagingProxy(const DamagingProxy&) = delete;
    ~DamagingProxy();

    bool Listens() const noexcept { return listens_; }

    static constexpr uint16_t kPort = 6566, kFirstDataPort = 16570, kLastDataPort = 16629;

private:
    void Run();
    void Relay(int client, uint16_t port, uint32_t seed) const;

    std::vector<int> listeners_;
    std::vector<uint16_t> ports_;
    bool listens_ = true;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
    std::vector<std::thread> relays_;
};

}  // namespace vorn::test
