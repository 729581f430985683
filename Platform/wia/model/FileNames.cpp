#include "FileNames.h"

#include <algorithm>
#include <utility>

#ifdef _WIN32
#include <io.h>
#endif

namespace vorn::wia {

WStringView ExtensionOf(REFGUID format) noexcept
{
    const std::pair<const GUID&, const WCHAR*> extensions[] = {
        {WiaImgFmt_TIFF, VORN_TEXT(".tif")},
        {WiaImgFmt_JPEG, VORN_TEXT(".jpg")},
        {WiaImgFmt_PNG, VORN_TEXT(".png")},
    };
    for (const auto& [known, extension] : extensions) {
        if (IsEqualGUID(format, known))
            return extension;
    }
    return VORN_TEXT(".bmp");
}

WString JoinPath(WStringView folder, WStringView name)
{
    WString path{folder};
    if (!path.empty() && path.back() != u'/' && path.back() != u'\\')
        path += VORN_TEXT("/");
    path += name;
    return path;
}

WString FreeFileName(WStringView folder, WStringView name, WStringView extension)
{
    const WString start = JoinPath(folder, name);
    WString candidate = start + WString{extension};
    for (uint32_t number = 1; _waccess(candidate.c_str(), 0) == 0; ++number)
        candidate = start + VORN_TEXT(" ") + Digits(number) + WString{extension};
    return candidate;
}

WString TempFolder()
{
    const DWORD capacity = GetTempPathW(0, nullptr);
    WString folder(capacity, 0);
    const DWORD length = capacity ? GetTempPathW(capacity, folder.data()) : 0;
    folder.resize(length < capacity ? length : 0);
    return folder;
}

WString Digits(uint32_t number)
{
    WString digits;
    do {
        digits += static_cast<WCHAR>(u'0' + number % 10);
        number /= 10;
    } while (number > 0);
    std::reverse(digits.begin(), digits.end());
    return digits;
}

}  // namespace vorn::wia
