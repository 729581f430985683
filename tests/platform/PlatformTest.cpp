/**
 * The binary contract between the library and the platform: sizes and places in records, constants, identifiers,
 * and the slots of the methods that are called across it. The same file holds for the declarations of this
 * project and for those of the system's SDK.
 */
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "platform.h"
#include "vornwia_types.h"

namespace vorn::test {
namespace {

static_assert(sizeof(WCHAR) == 2 && sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(HRESULT) == 4);
static_assert(sizeof(GUID) == 16 && sizeof(SYSTEMTIME) == 16 && sizeof(PROPID) == 4 && sizeof(BOOL) == 4);
static_assert(sizeof(PROPSPEC) == 16 && offsetof(PROPSPEC, propid) == 8);
static_assert(sizeof(PROPVARIANT) == 24 && offsetof(PROPVARIANT, lVal) == 8);
static_assert(sizeof(CAUL) == 16 && offsetof(CAUL, pElems) == 8);
static_assert(sizeof(STATPROPSTG) == 16 && offsetof(STATPROPSTG, propid) == 8);
static_assert(offsetof(STATPROPSTG, vt) == 12);
static_assert(sizeof(STGMEDIUM) == 24 && offsetof(STGMEDIUM, lpszFileName) == 8);
static_assert(offsetof(STGMEDIUM, pUnkForRelease) == 16);

static_assert(sizeof(WIA_FORMAT_INFO) == 20 && offsetof(WIA_FORMAT_INFO, lTymed) == 16);
static_assert(sizeof(WIA_DATA_CALLBACK_HEADER) == 28);
static_assert(offsetof(WIA_DATA_CALLBACK_HEADER, guidFormatID) == 4);
static_assert(offsetof(WIA_DATA_CALLBACK_HEADER, lBufferSize) == 20);
static_assert(offsetof(WIA_DATA_CALLBACK_HEADER, lPageCount) == 24);
static_assert(sizeof(WIA_DATA_TRANSFER_INFO) == 28);
static_assert(offsetof(WIA_DATA_TRANSFER_INFO, ulBufferSize) == 8);
static_assert(offsetof(WIA_DATA_TRANSFER_INFO, bDoubleBuffer) == 12);
static_assert(sizeof(WiaTransferParams) == 24 && offsetof(WiaTransferParams, lPercentComplete) == 4);
static_assert(offsetof(WiaTransferParams, ulTransferredBytes) == 8);
static_assert(offsetof(WiaTransferParams, hrErrorStatus) == 16);

static_assert(CLSCTX_LOCAL_SERVER == 4 && CLSCTX_INPROC_SERVER == 1 && REGCLS_MULTIPLEUSE == 1);
static_assert(COINIT_APARTMENTTHREADED == 2 && COINIT_MULTITHREADED == 0);
static_assert(TYMED_FILE == 2 && TYMED_ISTREAM == 4 && TYMED_CALLBACK == 128);
static_assert(TYMED_MULTIPAGE_FILE == 256 && TYMED_MULTIPAGE_CALLBACK == 512);
static_assert(STGM_WRITE == 1 && STGM_CREATE == 0x1000);
static_assert(VT_I2 == 2 && VT_R4 == 4 && VT_R8 == 5 && VT_BOOL == 11 && VT_I1 == 16 && VT_UI4 == 19);
static_assert(VT_I8 == 20 && VT_UI8 == 21 && VT_INT == 22 && VT_UINT == 23 && VT_LPWSTR == 31);
static_assert(VT_EMPTY == 0 && VT_I4 == 3 && VT_BSTR == 8 && VT_UI1 == 17 && VT_UI2 == 18 && VT_CLSID == 72);
static_assert(VT_VECTOR == 0x1000 && PRSPEC_LPWSTR == 0 && PRSPEC_PROPID == 1);
static_assert(IT_MSG_DATA_HEADER == 1 && IT_MSG_DATA == 2 && IT_MSG_STATUS == 3 && IT_MSG_TERMINATION == 4);
static_assert(IT_MSG_NEW_PAGE == 5 && IT_STATUS_TRANSFER_FROM_DEVICE == 1 &&
              IT_STATUS_TRANSFER_TO_CLIENT == 4);
static_assert(WIA_TRANSFER_MSG_STATUS == 1 && WIA_TRANSFER_MSG_END_OF_STREAM == 2);
static_assert(WIA_TRANSFER_MSG_END_OF_TRANSFER == 3 && WIA_TRANSFER_ACQUIRE_CHILDREN == 1);
static_assert(WiaItemTypeFolder == 4 && WiaItemTypeRoot == 8 && WiaItemTypeTransfer == 0x2000);
static_assert(WiaItemTypeHasAttachments == 0x8000 && WIA_PROP_WRITE == 2);
static_assert(WIA_RANGE_MIN == 0 && WIA_RANGE_NOM == 1 && WIA_RANGE_MAX == 2 && WIA_RANGE_STEP == 3);
static_assert(WIA_LIST_COUNT == 0 && WIA_LIST_NOM == 1 && WIA_LIST_VALUES == 2);
static_assert(WIA_FLAG_NOM == 0 && WIA_FLAG_VALUES == 1);
static_assert(FEEDER == 1 && FLATBED == 2 && FRONT_ONLY == 0x20 && BACK_ONLY == 0x40);
static_assert(WIA_INTENT_NONE == 0 && StiDeviceTypeDefault == 0);
static_assert(WIA_PROP_RANGE == 0x10 && WIA_PROP_LIST == 0x20 && WIA_PROP_FLAG == 0x40);
static_assert(WIA_DEVINFO_ENUM_LOCAL == 0x10 && WIA_SELECT_DEVICE_NODEFAULT == 1);
static_assert(StiDeviceTypeScanner == 1 && StiDeviceTypeDigitalCamera == 2 &&
              StiDeviceTypeStreamingVideo == 3);

static_assert(WIA_DIP_DEV_ID == 2 && WIA_DIP_DEV_DESC == 4 && WIA_DIP_DEV_TYPE == 5 && WIA_DIP_DEV_NAME == 7);
static_assert(WIA_DPS_DOCUMENT_HANDLING_SELECT == 3088 && WIA_DPS_PAGES == 3096);
static_assert(WIA_IPA_ITEM_NAME == 4098 && WIA_IPA_FORMAT == 4106 && WIA_IPA_TYMED == 4108);
static_assert(WIA_IPA_DATATYPE == 4103 && WIA_IPA_DEPTH == 4104 && WIA_IPA_COMPRESSION == 4107);
static_assert(WIA_IPA_MIN_BUFFER_SIZE == 4118 && WIA_IPA_ITEM_CATEGORY == 4125);
static_assert(WIA_IPS_CUR_INTENT == 6146 && WIA_IPS_XRES == 6147 && WIA_IPS_YRES == 6148);
static_assert(WIA_IPS_XPOS == 6149 && WIA_IPS_YPOS == 6150 && WIA_IPS_XEXTENT == 6151 &&
              WIA_IPS_YEXTENT == 6152);
static_assert(WIA_IPS_BRIGHTNESS == 6154 && WIA_IPS_CONTRAST == 6155);
static_assert(WIA_IPS_ORIENTATION == 6156 && WIA_IPS_ROTATION == 6157);
static_assert(WIA_DPV_IMAGES_DIRECTORY == 3587);

// The SDK's results are no constant expressions.
struct ResultRow {
    const char* name;
    HRESULT result;
    uint32_t value;
};
const ResultRow kResults[] = {
    {"general error", WIA_ERROR_GENERAL_ERROR, 0x80210001},
    {"paper jam", WIA_ERROR_PAPER_JAM, 0x80210002},
    {"paper empty", WIA_ERROR_PAPER_EMPTY, 0x80210003},
    {"offline", WIA_ERROR_OFFLINE, 0x80210005},
    {"busy", WIA_ERROR_BUSY, 0x80210006},
    {"invalid driver response", WIA_ERROR_INVALID_DRIVER_RESPONSE, 0x8021000F},
    {"cover open", WIA_ERROR_COVER_OPEN, 0x80210010},
    {"multi feed", WIA_ERROR_MULTI_FEED, 0x80210014},
    {"no device", WIA_S_NO_DEVICE_AVAILABLE, 0x80210015},
    {"end of media", WIA_STATUS_END_OF_MEDIA, 0x00210001},
};

TEST(Platform, ResultsHaveTheirNumbers)
{
    for (const ResultRow& row : kResults)
        EXPECT_EQ(static_cast<uint32_t>(row.result), row.value) << row.name;
}

struct IdentifierRow {
    const GUID& identifier;
    const WCHAR* text;
};
const IdentifierRow kIdentifiers[] = {
    {CLSID_WiaDevMgr, VORN_TEXT("{A1F4E726-8CF1-11D1-BF92-0060081ED811}")},
    {IID_IWiaDevMgr, VORN_TEXT("{5EB2502A-8CF1-11D1-BF92-0060081ED811}")},
    {CLSID_WiaDevMgr2, VORN_TEXT("{B6C292BC-7C88-41EE-8B54-8EC92617E599}")},
    {IID_IWiaDevMgr2, VORN_TEXT("{79C07CF1-CBDD-41EE-8EC3-F00080CADA7A}")},
    {IID_IWiaPropertyStorage, VORN_TEXT("{98B5E8A0-29CC-491A-AAC0-E6DB4FDCCEB6}")},
    {IID_IWiaDataTransfer, VORN_TEXT("{A6CEF998-A5B0-11D2-A08F-00C04F72DC3C}")},
    {IID_IWiaDataCallback, VORN_TEXT("{A558A866-A5B0-11D2-A08F-00C04F72DC3C}")},
    {IID_IWiaTransfer, VORN_TEXT("{C39D6942-2F4E-4D04-92FE-4EF4D3A1DE5A}")},
    {IID_IWiaTransferCallback, VORN_TEXT("{27D4EAAF-28A6-4CA5-9AAB-E678168B9527}")},
    {IID_IWiaItem2, VORN_TEXT("{6CBA0075-1287-407D-9B77-CF0E030435CC}")},
    {IID_IWiaItem, VORN_TEXT("{4DB1AD10-3391-11D2-9A33-00C04FA36145}")},
    {IID_IEnumWIA_FORMAT_INFO, VORN_TEXT("{81BEFC5B-656D-44F1-B24C-D41D51B4DC81}")},
    {CLSID_WiaVideo, VORN_TEXT("{3908C3CD-4478-4536-AF2F-10C25D4EF89A}")},
    {IID_IWiaVideo, VORN_TEXT("{D52920AA-DB88-41F0-946C-E00DC0A19CFA}")},
    {WiaImgFmt_MEMORYBMP, VORN_TEXT("{B96B3CAA-0728-11D3-9D7B-0000F81EF32E}")},
    {WiaImgFmt_BMP, VORN_TEXT("{B96B3CAB-0728-11D3-9D7B-0000F81EF32E}")},
    {WiaImgFmt_TIFF, VORN_TEXT("{B96B3CB1-0728-11D3-9D7B-0000F81EF32E}")},
    {WIA_CATEGORY_FLATBED, VORN_TEXT("{FB607B1F-43F3-488B-855B-FB703EC342A6}")},
    {WIA_CATEGORY_FEEDER, VORN_TEXT("{FE131934-F84C-42AD-8DA4-6129CDDD7288}")},
};

TEST(Platform, IdentifiersAreThoseThatTheSystemKnows)
{
    int index = 0;
    for (const IdentifierRow& row : kIdentifiers) {
        GUID expected{};
        ASSERT_EQ(CLSIDFromString(const_cast<WCHAR*>(row.text), &expected), S_OK) << index;
        EXPECT_EQ(std::memcmp(&row.identifier, &expected, sizeof expected), 0) << "row " << index;
        ++index;
    }
}

/** The slot that a call through this member pointer takes: the compiler keeps 1 + its offset in the table. */
template <typename Member>
size_t SlotOf(Member member)
{
    static_assert(sizeof member == 2 * sizeof(uintptr_t));
    uintptr_t parts[2];
    std::memcpy(parts, &member, sizeof parts);
    EXPECT_EQ(parts[0] % sizeof(void*), 1u) << "not a virtual method";
    EXPECT_EQ(parts[1], 0u) << "not of the first base";
    return parts[0] / sizeof(void*);
}

struct SlotRow {
    const char* method;
    size_t actual, expected;
};
#define VORN_SLOT(interfaceName, method, slot)                              \
    SlotRow                                                                 \
    {                                                                       \
#interfaceName "::" #method, SlotOf(&interfaceName::method), size_t \
        {                                                                   \
            slot                                                            \
        }                                                                   \
    }

TEST(Platform, MethodsLieInTheSlotsThatOthersCall)
{
    const SlotRow rows[] = {
        VORN_SLOT(IUnknown, AddRef, 1),
        VORN_SLOT(IUnknown, Release, 2),
        VORN_SLOT(IWiaDevMgr, EnumDeviceInfo, 3),
        VORN_SLOT(IWiaDevMgr, CreateDevice, 4),
        VORN_SLOT(IWiaDevMgr, SelectDeviceDlgID, 6),
        VORN_SLOT(IWiaDevMgr2, EnumDeviceInfo, 3),
        VORN_SLOT(IWiaDevMgr2, CreateDevice, 4),
        VORN_SLOT(IWiaDevMgr2, SelectDeviceDlgID, 6),
        VORN_SLOT(IWiaDevMgr2, GetImageDlg, 10),
        VORN_SLOT(IEnumWIA_DEV_INFO, Next, 3),
        VORN_SLOT(IEnumWIA_DEV_INFO, GetCount, 7),
        VORN_SLOT(IWiaItem, GetItemType, 3),
        VORN_SLOT(IWiaItem, EnumChildItems, 5),
        VORN_SLOT(IWiaItem, DeviceDlg, 10),
        VORN_SLOT(IWiaItem, GetRootItem, 12),
        VORN_SLOT(IWiaItem2, EnumChildItems, 5),
        VORN_SLOT(IWiaItem2, GetItemCategory, 7),
        VORN_SLOT(IWiaItem2, GetItemType, 8),
        VORN_SLOT(IWiaItem2, GetRootItem, 15),
        VORN_SLOT(IWiaItem2, Diagnostic, 18),
        VORN_SLOT(IEnumWiaItem, Next, 3),
        VORN_SLOT(IEnumWiaItem, GetCount, 7),
        VORN_SLOT(IEnumWiaItem2, Next, 3),
        VORN_SLOT(IEnumWiaItem2, GetCount, 7),
        VORN_SLOT(IWiaPropertyStorage, ReadMultiple, 3),
        VORN_SLOT(IWiaPropertyStorage, WriteMultiple, 4),
        VORN_SLOT(IWiaPropertyStorage, Enum, 11),
        VORN_SLOT(IWiaPropertyStorage, GetPropertyAttributes, 15),
        VORN_SLOT(IWiaPropertyStorage, GetCount, 16),
        VORN_SLOT(IEnumSTATPROPSTG, Next, 3),
        VORN_SLOT(IEnumSTATPROPSTG, Clone, 6),
        VORN_SLOT(IWiaDataTransfer, idtGetData, 3),
        VORN_SLOT(IWiaDataTransfer, idtGetBandedData, 4),
        VORN_SLOT(IWiaDataTransfer, idtEnumWIA_FORMAT_INFO, 6),
        VORN_SLOT(IWiaTransfer, Download, 3),
        VORN_SLOT(IWiaTransfer, Cancel, 5),
        VORN_SLOT(IWiaTransfer, EnumWIA_FORMAT_INFO, 6),
        VORN_SLOT(IEnumWIA_FORMAT_INFO, Next, 3),
        VORN_SLOT(IEnumWIA_FORMAT_INFO, GetCount, 7),
        VORN_SLOT(IWiaDataCallback, BandedDataCallback, 3),
        VORN_SLOT(IWiaTransferCallback, TransferCallback, 3),
        VORN_SLOT(IWiaTransferCallback, GetNextStream, 4),
        VORN_SLOT(IWiaVideo, put_ImagesDirectory, 6),
        VORN_SLOT(IWiaVideo, CreateVideoByWiaDevID, 7),
        VORN_SLOT(IWiaVideo, DestroyVideo, 10),
        VORN_SLOT(IWiaVideo, TakePicture, 13),
        VORN_SLOT(IWiaVideo, ResizeVideo, 14),
        VORN_SLOT(IStream, Seek, 5),
        VORN_SLOT(IStream, SetSize, 6),
        VORN_SLOT(IStream, Clone, 13),
    };
    for (const SlotRow& row : rows)
        EXPECT_EQ(row.actual, row.expected) << row.method;
}

}  // namespace
}  // namespace vorn::test
