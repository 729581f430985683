// The platform's numbers for the properties that the tool sets or shows, and for their values.
#pragma once

#include <cstdint>

#include "vornwia_types.h"

namespace vornscan {

constexpr uint32_t kHandlingCapabilities = 3086;
constexpr uint32_t kHandlingStatus = 3087;
constexpr uint32_t kHandlingSelect = 3088;
constexpr uint32_t kPages = 3096;
constexpr uint32_t kDataType = 4103;
constexpr uint32_t kDepth = 4104;
constexpr uint32_t kFormat = 4106;
constexpr uint32_t kCompression = 4107;
constexpr uint32_t kMedium = 4108;
constexpr uint32_t kItemCategory = 4125;
constexpr uint32_t kXResolution = 6147;
constexpr uint32_t kYResolution = 6148;
constexpr uint32_t kXPosition = 6149;
constexpr uint32_t kYPosition = 6150;
constexpr uint32_t kXExtent = 6151;
constexpr uint32_t kYExtent = 6152;
constexpr uint32_t kBrightness = 6154;
constexpr uint32_t kContrast = 6155;
constexpr uint32_t kRotation = 6157;

constexpr int32_t kDetectsPaper = 0x10;  ///< of the capabilities
constexpr int32_t kPaperReady = 0x01;    ///< of the status

constexpr int32_t kDataLineart = 0;
constexpr int32_t kDataGray = 2;
constexpr int32_t kDataColor = 3;

constexpr GUID kCategoryFlatbed = {
    0xFB607B1F, 0x43F3, 0x488B, {0x85, 0x5B, 0xFB, 0x70, 0x3E, 0xC3, 0x42, 0xA6}};
constexpr GUID kCategoryFeeder = {
    0xFE131934, 0xF84C, 0x42AD, {0x8D, 0xA4, 0x61, 0x29, 0xCD, 0xDD, 0x72, 0x88}};

/** The platform's image formats differ in their first number only. */
constexpr GUID ImageFormat(uint32_t number)
{
    return {number, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
}
/** Bitmaps in memory: what each generation calls them. */
constexpr GUID kFormatMemoryBmp = ImageFormat(0xB96B3CAA);
constexpr GUID kFormatBmp = ImageFormat(0xB96B3CAB);
constexpr GUID kFormatJpeg = ImageFormat(0xB96B3CAE);
constexpr GUID kFormatPng = ImageFormat(0xB96B3CAF);
constexpr GUID kFormatTiff = ImageFormat(0xB96B3CB1);

inline bool Same(const GUID& a, const GUID& b)
{
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i])
            return false;
    return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
}

inline constexpr const WCHAR* kJpegQuality = VORN_TEXT("JPEG Quality");
inline constexpr const WCHAR* kVirtualPagesFolder = VORN_TEXT("Virtual Pages Folder");

}  // namespace vornscan
