/**
 * @file io/File.h
 * Files of any name and size, and the update of a file that happens as a whole or not at all.
 */
#pragma once

#include <string_view>

#include "io/ByteSource.h"

namespace vorn::fil {

/** A file's name as the system takes it. Made before the file is, so that the file can be removed also when allocation fails. */
class SystemName {
public:
    /** `name` is lent. */
    explicit SystemName(const WCHAR* name) noexcept;
    SystemName(const SystemName&) = delete;
    SystemName& operator=(const SystemName&) = delete;
    ~SystemName();

    explicit operator bool() const noexcept { return name_ != nullptr; }

private:
    friend class File;
#ifdef _WIN32
    const WCHAR* name_;
#else
    char* name_;
#endif
};

/** An open regular file. The only class of the library that knows the operating system. */
class File {
public:
    enum class Mode {
        Read,
        Update,    ///< an existing file, for reading and writing
        CreateNew  ///< a file that must not exist yet
    };

    File() noexcept = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    int32_t Open(const WCHAR* name, Mode mode) noexcept;
    /** Opens an existing file, with Mode::Update for this process alone, with Mode::Read while nobody updates it. FIL_ERR_LOCKED
     * when it is not to be had for 30 seconds. */
    int32_t OpenLocked(const WCHAR* name, Mode mode) noexcept;

    uint64_t Size() const noexcept { return size_; }
    int32_t ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept;
    int32_t WriteAt(uint64_t offset, const void* data, uint64_t count) noexcept;
    int32_t Truncate(uint64_t size) noexcept;
    /** Finds room on the disk at once for so many bytes behind the end, where the system can: FIL_ERR_DISK_FULL. */
    int32_t Reserve(uint64_t count) noexcept;
    /** Closes; a late write error comes out here. */
    int32_t Close() noexcept;

    /** Also when opening it failed after it was made. */
    bool IsOpen() const noexcept { return descriptor_ >= 0; }

    static void Remove(const SystemName& name) noexcept;
    /** Gives a file another name in its directory, which no file may have: FIL_ERR_ACCESS. */
    static int32_t Rename(const WCHAR* from, const WCHAR* to) noexcept;
    /** As Rename, in the place of a file that may have the name; its permissions stay. */
    static int32_t Replace(const WCHAR* from, const WCHAR* to) noexcept;

private:
    int32_t AwaitLock(bool exclusive) noexcept;

    int descriptor_ = -1;
    uint64_t size_ = 0;
};

class FileSource final : public ByteSource {
public:
    explicit FileSource(File& file) noexcept : file_{file} {}

    uint64_t Size() const noexcept override { return file_.Size(); }
    int32_t ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept override
    {
        return Holds(offset, count) ? file_.ReadAt(offset, buffer, count) : FIL_ERR_CORRUPT;
    }

private:
    File& file_;
};

/**
 * Adds to a file without touching what it holds until all is written: data goes to the end at once, the few bytes
 * to be patched in the old part are kept back and written last, by Commit. Without a Commit the destructor
 * cuts the file to its old size, so that not a byte of it has changed.
 *
 * A format that is read from its end (PDF) has the file end as before at every moment, though new data stands in front
 * of that end: see KeepEnd.
 */
class FileUpdate final : public ByteSource {
public:
    explicit FileUpdate(File& file) noexcept : file_{file}, oldSize_{file.Size()} {}
    FileUpdate(const FileUpdate&) = delete;
    FileUpdate& operator=(const FileUpdate&) = delete;
    ~FileUpdate() override;

    uint64_t OldSize() const noexcept { return oldSize_; }
    /** Without an end that is kept. */
    uint64_t Size() const noexcept override { return size_; }
    /** Reads what is in the file; patches do not show yet. */
    int32_t ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept override;

    /** Tells before they are written how many bytes will come, which is faster than to find room for each piece. */
    int32_t Reserve(uint64_t count) noexcept { return file_.Reserve(count); }

    /** Below the old size: at most kPatchBytes, once. */
    int32_t WriteAt(uint64_t offset, const void* data, uint64_t count) noexcept;

    /**
     * From now on `end`, at most kEndBytes, which ends the file as its last bytes do, is written behind new data before
     * the data itself. Whoever is killed in between leaves a file with its old end.
     */
    int32_t KeepEnd(std::string_view end) noexcept;
    /** Bytes to be written in front of a kept end so that it lies in one block of the file. */
    uint64_t Padding() const noexcept { return PlaceOfEnd(size_) - size_; }
    /** To be patched in the kept end: `count` bytes, at most kPatchBytes, `offset` from its start. */
    int32_t PatchEnd(uint64_t offset, const void* data, uint64_t count) noexcept;
    int32_t Commit() noexcept;

private:
    static constexpr uint64_t kPatchBytes = 16, kEndBytes = 64;

    uint64_t PlaceOfEnd(uint64_t size) const noexcept;

    File& file_;
    uint64_t oldSize_;
    uint64_t size_ = oldSize_;
    uint64_t endCount_ = 0;
    uint8_t end_[kEndBytes] = {};
    uint64_t patchOffset_ = 0;
    uint64_t patchCount_ = 0;
    uint8_t patch_[kPatchBytes] = {};
    bool committed_ = false;
};

}  // namespace vorn::fil
