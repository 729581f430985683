// The platform's numbers for the properties that the tool sets, and for their values.
#pragma once

#include <cstdint>

#include "vornwia_types.h"

namespace vornscan {

constexpr uint32_t kDocumentHandlingSelect = 3088;
constexpr uint32_t kPages = 3096;
constexpr uint32_t kDataType = 4103;
constexpr uint32_t kDepth = 4104;
constexpr uint32_t kFormat = 4106;
constexpr uint32_t kMedium = 4108;
constexpr uint32_t kItemCategory = 4125;

/** What tells the scanned area along one axis. */
struct Axis {
    uint32_t resolution;
    uint32_t position;
    uint32_t extent;
};
constexpr Axis kAxes[] = {{6147, 6149, 6151}, {6148, 6150, 6152}};

constexpr int32_t kSelectFeeder = 0x01;
constexpr int32_t kSelectFlatbed = 0x02;
constexpr int32_t kSelectDuplex = 0x04;
constexpr int32_t kSelectFrontOnly = 0x20;

constexpr int32_t kMediumFile = 2;
constexpr int32_t kMediumCallback = 128;

constexpr GUID kCategoryFlatbed = {
    0xFB607B1F, 0x43F3, 0x488B, {0x85, 0x5B, 0xFB, 0x70, 0x3E, 0xC3, 0x42, 0xA6}};
constexpr GUID kCategoryFeeder = {
    0xFE131934, 0xF84C, 0x42AD, {0x8D, 0xA4, 0x61, 0x29, 0xCD, 0xDD, 0x72, 0x88}};

/** Bitmaps in memory: what each generation calls them. */
constexpr GUID kFormatMemoryBmp = {
    0xB96B3CAA, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
constexpr GUID kFormatBmp = {0xB96B3CAB, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

inline constexpr const WCHAR* kVirtualPagesFolder = VORN_TEXT("Virtual Pages Folder");

}  // namespace vornscan
