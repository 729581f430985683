#include "io/NewFile.h"

#include <chrono>

namespace vorn::fil {
namespace {

/** A name in the directory of `name` that hardly another file has; `attempt` tells tries apart. */
WString SiblingOf(WStringView name, const void* salt, uint32_t attempt)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    uint64_t number = (static_cast<uint64_t>(now) ^ reinterpret_cast<uintptr_t>(salt)) + attempt;
    number *= 0x9E3779B97F4A7C15;  // spreads what differs over all digits
#ifdef _WIN32
    const size_t directory = name.find_last_of(VORN_TEXT("/\\:")) + 1;
#else
    const size_t directory = name.rfind(u'/') + 1;
#endif
    WString sibling{name.substr(0, directory)};
    sibling += VORN_TEXT(".vornwia-");
    for (int digit = 0; digit < 16; ++digit, number >>= 4)
        sibling += VORN_TEXT("0123456789abcdef")[number & 15];
    return sibling;
}

}  // namespace

NewFile::~NewFile()
{
    file_.Close();
    if (made_)
        File::Remove(*systemName_);
}

int32_t NewFile::Create(const WCHAR* name) noexcept
try {
    constexpr uint32_t kAttempts = 100;
    name_ = name;
    int32_t status = FIL_ERR_ACCESS;
    for (uint32_t attempt = 0; attempt < kAttempts && status == FIL_ERR_ACCESS; ++attempt) {
        sibling_ = SiblingOf(name, this, attempt);
        systemName_.emplace(sibling_.c_str());
        status = *systemName_ ? file_.Open(sibling_.c_str(), File::Mode::CreateNew) : FIL_ERR_OUT_OF_MEMORY;
    }
    made_ = file_.IsOpen();
    return status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

int32_t NewFile::TakeName() noexcept
{
    int32_t status = file_.Close();
    if (status == FIL_SUCCESS)
        status = File::Rename(sibling_.c_str(), name_);
    if (status == FIL_SUCCESS)
        made_ = false;
    return status;
}

}  // namespace vorn::fil
