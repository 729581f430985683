/**
 * @file ListEnumerator.h
 * The common part of all enumerators: a list that does not change any more, and a place in it.
 */
#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "Interfaces.h"

namespace vorn::wia {

/**
 * Enumerates a list of `Entry` as `Element`, which is what `Next` stores. A copy made by Clone shares the list.
 * The derived class tells how an entry becomes an element, and makes copies of itself.
 */
template <typename Interface, typename Entry, typename Element>
class ListEnumerator : public ComObject<Interface> {
public:
    using List = std::shared_ptr<const std::vector<Entry>>;

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Element* elements, ULONG* fetched) override
    {
        if (fetched)
            *fetched = 0;
        if (!elements)
            return E_POINTER;
        if (count == 0 || (count > 1 && !fetched))
            return E_INVALIDARG;
        return NoThrow([&] { return Fetch(count, elements, fetched); });
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override
    {
        const size_t left = list_->size() - position_;
        position_ += std::min<size_t>(left, count);
        return count <= left ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Reset() override
    {
        position_ = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(Interface** copy) override
    {
        if (!copy)
            return E_POINTER;
        *copy = nullptr;
        return NoThrow([&] {
            auto* made = MakeCopy();
            made->position_ = position_;
            *copy = made;
            return S_OK;
        });
    }

protected:
    explicit ListEnumerator(List list) noexcept : list_{std::move(list)} {}

    const List& Entries() const noexcept { return list_; }

    /** Stores an entry; the element is all zero before. Anything but `S_OK` ends the call. */
    virtual HRESULT Give(const Entry& entry, Element& element) = 0;
    /** Gives back what Give stored. */
    virtual void TakeBack(Element& element) noexcept = 0;
    virtual ListEnumerator* MakeCopy() const = 0;

private:
    HRESULT Fetch(ULONG count, Element* elements, ULONG* fetched)
    {
        std::fill_n(elements, count, Element{});
        ULONG given = 0;
        HRESULT result = S_OK;
        for (; result == S_OK && given < count && position_ + given < list_->size(); given += result == S_OK)
            result = Give((*list_)[position_ + given], elements[given]);

        if (FAILED(result)) {
            for (ULONG i = 0; i < given; ++i)
                TakeBack(elements[i]);
            std::fill_n(elements, count, Element{});
            return result;
        }
        position_ += given;
        if (fetched)
            *fetched = given;
        return given == count ? S_OK : S_FALSE;
    }

    List list_;
    size_t position_ = 0;
};

/** For the interfaces that tell how many there are, too. */
template <typename Interface, typename Entry, typename Element>
class CountedListEnumerator : public ListEnumerator<Interface, Entry, Element> {
public:
    using ListEnumerator<Interface, Entry, Element>::ListEnumerator;

    HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) override
    {
        if (!count)
            return E_POINTER;
        ULONG announced = static_cast<ULONG>(this->Entries()->size());
        if (const HRESULT result = BeforeCount(announced); result != S_OK)
            return result;
        *count = announced;
        return S_OK;
    }

protected:
    virtual HRESULT BeforeCount(ULONG&) { return S_OK; }
};

}  // namespace vorn::wia
