/**
 * @file com.h
 * Holders that own what COM hands out, so that every way out of a function gives it back.
 */
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform.h"
#include "vornwia_types.h"

namespace vorn {

/** Text as the platform stores it: UTF-16 code units, not necessarily well formed. */
using WString = std::basic_string<WCHAR>;
using WStringView = std::basic_string_view<WCHAR>;

/** Length of a terminated text in characters, 0 for a null one. */
inline size_t TextLength(const WCHAR* text) noexcept
{
    return text ? WStringView{text}.size() : 0;
}

/** True for the first half of a surrogate pair. */
constexpr bool IsHighSurrogate(WCHAR unit) noexcept
{
    return (unit & 0xFC00) == 0xD800;
}

/** Owns one reference on a COM interface. */
template <typename Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    /** Shares `pointer`: takes a reference of its own. */
    explicit ComPtr(Interface* pointer) noexcept : pointer_{pointer} { AddReference(); }
    ComPtr(const ComPtr& other) noexcept : pointer_{other.pointer_} { AddReference(); }
    ComPtr(ComPtr&& other) noexcept : pointer_{other.Detach()} {}
    ~ComPtr() { Reset(); }

    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    /** Takes over the reference that `pointer` already carries. */
    static ComPtr Adopt(Interface* pointer) noexcept
    {
        ComPtr holder;
        holder.pointer_ = pointer;
        return holder;
    }

    void Reset() noexcept
    {
        if (Interface* old = Detach())
            old->Release();
    }

    /** Gives the reference up to the caller. */
    Interface* Detach() noexcept { return std::exchange(pointer_, nullptr); }

    /** The address for an out argument; what was held before is released. */
    Interface** Out() noexcept
    {
        Reset();
        return &pointer_;
    }
    void** OutVoid() noexcept { return reinterpret_cast<void**>(Out()); }

    Interface* Get() const noexcept { return pointer_; }
    Interface* operator->() const noexcept { return pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

private:
    void AddReference() noexcept
    {
        if (pointer_)
            pointer_->AddRef();
    }

    Interface* pointer_ = nullptr;
};

/** Owns a BSTR. */
class Bstr {
public:
    Bstr() noexcept = default;
    /** Copies a terminated text; null stays null. Check `Get()` for a failed allocation. */
    explicit Bstr(const WCHAR* text) noexcept : text_{text ? SysAllocString(text) : nullptr} {}
    explicit Bstr(WStringView text) noexcept
        : text_{SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))}
    {
    }
    Bstr(Bstr&& other) noexcept : text_{other.Detach()} {}
    Bstr& operator=(Bstr other) noexcept
    {
        std::swap(text_, other.text_);
        return *this;
    }
    Bstr(const Bstr&) = delete;
    ~Bstr() { SysFreeString(text_); }

    BSTR Get() const noexcept { return text_; }
    /** The address for an out argument; what was held before is freed. */
    BSTR* Out() noexcept
    {
        SysFreeString(Detach());
        return &text_;
    }
    BSTR Detach() noexcept { return std::exchange(text_, nullptr); }
    explicit operator bool() const noexcept { return text_ != nullptr; }

private:
    BSTR text_ = nullptr;
};

/** A PROPVARIANT that is cleared at the end of its life. */
class PropVariant : public PROPVARIANT {
public:
    PropVariant() noexcept : PROPVARIANT{} {}
    PropVariant(const PropVariant&) = delete;
    PropVariant& operator=(const PropVariant&) = delete;
    ~PropVariant() { Clear(); }

    void Clear() noexcept { PropVariantClear(this); }
    /** Forgets the value without releasing what it points to. */
    void Forget() noexcept { static_cast<PROPVARIANT&>(*this) = PROPVARIANT{}; }
};

/** True for the platform results that count as success: not negative and not `S_FALSE`. */
constexpr bool IsPlainSuccess(HRESULT result) noexcept
{
    return result >= 0 && result != S_FALSE;
}

}  // namespace vorn
