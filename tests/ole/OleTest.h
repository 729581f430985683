/**
 * @file OleTest.h
 * What the tests of the COM runtime share.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "com.h"
#include "comobject.h"

namespace vorn::test {

/** Fails a test that leaves an object, a stream or a memory block alive. */
class OleTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(LiveObjects::Count(), before_) << "something is still alive"; }

private:
    const int64_t before_ = LiveObjects::Count();
};

/** An object that does nothing but live. */
class Nothing final : public ComObject<ISequentialStream> {
public:
    HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
};

inline LARGE_INTEGER Move(LONGLONG offset)
{
    LARGE_INTEGER move{};
    move.QuadPart = offset;
    return move;
}

inline ULARGE_INTEGER Size(ULONGLONG size)
{
    ULARGE_INTEGER value{};
    value.QuadPart = size;
    return value;
}

}  // namespace vorn::test
