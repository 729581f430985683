/**
 * What the library asks of the system below it: streams over memory blocks, property values, file names. The same
 * file proves the runtime of this project and that of the system's own.
 */
#include <cstring>

#include <gtest/gtest.h>

#include "support/Files.h"

namespace vorn::test {
namespace {

TEST(Runtime, AStreamFillsTheBlockThatItIsGivenAndLeavesIt)
{
    for (const bool sized : {true, false}) {
        SCOPED_TRACE(sized);
        const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 0);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(GlobalLock(block), nullptr) << "nothing has been written";
        ComPtr<IStream> stream;
        ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), S_OK);
        constexpr ULONG kChunk = 1000, kChunks = 100;
        if (sized) {
            EXPECT_EQ(stream->SetSize({.QuadPart = kChunk * kChunks}), S_OK);
            EXPECT_EQ(GlobalSize(block), kChunk * kChunks);
        }
        char chunk[kChunk];
        for (ULONG i = 0; i < kChunks; ++i) {
            std::memset(chunk, static_cast<int>(i), kChunk);
            ULONG written = 0;
            ASSERT_EQ(stream->Write(chunk, kChunk, &written), S_OK);
            ASSERT_EQ(written, kChunk);
        }
        EXPECT_EQ(stream->Seek({.QuadPart = 5}, STREAM_SEEK_SET, nullptr), S_OK);
        EXPECT_EQ(stream->Write("x", 1, nullptr), S_OK);
        HGLOBAL held = nullptr;
        EXPECT_EQ(GetHGlobalFromStream(stream.Get(), &held), S_OK);
        EXPECT_EQ(held, block);
        stream.Reset();
        ASSERT_GE(GlobalSize(block), kChunk * kChunks);
        const auto* data = static_cast<const char*>(GlobalLock(block));
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data[5], 'x');
        for (ULONG i = 1; i < kChunks; ++i)
            ASSERT_TRUE(data[i * kChunk] == char(i) && data[i * kChunk + kChunk - 1] == char(i)) << i;
        GlobalUnlock(block);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}

TEST(Runtime, AFileStreamReplacesTheFile)
{
    const ScratchFolder folder;
    const auto file = folder.Path() / "page";
    WriteBytes(file, "what was there before");
    ComPtr<IStream> stream;
    ASSERT_EQ(SHCreateStreamOnFileW(Wide(file).c_str(), STGM_CREATE | STGM_WRITE, stream.Out()), S_OK);
    EXPECT_EQ(stream->Write("page", 4, nullptr), S_OK);
    stream.Reset();
    EXPECT_EQ(BytesOf(file), "page");
    EXPECT_EQ(_waccess(Wide(file).c_str(), 0), 0);
    EXPECT_TRUE(CopyFileW(Wide(file).c_str(), Wide(folder.Path() / "copy").c_str(), TRUE));
    EXPECT_FALSE(CopyFileW(Wide(file).c_str(), Wide(folder.Path() / "copy").c_str(), TRUE)) << "it exists";
    EXPECT_TRUE(DeleteFileW(Wide(file).c_str()));
    EXPECT_EQ(NamesIn(folder.Path()), std::set<std::string>{"copy"});
}

/** A value of a type that devices give, with `count` elements of `size` zero bytes. */
PROPVARIANT ValueOf(int type, ULONG count, size_t size)
{
    PROPVARIANT value{};
    value.vt = static_cast<VARTYPE>(type);
    void* const block = CoTaskMemAlloc(count * size);
    std::memset(block, 0, count * size);
    if (type & VT_VECTOR)
        value.caub = {count, static_cast<UCHAR*>(block)};
    else
        value.puuid = static_cast<CLSID*>(block);
    return value;
}

TEST(Runtime, ValuesAreCopiedWholeAndClearedOnce)
{
    PROPVARIANT text{};
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(VORN_TEXT("scanner"));
    PROPVARIANT number{};
    number.vt = VT_I4;
    number.lVal = 7;
    PROPVARIANT values[] = {text,
                            number,
                            ValueOf(VT_CLSID, 1, sizeof(GUID)),
                            ValueOf(VT_VECTOR | VT_UI1, 9, 1),
                            ValueOf(VT_VECTOR | VT_UI2, 8, 2),
                            ValueOf(VT_VECTOR | VT_I4, 7, 4),
                            ValueOf(VT_VECTOR | VT_CLSID, 3, sizeof(GUID)),
                            ValueOf(VT_VECTOR | VT_BSTR, 2, sizeof(BSTR))};
    values[7].cabstr.pElems[1] = SysAllocString(VORN_TEXT("feeder"));
    constexpr ULONG kCount = sizeof values / sizeof values[0];
    PROPVARIANT copies[kCount] = {};
    for (ULONG i = 0; i < kCount; ++i) {
        EXPECT_EQ(PropVariantCopy(&copies[i], &values[i]), S_OK) << i;
        EXPECT_EQ(copies[i].vt, values[i].vt) << i;
        if (i != 1) {
            EXPECT_NE(i > 2 ? static_cast<void*>(copies[i].caub.pElems) : copies[i].puuid,
                      i > 2 ? static_cast<void*>(values[i].caub.pElems) : values[i].puuid)
                << i << " shares its block";
        }
    }
    EXPECT_EQ(FreePropVariantArray(kCount, values), S_OK);
    for (const PROPVARIANT& value : values)
        EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(WStringView{copies[0].bstrVal}, VORN_TEXT("scanner"));
    EXPECT_EQ(copies[1].lVal, 7);
    EXPECT_EQ(copies[5].cal.cElems, 7u);
    EXPECT_EQ(WStringView{copies[7].cabstr.pElems[1]}, VORN_TEXT("feeder"));
    for (PROPVARIANT& copy : copies)
        EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(Runtime, NamesArePutTogetherFromTheirParts)
{
    WCHAR folder[64] = {}, name[64] = {}, extension[64] = {}, whole[64] = {};
    EXPECT_EQ(_wsplitpath_s(VORN_TEXT("a b/scan.v2.tif"), nullptr, 0, folder, 64, name, 64, extension, 64),
              0);
    EXPECT_EQ(swprintf_s(whole, 64, VORN_TEXT("%s%s%s (%u)%s"), VORN_TEXT(""), folder, name, 3u, extension),
              19);
    EXPECT_EQ(WStringView{whole}, VORN_TEXT("a b/scan.v2 (3).tif"));
}

}  // namespace
}  // namespace vorn::test
