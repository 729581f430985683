#include <algorithm>
#include <filesystem>
#include <random>
#include <vector>

#include "OleTest.h"

namespace vorn::test {
namespace {

using Bytes = std::vector<BYTE>;

/** What a stream should hold and where it should stand. */
struct Model {
    Bytes bytes;
    uint64_t position = 0;

    Bytes Read(size_t count)
    {
        const size_t begin = std::min<size_t>(position, bytes.size());
        const size_t end = std::min(begin + count, bytes.size());
        position = std::max<uint64_t>(position, end);
        return {bytes.begin() + ptrdiff_t(begin), bytes.begin() + ptrdiff_t(end)};
    }

    void Write(const Bytes& data)
    {
        if (data.empty())
            return;
        bytes.resize(std::max(bytes.size(), position + data.size()));
        std::copy(data.begin(), data.end(), bytes.begin() + ptrdiff_t(position));
        position += data.size();
    }
};

Bytes ReadAll(IStream& stream)
{
    STATSTG stat;
    EXPECT_EQ(stream.Stat(&stat, STATFLAG_NONAME), S_OK);
    Bytes bytes(stat.cbSize.QuadPart);
    ULONG read = 0;
    EXPECT_EQ(stream.Seek(Move(0), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream.Read(bytes.data(), ULONG(bytes.size()), &read), S_OK);
    EXPECT_EQ(read, bytes.size());
    return bytes;
}

/** One random operation on a stream and its model. */
void Step(IStream& stream, Model& model, std::mt19937& random)
{
    const auto below = [&](uint32_t limit) { return uint32_t(random() % limit); };
    ULONG done = 0;
    switch (below(6)) {
        case 0:
        case 1: {
            Bytes data(below(700));
            std::generate(data.begin(), data.end(), [&] { return BYTE(random()); });
            ASSERT_EQ(stream.Write(data.data(), ULONG(data.size()), &done), S_OK);
            ASSERT_EQ(done, data.size());
            return model.Write(data);
        }
        case 2: {
            const size_t wanted = below(900);
            Bytes data(wanted);
            ASSERT_EQ(stream.Read(data.data(), ULONG(data.size()), &done), S_OK);
            data.resize(done);
            ASSERT_EQ(data, model.Read(wanted));
            return;
        }
        case 3:
        case 4: {
            const DWORD origin = below(3);
            const LONGLONG move = LONGLONG(below(9000)) - 3000;
            const uint64_t bases[] = {0, model.position, model.bytes.size()};
            const LONGLONG target = LONGLONG(bases[origin]) + move;
            ULARGE_INTEGER position = Size(0);
            ASSERT_EQ(stream.Seek(Move(move), origin, below(2) ? &position : nullptr),
                      target < 0 ? STG_E_INVALIDFUNCTION : S_OK);
            if (target >= 0)
                model.position = uint64_t(target);
            return;
        }
        default: {
            const size_t size = below(6000);
            ASSERT_EQ(stream.SetSize(Size(size)), S_OK);
            model.bytes.resize(size);
            return;
        }
    }
}

void CompareWithModel(IStream& stream, uint32_t seed)
{
    SCOPED_TRACE(seed);
    std::mt19937 random{seed};
    Model model;
    for (int i = 0; i < 400 && !testing::Test::HasFatalFailure(); ++i)
        Step(stream, model, random);
    EXPECT_EQ(ReadAll(stream), model.bytes);
}

class Streams : public OleTest {
protected:
    static ComPtr<IStream> InMemory()
    {
        ComPtr<IStream> stream;
        EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stream.Out()), S_OK);
        return stream;
    }

    /** A file stream in the process's temporary directory. */
    static ComPtr<IStream> InFile(DWORD mode, LPCWSTR name = u"\u00E9tude.bin")
    {
        ComPtr<IStream> stream;
        EXPECT_EQ(SHCreateStreamOnFileW(Named(name).c_str(), mode, stream.Out()), S_OK);
        return stream;
    }

