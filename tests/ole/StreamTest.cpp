#include <algorithm>
#include <random>

#include "OleTest.h"

namespace vorn::test {
namespace {

LARGE_INTEGER Move(LONGLONG offset)
{
    return {.QuadPart = offset};
}

ULARGE_INTEGER Size(ULONGLONG size)
{
    return {.QuadPart = size};
}

std::string ReadAll(IStream& stream)
{
    STATSTG stat;
    EXPECT_EQ(stream.Stat(&stat, STATFLAG_NONAME), S_OK);
    std::string bytes(stat.cbSize.QuadPart, '#');
    ULONG read = 0;
    EXPECT_EQ(stream.Seek(Move(0), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream.Read(bytes.data(), ULONG(bytes.size()), &read), S_OK);
    EXPECT_EQ(read, bytes.size());
    return bytes;
}

/** Does the same to a stream and to a text with a position, at random. */
void CompareWithText(IStream& stream, uint32_t seed)
{
    SCOPED_TRACE(seed);
    std::mt19937 random{seed};
    const auto below = [&](uint32_t limit) { return uint32_t(random() % limit); };
    std::string text;
    uint64_t position = 0;
    for (int i = 0; i < 400; ++i) {
        std::string data(below(900), '#');
        std::generate(data.begin(), data.end(), [&] { return char(random()); });
        const uint32_t operation = below(4);
        ULONG done = 0;
        if (operation == 0) {
            ASSERT_EQ(stream.Write(data.data(), ULONG(data.size()), &done), S_OK);
            ASSERT_EQ(done, data.size());
            if (done > 0)
                text.resize(std::max(text.size(), position + done));
            std::copy(data.begin(), data.end(), text.begin() + ptrdiff_t(position));
            position += done;
        } else if (operation == 1) {
            ASSERT_EQ(stream.Read(data.data(), ULONG(data.size()), &done), S_OK);
            ASSERT_EQ(data.substr(0, done), text.substr(std::min(position, text.size()), data.size()));
            position += done;
        } else if (operation == 2) {
            const uint64_t bases[] = {0, position, text.size()};
            const DWORD origin = below(3);
            const LONGLONG move = LONGLONG(below(9000)) - 3000, target = LONGLONG(bases[origin]) + move;
            ULARGE_INTEGER now = Size(position);
            ASSERT_EQ(stream.Seek(Move(move), origin, &now), target < 0 ? STG_E_INVALIDFUNCTION : S_OK);
            position = target < 0 ? position : uint64_t(target);
            ASSERT_EQ(now.QuadPart, position);
        } else {
            text.resize(below(6000));
            ASSERT_EQ(stream.SetSize(Size(text.size())), S_OK);
        }
    }
    EXPECT_EQ(ReadAll(stream), text);
}

class Streams : public OleTest {
protected:
    static ComPtr<IStream> InMemory()
    {
        ComPtr<IStream> stream;
        EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stream.Out()), S_OK);
        return stream;
    }

    WString Named(const char* name) const { return Wide(folder_.Path() / name); }
    ComPtr<IStream> InFile(DWORD mode) const
    {
        ComPtr<IStream> stream;
        EXPECT_EQ(SHCreateStreamOnFileW(Named("file").c_str(), mode, stream.Out()), S_OK);
        return stream;
    }

    const ScratchFolder folder_;
};

TEST_F(Streams, BehaveLikeATextWithAPosition)
{
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        CompareWithText(*InMemory().Get(), seed);
        CompareWithText(*InFile(STGM_CREATE | STGM_READWRITE).Get(), seed);
    }
}

TEST_F(Streams, BlockGrowsRarelyAndNotBeyondAPreparedSize)
{
    const ComPtr<IStream> stream = InMemory();
    HGLOBAL block = nullptr;
    ASSERT_EQ(GetHGlobalFromStream(stream.Get(), &block), S_OK);
    int growths = 0;
    SIZE_T known = GlobalSize(block);
    BYTE data[64] = {};
    for (int i = 0; i < 200000; ++i) {
        ASSERT_EQ(stream->Write(data, sizeof(data), nullptr), S_OK);
        growths += GlobalSize(block) != std::exchange(known, GlobalSize(block));
    }
    EXPECT_LE(growths, 16) << "growth is not by factors";
    EXPECT_EQ(ReadAll(*stream.Get()).size(), 12800000u) << "the block's room is taken for data";

    ASSERT_EQ(stream->SetSize(Size(30000000)), S_OK);
    ASSERT_EQ(stream->Seek(Move(30000000 - sizeof(data)), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write(data, sizeof(data), nullptr), S_OK);
    EXPECT_EQ(GlobalSize(block), 30000000u);
}

TEST_F(Streams, CloneSharesTheBytesAndHasItsOwnPosition)
{
    for (const ComPtr<IStream>& stream : {InMemory(), InFile(STGM_CREATE | STGM_READWRITE)}) {
        ASSERT_EQ(stream->Write("abc", 3, nullptr), S_OK);
        ComPtr<IStream> clone;
        ASSERT_EQ(stream->Clone(clone.Out()), S_OK);
        ASSERT_EQ(clone->Write("de", 2, nullptr), S_OK);
        ASSERT_EQ(stream->Write("X", 1, nullptr), S_OK);
        EXPECT_EQ(ReadAll(*clone.Get()), "abcXe");
    }
}

TEST_F(Streams, CopyToAGrowingCloneOfItselfEnds)
{
    const ComPtr<IStream> stream = InMemory();
    const std::string data(100000, 'x');
    stream->Write(data.data(), ULONG(data.size()), nullptr);
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.Out()), S_OK);
    stream->Seek(Move(10), STREAM_SEEK_SET, nullptr);
    ULARGE_INTEGER read{}, written{};
    ASSERT_EQ(stream->CopyTo(clone.Get(), Size(UINT64_MAX), &read, &written), S_OK);
    EXPECT_EQ(read.QuadPart, 99990u);
    EXPECT_EQ(written.QuadPart, 99990u);
    EXPECT_EQ(ReadAll(*clone.Get()), std::string(199990, 'x'));
}

