#include "System.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace vornscan {

#ifdef _WIN32

bool ErrorsGoToTerminal()
{
    return _isatty(2) != 0;
}

bool MayWrite(const std::filesystem::path& path)
{
    constexpr int kWrite = 2;
    return _waccess(path.c_str(), kWrite) == 0;
}

#else

bool ErrorsGoToTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}

bool MayWrite(const std::filesystem::path& path)
{
    return access(path.c_str(), W_OK) == 0;
}

#endif

}  // namespace vornscan
