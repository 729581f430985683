/**
 * @file Part.h
 * An interface that an object offers through a member of its own: it shares the object's identity and life.
 */
#pragma once

#include <utility>

#include "platform.h"

namespace vorn::wia {

template <typename Implementation>
class Part final : public Implementation {
public:
    template <typename... Arguments>
    explicit Part(IUnknown& owner, Arguments&&... arguments)
        : Implementation{std::forward<Arguments>(arguments)...}, owner_{owner}
    {
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        return owner_.QueryInterface(iid, object);
    }

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        ++references_;
        return owner_.AddRef();
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        if (--references_ == 0)
            Implementation::Unused();
        return owner_.Release();
    }

    /** The interface, for a QueryInterface of the owner, which counts the reference at itself. */
    Implementation* Lend() noexcept
    {
        ++references_;
        return this;
    }

private:
    IUnknown& owner_;
    ULONG references_ = 0;
};

}  // namespace vorn::wia
