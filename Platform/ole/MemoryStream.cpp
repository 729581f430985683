#include <algorithm>
#include <memory>

#include "GlobalMemory.h"
#include "StreamBase.h"

namespace vorn::ole {
namespace {

// How GetHGlobalFromStream knows a stream of this file: it answers to this id with itself.
constexpr IID kMemoryStreamId = {
    0x5C1D3E60, 0x94B2, 0x4A77, {0x8E, 0x0D, 0x52, 0x6B, 0x19, 0xF4, 0xA3, 0x7C}};

constexpr ULONGLONG kSmallestGrowth = 4096;

/** The bytes that a stream and its clones share. The handle's owner may use, resize and even free the block.
 */
class SharedBlock {
public:
    explicit SharedBlock(HGLOBAL handle) noexcept : handle_{handle}, size_{GlobalSize(handle)}, used_{size_}
    {
    }
    SharedBlock(const SharedBlock&) = delete;
    SharedBlock& operator=(const SharedBlock&) = delete;
    ~SharedBlock()
    {
        if (owned_)
            GlobalFree(handle_);
    }

    HGLOBAL Handle() const noexcept { return handle_; }

    /** From now on the block ends with this object. */
    void Own() noexcept { owned_ = true; }

    /** The stream's size: never more than the block has. */
    ULONGLONG Size() const noexcept { return std::min<ULONGLONG>(size_, GlobalSize(handle_)); }

    HRESULT SetSize(ULONGLONG size) noexcept
    {
        const ULONGLONG capacity = GlobalSize(handle_);
        if (size > capacity) {
            if (const HRESULT result = Grow(size, size); FAILED(result))
                return result;
        }
        const LockedBlock block{handle_};
        Zero(block, std::min(size_, capacity), size);
        size_ = size;
        used_ = std::max(used_, size);
        return S_OK;
    }

    HRESULT Write(ULONGLONG offset, const void* data, ULONG count) noexcept
    {
        const ULONGLONG capacity = GlobalSize(handle_);
        const ULONGLONG end = offset + count;
        if (end > capacity) {
            // Many small writes must not copy the block many times.
            if (const HRESULT result = Grow(end, std::max({end, kSmallestGrowth, 2 * capacity}));
                FAILED(result))
                return result;
        }
        const LockedBlock block{handle_};
        if (!block.Data())
            return STG_E_REVERTED;
        const ULONGLONG old = std::min(size_, capacity);
        Zero(block, old, offset);
        std::memcpy(block.Data() + offset, data, count);
        size_ = std::max(old, end);
        used_ = std::max(used_, end);
        return S_OK;
    }

    ULONG Read(ULONGLONG offset, void* data, ULONG count) const noexcept
    {
        const ULONGLONG size = Size();
        const LockedBlock block{handle_};
        if (offset >= size || !block.Data())
            return 0;
        const auto done = static_cast<ULONG>(std::min<ULONGLONG>(count, size - offset));
        std::memcpy(data, block.Data() + offset, done);
        return done;
    }

private:
    /** Makes the block hold `needed` bytes, and `generous` ones when there is so much memory. */
    HRESULT Grow(ULONGLONG needed, ULONGLONG generous) noexcept
    {
        if (GlobalReAlloc(handle_, generous, GMEM_MOVEABLE) || GlobalReAlloc(handle_, needed, GMEM_MOVEABLE))
            return S_OK;
        return GlobalFlags(handle_) == GMEM_INVALID_HANDLE ? STG_E_REVERTED : E_OUTOFMEMORY;
    }

    /** Clears what an earlier, longer content of the stream may have left; bytes never used are zero anyway.
     */
    void Zero(const LockedBlock& block, ULONGLONG begin, ULONGLONG end) const noexcept
    {
        if (begin < std::min(end, used_) && block.Data())
            std::memset(block.Data() + begin, 0, std::min(end, used_) - begin);
    }

    const HGLOBAL handle_;
    bool owned_ = false;
    ULONGLONG size_;
    ULONGLONG used_;  // the largest size so far: bytes from here on were never written
};

class MemoryStream final : public StreamBase {
public:
    MemoryStream(std::shared_ptr<SharedBlock> block, ULONGLONG position) noexcept
        : StreamBase{position}, block_{std::move(block)}
    {
    }

    const SharedBlock& Block() const noexcept { return *block_; }

    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override { return block_->SetSize(size.QuadPart); }

    HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override
    {
        if (!stat)
            return STG_E_INVALIDPOINTER;
        *stat = STATSTG{};
        stat->type = STGTY_STREAM;
        stat->cbSize.QuadPart = block_->Size();
        stat->grfMode = STGM_READWRITE;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override
    {
        if (!stream)
            return STG_E_INVALIDPOINTER;
        return MakeComObject<MemoryStream>(IID_IStream, reinterpret_cast<void**>(stream), block_, Position());
    }

protected:
    void* FindInterface(REFIID iid) noexcept override
    {
        return iid == kMemoryStreamId ? this : StreamBase::FindInterface(iid);
    }

    HRESULT GetSize(ULONGLONG& size) noexcept override
    {
        size = block_->Size();
        return S_OK;
    }

    HRESULT ReadAt(ULONGLONG offset, void* data, ULONG size, ULONG& done) noexcept override
    {
        done = block_->Read(offset, data, size);
        return S_OK;
    }

    HRESULT WriteAt(ULONGLONG offset, const void* data, ULONG size, ULONG& done) noexcept override
    {
        const HRESULT result = block_->Write(offset, data, size);
        done = SUCCEEDED(result) ? size : 0;
        return result;
    }

private:
    const std::shared_ptr<SharedBlock> block_;
};

}  // namespace
}  // namespace vorn::ole

using namespace vorn;

HRESULT CreateStreamOnHGlobal(HGLOBAL block, BOOL deleteOnRelease, IStream** stream) noexcept
{
    if (!stream)
        return E_INVALIDARG;
    *stream = nullptr;
    if (block && GlobalFlags(block) == GMEM_INVALID_HANDLE)
        return E_INVALIDARG;
    return NoThrow([&] {
        std::unique_ptr<void, HGLOBAL (*)(HGLOBAL)> made{block ? nullptr : GlobalAlloc(GMEM_MOVEABLE, 0),
                                                         GlobalFree};
        if (!block && !made)
            return E_OUTOFMEMORY;
        auto shared = std::make_shared<ole::SharedBlock>(block ? block : made.get());
        *stream = new ole::MemoryStream{shared, 0};
        if (deleteOnRelease)
            shared->Own();
        made.release();
        return S_OK;
    });
}

HRESULT GetHGlobalFromStream(IStream* stream, HGLOBAL* block) noexcept
{
    if (!stream || !block)
        return E_INVALIDARG;
    *block = nullptr;
    void* known = nullptr;
    if (FAILED(stream->QueryInterface(ole::kMemoryStreamId, &known)) || !known)
        return E_INVALIDARG;
    auto* memory = static_cast<ole::MemoryStream*>(known);
    *block = memory->Block().Handle();
    memory->Release();
    return S_OK;
}
