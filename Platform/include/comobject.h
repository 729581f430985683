/**
 * @file comobject.h
 * The base of reference-counted COM classes, and the count of those alive.
 *
 *     class Page final : public ComObject<IStream> { ... };    // the interface's own methods remain to write
 *     return MakeComObject<Page>(iid, object, width, height);  // from a factory function
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#ifdef _WIN32
#include <windows.h>

#include <ole2.h>
#define VORN_ONE_PER_PROCESS
#else
#include "ole.h"
#define VORN_ONE_PER_PROCESS __attribute__((visibility("default")))
#endif

namespace vorn {

/** A part of each object that counts: tests compare Count before and after to see that nothing stays alive.
 */
class VORN_ONE_PER_PROCESS LiveObjects {
public:
    LiveObjects(const LiveObjects&) = delete;
    LiveObjects& operator=(const LiveObjects&) = delete;

    static int64_t Count() noexcept { return count_.load(); }

protected:
    LiveObjects() noexcept { ++count_; }
    ~LiveObjects() { --count_; }

private:
    inline static std::atomic<int64_t> count_{0};
};

/** Thrown where a failure has no other way to the caller of a COM method, which answers with `result`. */
struct Failure {
    HRESULT result;
};

/** Runs the body of a COM method and turns what it throws into a result. */
template <typename Body>
HRESULT NoThrow(Body&& body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (const Failure& failure) {
        return failure.result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

/** What InterfaceInfo is derived from: an interface's id, and the interface it extends. */
template <const IID& InterfaceId, typename BaseInterface = IUnknown>
struct InterfaceIs {
    using Base = BaseInterface;
    static const IID& Id() noexcept { return InterfaceId; }
};

/**
 * Tells ComObject about an interface. Each interface that a class implements has one, in namespace vorn:
 *
 *     template <> struct InterfaceInfo<IStream> : InterfaceIs<IID_IStream, ISequentialStream> {};
 */
template <typename Interface>
struct InterfaceInfo;

// clang-format off
template <> struct InterfaceInfo<IClassFactory> : InterfaceIs<IID_IClassFactory> {};
template <> struct InterfaceInfo<ISequentialStream> : InterfaceIs<IID_ISequentialStream> {};
template <> struct InterfaceInfo<IStream> : InterfaceIs<IID_IStream, ISequentialStream> {};
template <> struct InterfaceInfo<IPropertyStorage> : InterfaceIs<IID_IPropertyStorage> {};
template <> struct InterfaceInfo<IEnumSTATPROPSTG> : InterfaceIs<IID_IEnumSTATPROPSTG> {};
// clang-format on

/** True when `iid` is that of the interface or of one that it extends, IUnknown included. */
template <typename Interface>
bool InterfaceAnswersTo(REFIID iid) noexcept
{
    if constexpr (std::is_same_v<Interface, IUnknown>)
        return IsEqualIID(iid, IID_IUnknown);
    else
        return IsEqualIID(iid, InterfaceInfo<Interface>::Id()) ||
               InterfaceAnswersTo<typename InterfaceInfo<Interface>::Base>(iid);
}

/**
 * A COM object that is born with one reference and dies with the last. Its IUnknown is that of the first
 * interface. For another interface, override FindInterface.
 */
template <typename... Interfaces>
class ComObject : public Interfaces..., private LiveObjects {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (!object)
            return E_POINTER;
        *object = FindInterface(iid);
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return references_.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    ComObject() = default;
    virtual ~ComObject() = default;

    /** The address of the interface that `iid` names, not yet counted; null when there is none. */
    virtual void* FindInterface(REFIID iid) noexcept
    {
        void* found = nullptr;
        static_cast<void>(
            ((InterfaceAnswersTo<Interfaces>(iid) && (found = static_cast<Interfaces*>(this))) || ...));
        return found;
    }

private:
    std::atomic<ULONG> references_{1};
};

/** Makes an object of a ComObject class and hands out the interface asked for. */
template <typename Object, typename... Arguments>
HRESULT MakeComObject(REFIID iid, void** interfacePointer, Arguments&&... arguments) noexcept
{
    if (!interfacePointer)
        return E_POINTER;
    *interfacePointer = nullptr;
    return NoThrow([&] {
        auto* object = new Object(std::forward<Arguments>(arguments)...);
        const HRESULT result = object->QueryInterface(iid, interfacePointer);
        object->Release();
        return result;
    });
}

/** Makes objects of a ComObject class that has a default constructor. */
template <typename Object>
class ComClassFactory final : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        return outer ? CLASS_E_NOAGGREGATION : MakeComObject<Object>(iid, object);
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace vorn
