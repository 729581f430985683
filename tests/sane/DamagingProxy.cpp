#include "DamagingProxy.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <random>

namespace vorn::test {
namespace {

constexpr in_addr_t kOurs = INADDR_LOOPBACK + 2, kDaemons = INADDR_LOOPBACK;
constexpr int kMoment = 50;  // milliseconds

sockaddr_in Address(in_addr_t host, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

/** Damages one place of what passes, which may be its end. */
class Damage {
public:
    explicit Damage(uint32_t seed) : random_{seed} {}

    /** @return the bytes to pass on; fewer than `length` when the connection ends there */
    size_t Apply(uint8_t* bytes, size_t length)
    {
        const size_t begin = passed_;
        passed_ += length;
        if (at_ < begin || at_ >= passed_)
            return length;
        uint8_t* const place = bytes + (at_ - begin);
        const size_t room = length - (at_ - begin);
        constexpr std::array<uint32_t, 6> kWords{0, 1, 0x7fffffff, 0xffffffff, 0x80000000, 0x00010000};
        const uint32_t word = htonl(kWords[random_() % kWords.size()]);
        if (kind_ == 0)
            *place ^= static_cast<uint8_t>(1u << (random_() % 8));
        else if (kind_ == 1)
            *place = static_cast<uint8_t>(random_());
        else if (kind_ == 2)
            std::memcpy(place, &word, std::min(room, sizeof word));
        return kind_ == 3 ? at_ - begin : length;
    }

private:
    std::mt19937 random_;
    size_t kind_ = random_() % 4;
    size_t at_ = random_() % (size_t{1} << (4 + random_() % 10));
    size_t passed_ = 0;
};

bool SendAll(int socket, const uint8_t* bytes, size_t length)
{
    for (size_t sent = 0; sent < length;) {
        const ssize_t count = send(socket, bytes + sent, length - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

}  // namespace

DamagingProxy::DamagingProxy()
{
    ports_.push_back(kPort);
    for (uint16_t port = kFirstDataPort; port <= kLastDataPort; ++port)
        ports_.push_back(port);
    for (const uint16_t port : ports_) {
        const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), yes = 1;
        setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        const sockaddr_in address = Address(kOurs, port);
        listens_ = listens_ &&
                   bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                   listen(listener, 32) == 0;
        listeners_.push_back(listener);
    }
    thread_ = std::thread{[this] { Run(); }};
}

DamagingProxy::~DamagingProxy()
{
    stop_ = true;
    thread_.join();
    for (std::thread& relay : relays_)
        relay.join();
    for (const int listener : listeners_)
        close(listener);
}

void DamagingProxy::Run()
{
    std::vector<pollfd> waiting;
    for (const int listener : listeners_)
        waiting.push_back({listener, POLLIN, 0});
    for (uint32_t seed = 1; !stop_;) {
        poll(waiting.data(), waiting.size(), kMoment);
        for (size_t i = 0; i < waiting.size(); ++i)
            if (waiting[i].revents) {
                const int client = accept4(waiting[i].fd, nullptr, nullptr, SOCK_CLOEXEC);
                relays_.emplace_back([=, this] { Relay(client, ports_[i], seed); });
                ++seed;
            }
    }
}

void DamagingProxy::Relay(int client, uint16_t port, uint32_t seed) const
{
    const int daemon = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Address(kDaemons, port);
    bool open = connect(daemon, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    Damage damage{seed};
    std::array<uint8_t, 4096> bytes{};
    std::array<pollfd, 2> ends{{{client, POLLIN, 0}, {daemon, POLLIN, 0}}};
    while (open && !stop_) {
        poll(ends.data(), ends.size(), kMoment);
        for (int from = 0; from < 2; ++from) {
            if (!ends[from].revents)
                continue;
            const int to = from == 0 ? daemon : client;
            const ssize_t length = recv(from == 0 ? client : daemon, bytes.data(), bytes.size(), 0);
            if (length == 0 && from == 0) {  // has no more to say, and still listens
                shutdown(to, SHUT_WR);
                ends[from].fd = -1;
                continue;
            }
            const size_t passed = length <= 0 ? 0
                                  : from == 1 ? damage.Apply(bytes.data(), static_cast<size_t>(length))
                                              : static_cast<size_t>(length);
            open = open && length > 0 && SendAll(to, bytes.data(), passed) &&
                   passed == static_cast<size_t>(length);
        }
    }
    close(client);
    close(daemon);
}

}  // namespace vorn::test
