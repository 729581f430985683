#include "PictureFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace vorn::video {
namespace {

bool WriteAll(int file, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written == -1 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return true;
}

std::string NumberedName(uint32_t number)
{
    return number == 0 ? "Picture.jpg" : "Picture " + std::to_string(number) + ".jpg";
}

}  // namespace

HRESULT CheckDirectory(const std::string& directory)
{
    std::error_code error;
    if (!std::filesystem::is_directory(directory, error))
        return WIA_ERROR_DESTINATION;
    return access(directory.c_str(), W_OK | X_OK) == 0 ? S_OK : E_ACCESSDENIED;
}

HRESULT WritePicture(const std::string& directory, std::span<const uint8_t> picture, uint32_t& number,
                     std::string& path)
{
    if (const HRESULT result = CheckDirectory(directory); FAILED(result))
        return result;
    int file = -1;
    do {
        path = (std::filesystem::path{directory} / NumberedName(number++)).string();
        file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file == -1 && errno == EEXIST);
    if (file == -1)
        return errno == EACCES ? E_ACCESSDENIED : WIA_ERROR_DESTINATION;

    const bool written = WriteAll(file, picture);
    if (close(file) == 0 && written)
        return S_OK;
    unlink(path.c_str());
    return WIA_ERROR_DESTINATION;
}

}  // namespace vorn::video