TEST_F(Streams, BadArgumentsAreRefused)
{
    const ComPtr<IStream> stream = InMemory();
    ULONG count = 7;
    EXPECT_EQ(stream->Write(nullptr, 1, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Write(nullptr, 0, nullptr), S_OK) << "nothing needs no memory";
    EXPECT_EQ(stream->Read(nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(stream->Seek(Move(0), 3, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Stat(nullptr, 0), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Clone(nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->CopyTo(nullptr, Size(1), nullptr, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Seek(Move(INT64_MAX), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Seek(Move(1), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION) << "the position wraps";
    EXPECT_EQ(stream->Write("x", 1, &count), STG_E_MEDIUMFULL);
    EXPECT_EQ(stream->SetSize(Size(UINT64_MAX)), E_OUTOFMEMORY);
    EXPECT_EQ(ReadAll(*stream.Get()), "");
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, nullptr), E_INVALIDARG);
}

TEST_F(Streams, StreamOverABlockLeavesItToItsOwnerAndOutlivesIt)
{
    const HGLOBAL block = GlobalAlloc(GHND, 3);
    std::memcpy(GlobalLock(block), "abc", 3);
    GlobalUnlock(block);
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), S_OK);
    stream.Reset();
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), S_OK);
    EXPECT_EQ(ReadAll(*stream.Get()), "abc");
    HGLOBAL held = nullptr;
    EXPECT_EQ(GetHGlobalFromStream(stream.Get(), &held), S_OK);
    EXPECT_EQ(held, block);

    EXPECT_EQ(GlobalFree(block), nullptr) << "the stream freed a block that is not its own";
    const HGLOBAL other = GlobalAlloc(GHND, 8192);
    ULONG done = 7;
    EXPECT_EQ(stream->Write("x", 1, &done), STG_E_REVERTED);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(ReadAll(*stream.Get()), "");
    GlobalFree(other);
    EXPECT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), E_INVALIDARG);
}

TEST_F(Streams, FileModesAreKept)
{
    char byte = 0;
    HGLOBAL block = &block;
    EXPECT_EQ(InFile(STGM_CREATE | STGM_WRITE)->Write("abc", 3, nullptr), S_OK);
    EXPECT_EQ(InFile(STGM_WRITE)->Read(&byte, 1, nullptr), STG_E_ACCESSDENIED);
    EXPECT_EQ(InFile(STGM_READ)->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
    EXPECT_EQ(InFile(STGM_READ)->SetSize(Size(0)), STG_E_ACCESSDENIED);
    EXPECT_EQ(GetHGlobalFromStream(InFile(STGM_READ).Get(), &block), E_INVALIDARG);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(ReadAll(*InFile(STGM_READWRITE | STGM_SHARE_DENY_NONE).Get()), "abc");

    STATSTG stat;
    ASSERT_EQ(InFile(STGM_READ)->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(WStringView{stat.pwcsName}, Named("file"));
    CoTaskMemFree(stat.pwcsName);
    EXPECT_EQ(ReadAll(*InFile(STGM_READWRITE | STGM_CREATE).Get()), "") << "the old file is not emptied";
}

TEST_F(Streams, FullDeviceIsReported)
{
    ComPtr<IStream> stream;
    ASSERT_EQ(SHCreateStreamOnFileW(u"/dev/full", STGM_WRITE, stream.Out()), S_OK);
    ULONG written = 7;
    EXPECT_EQ(stream->Write("abc", 3, &written), STG_E_MEDIUMFULL);
    EXPECT_EQ(written, 0u);
}

TEST_F(Streams, FilesThatCannotBeOpenedSayWhy)
{
    const struct {
        WString name;
        DWORD mode;
        HRESULT expected;
    } kRows[] = {
        {Named("missing"), STGM_READ, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {Named("missing"), STGM_READWRITE, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {Named("no/such/directory"), STGM_CREATE | STGM_WRITE, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {Named(""), STGM_READ, E_ACCESSDENIED},
        {Named(""), STGM_CREATE | STGM_WRITE, E_ACCESSDENIED},
        {u"", STGM_READ, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {Named("x"), 3, E_INVALIDARG},
        {Named("x"), STGM_CREATE | STGM_TRANSACTED, E_INVALIDARG},
    };
    for (const auto& row : kRows) {
        ComPtr<IStream> stream;
        EXPECT_EQ(SHCreateStreamOnFileW(row.name.c_str(), row.mode, stream.Out()), row.expected);
        EXPECT_FALSE(stream);
    }
}

}  // namespace
}  // namespace vorn::test