    static WString Named(LPCWSTR name)
    {
        WCHAR directory[260];
        const DWORD length = GetTempPathW(260, directory);
        return WString{directory, length} + name;
    }
};

TEST_F(Streams, InMemoryBehaveLikeAVectorOfBytes)
{
    for (uint32_t seed = 1; seed <= 40; ++seed)
        CompareWithModel(*InMemory().Get(), seed);
}

TEST_F(Streams, InFilesBehaveLikeAVectorOfBytes)
{
    for (uint32_t seed = 1; seed <= 10; ++seed)
        CompareWithModel(*InFile(STGM_CREATE | STGM_READWRITE).Get(), seed);
    EXPECT_TRUE(DeleteFileW(Named(u"\u00E9tude.bin").c_str()));
}

TEST_F(Streams, SmallWritesGrowTheBlockRarely)
{
    const ComPtr<IStream> stream = InMemory();
    HGLOBAL block = nullptr;
    ASSERT_EQ(GetHGlobalFromStream(stream.Get(), &block), S_OK);
    int growths = 0;
    SIZE_T known = GlobalSize(block);
    BYTE data[64] = {};
    for (int i = 0; i < 200000; ++i) {  // 12.8 MB
        ASSERT_EQ(stream->Write(data, sizeof(data), nullptr), S_OK);
        growths += GlobalSize(block) != std::exchange(known, GlobalSize(block));
    }
    EXPECT_LE(growths, 16) << "growth is not by factors";
    STATSTG stat;
    ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 12800000u) << "the block's room is taken for data";
}

TEST_F(Streams, PreparedSizeIsNotGrownAgain)
{
    const ComPtr<IStream> stream = InMemory();
    HGLOBAL block = nullptr;
    GetHGlobalFromStream(stream.Get(), &block);
    ASSERT_EQ(stream->SetSize(Size(20000000)), S_OK);
    EXPECT_EQ(GlobalSize(block), 20000000u);
    const void* const data = GlobalLock(block);
    GlobalUnlock(block);
    const Bytes band(1000000, 0xA5);
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(stream->Write(band.data(), ULONG(band.size()), nullptr), S_OK);
    EXPECT_EQ(GlobalLock(block), data);
    GlobalUnlock(block);
    EXPECT_EQ(GlobalSize(block), 20000000u);
}

TEST_F(Streams, CloneSharesTheBytesAndHasItsOwnPosition)
{
    for (const ComPtr<IStream>& stream : {InMemory(), InFile(STGM_CREATE | STGM_READWRITE)}) {
        ASSERT_EQ(stream->Write("abc", 3, nullptr), S_OK);
        ComPtr<IStream> clone;
        ASSERT_EQ(stream->Clone(clone.Out()), S_OK);
        ASSERT_EQ(clone->Write("de", 2, nullptr), S_OK);
        ASSERT_EQ(stream->Write("X", 1, nullptr), S_OK);
        EXPECT_EQ(ReadAll(*clone.Get()), (Bytes{'a', 'b', 'c', 'X', 'e'}));
    }
}

TEST_F(Streams, CopyToAGrowingCloneOfItselfEnds)
{
    const ComPtr<IStream> stream = InMemory();
    const Bytes data(100000, 7);
    stream->Write(data.data(), ULONG(data.size()), nullptr);
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.Out()), S_OK);
    stream->Seek(Move(10), STREAM_SEEK_SET, nullptr);
    ULARGE_INTEGER read{}, written{};
    ASSERT_EQ(stream->CopyTo(clone.Get(), Size(UINT64_MAX), &read, &written), S_OK);
    EXPECT_EQ(read.QuadPart, 99990u);
    EXPECT_EQ(written.QuadPart, 99990u);
    EXPECT_EQ(ReadAll(*clone.Get()), Bytes(199990, 7));
}

