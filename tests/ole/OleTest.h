/**
 * @file OleTest.h
 * What the tests of the COM runtime share.
 */
#pragma once

#include <gtest/gtest.h>

#include "com.h"
#include "comobject.h"
#include "support/Files.h"

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

/** A copy of `elements` that CoTaskMemFree frees. */
template <typename Element>
Element* Task(std::initializer_list<Element> elements)
{
    auto* block = static_cast<Element*>(CoTaskMemAlloc(sizeof(Element) * elements.size()));
    std::copy(elements.begin(), elements.end(), block);
    return block;
}

}  // namespace vorn::test
