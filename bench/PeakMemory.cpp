#include "PeakMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace vorn::bench {
namespace {

/** A line of the process's status, "VmRSS:  1234 kB", in bytes. */
int64_t StatusBytes(const std::string& name)
{
    std::ifstream status{"/proc/self/status"};
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":"))
            return std::stoll(line.substr(name.size() + 1)) * 1024;
    }
    throw std::runtime_error{"the kernel does not tell " + name};
}

/** Makes the kernel forget the largest size so far: from now on it is the present one. */
void ForgetPeak()
{
    std::ofstream file{"/proc/self/clear_refs"};
    file << 5;
    if (!file.flush())
        throw std::runtime_error{"the kernel does not forget the peak of memory"};
}

}  // namespace

int64_t PeakBytes(const std::function<void()>& work)
{
    ForgetPeak();
    const int64_t before = StatusBytes("VmRSS");
    work();
    return StatusBytes("VmHWM") - before;
}

}  // namespace vorn::bench
