/**
 * @file Desk.h
 * An application: a session on a scanner, unless told otherwise on that with the ready page, which the service lists by
 * then.
 */
#pragma once

#include <cstdint>
#include <filesystem>

#include "com.h"
#include "vornwia.h"
#include "wia/model/Definition.h"

namespace vorn::bench {

class Desk {
public:
    /** Throws std::runtime_error when the library refuses a step, as all its members do. */
    explicit Desk(wia::Generation generation, const WCHAR* device = VORN_TEXT("virtual:scanner"));
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;
    ~Desk();

    WiaSession* Session() const noexcept { return session_; }
    WiaItemHandle Item() const noexcept { return item_; }

    /** What the item is to deliver. */
    void Prepare(REFGUID format, LONG medium) const;

    /** Takes the page as a bitmap, and looks at it as far as `Check` says. */
    enum class Check { Size, Pixels };
    void TakeBitmap(Check check);
    /** Takes the page as a file of that name. */
    void TakeFile(const std::filesystem::path& file);

private:
    WiaSession* session_ = nullptr;
    WiaItemHandle item_ = nullptr;
};

/** The path in the characters of the library. */
WString Wide(const std::filesystem::path& path);

}  // namespace vorn::bench