TEST_F(Streams, BadArgumentsAreRefused)
{
    const ComPtr<IStream> stream = InMemory();
    ULONG count = 7;
    EXPECT_EQ(stream->Write(nullptr, 1, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Seek(Move(0), 3, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Stat(nullptr, 0), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Clone(nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->CopyTo(nullptr, Size(1), nullptr, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Seek(Move(INT64_MAX), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Seek(Move(1), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION) << "the position wraps";
    EXPECT_EQ(stream->Write("x", 1, &count), STG_E_MEDIUMFULL);
    EXPECT_EQ(stream->SetSize(Size(UINT64_MAX)), E_OUTOFMEMORY);
    EXPECT_EQ(ReadAll(*stream.Get()), Bytes{});
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, nullptr), E_INVALIDARG);
}

TEST_F(Streams, StreamOverABlockStartsWithItsContent)
{
    const HGLOBAL block = GlobalAlloc(GHND, 3);
    std::memcpy(GlobalLock(block), "abc", 3);
    GlobalUnlock(block);
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), S_OK);
    EXPECT_EQ(ReadAll(*stream.Get()), (Bytes{'a', 'b', 'c'}));
    HGLOBAL held = nullptr;
    EXPECT_EQ(GetHGlobalFromStream(stream.Get(), &held), S_OK);
    EXPECT_EQ(held, block);
    stream.Reset();
    EXPECT_EQ(GlobalFree(block), nullptr) << "the stream freed a block that is not its own";
}

TEST_F(Streams, StreamOutlivesItsBlock)
{
    const HGLOBAL block = GlobalAlloc(GHND, 8192);
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), S_OK);
    EXPECT_EQ(GlobalFree(block), nullptr);
    const HGLOBAL other = GlobalAlloc(GHND, 8192);
    ULONG done = 7;
    EXPECT_EQ(stream->Write("x", 1, &done), STG_E_REVERTED);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(stream->Seek(Move(0), STREAM_SEEK_SET, nullptr), S_OK);
    char byte;
    EXPECT_EQ(stream->Read(&byte, 1, &done), S_OK);
    EXPECT_EQ(done, 0u);
    GlobalFree(other);
    EXPECT_EQ(CreateStreamOnHGlobal(block, FALSE, stream.Out()), E_INVALIDARG);
}

TEST_F(Streams, OnlyMemoryStreamsHaveABlock)
{
    HGLOBAL block = &block;
    EXPECT_EQ(GetHGlobalFromStream(InFile(STGM_CREATE | STGM_WRITE).Get(), &block), E_INVALIDARG);
    EXPECT_EQ(block, nullptr);
}

TEST_F(Streams, FileModesAreKept)
{
    char byte = 0;
    EXPECT_EQ(InFile(STGM_CREATE | STGM_WRITE)->Write("abc", 3, nullptr), S_OK);
    EXPECT_EQ(InFile(STGM_WRITE)->Read(&byte, 1, nullptr), STG_E_ACCESSDENIED);
    EXPECT_EQ(InFile(STGM_READ)->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
    EXPECT_EQ(InFile(STGM_READ)->SetSize(Size(0)), STG_E_ACCESSDENIED);
    EXPECT_EQ(ReadAll(*InFile(STGM_READWRITE | STGM_SHARE_DENY_NONE).Get()), (Bytes{'a', 'b', 'c'}));
    EXPECT_EQ(ReadAll(*InFile(STGM_READWRITE | STGM_CREATE).Get()), Bytes{}) << "the old file is not emptied";

    STATSTG stat;
    ASSERT_EQ(InFile(STGM_READ)->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(WStringView{stat.pwcsName}, Named(u"\u00E9tude.bin"));
    EXPECT_TRUE(DeleteFileW(stat.pwcsName));
    CoTaskMemFree(stat.pwcsName);
}

TEST_F(Streams, FullDeviceIsReported)
{
    ComPtr<IStream> stream;
    if (SHCreateStreamOnFileW(u"/dev/full", STGM_WRITE, stream.Out()) != S_OK)
        GTEST_SKIP() << "there is no /dev/full";
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
        {Named(u"missing"), STGM_READ, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {Named(u"missing"), STGM_READWRITE, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {Named(u"no/such/directory"), STGM_CREATE | STGM_WRITE, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {Named(u""), STGM_READ, E_ACCESSDENIED},
        {Named(u""), STGM_CREATE | STGM_WRITE, E_ACCESSDENIED},
        {u"", STGM_READ, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {Named(u"x"), 3, E_INVALIDARG},
        {Named(u"x"), STGM_CREATE | STGM_TRANSACTED, E_INVALIDARG},
    };
    for (const auto& row : kRows) {
        ComPtr<IStream> stream;
        EXPECT_EQ(SHCreateStreamOnFileW(row.name.c_str(), row.mode, stream.Out()), row.expected);
        EXPECT_FALSE(stream);
    }
}

}  // namespace
}  // namespace vorn::test
