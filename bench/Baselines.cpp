#include "Baselines.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <system_error>

namespace vorn::bench {
namespace {

class NewFile {
public:
    explicit NewFile(const std::filesystem::path& name)
        : number_{open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666)}
    {
        if (number_ < 0)
            throw std::system_error{errno, std::generic_category(), name};
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { close(number_); }

    int Number() const noexcept { return number_; }

private:
    int number_;
};

size_t Done(ssize_t moved)
{
    if (moved <= 0)
        throw std::system_error{errno, std::generic_category(), "writing a file"};
    return static_cast<size_t>(moved);
}

void ReadOnce(IWiaPropertyStorage& storage, PROPID id)
{
    PROPSPEC propSpec{};
    propSpec.ulKind = PRSPEC_PROPID;
    propSpec.propid = id;
    PROPVARIANT value{};
    if (storage.ReadMultiple(1, &propSpec, &value) != S_OK)
        throw std::runtime_error{"the device does not tell its resolution"};
    benchmark::DoNotOptimize(value.lVal);
    PropVariantClear(&value);
}

}  // namespace

void CopyToFreshMemory(std::span<const uint8_t> bytes, int copies, Memory memory)
{
    std::deque<FreshBlock> blocks;
    const uint8_t* source = bytes.data();
    for (int i = 0; i < copies; ++i) {
        uint8_t* target = blocks.emplace_back(bytes.size(), memory).Data();
        std::memcpy(target, source, bytes.size());
        benchmark::ClobberMemory();
        source = target;
    }
}

void WriteAndCopyFile(std::span<const uint8_t> bytes, const std::filesystem::path& first,
                      const std::filesystem::path& second)
{
    const NewFile source{first};
    for (size_t done = 0; done < bytes.size();)
        done += Done(write(source.Number(), bytes.data() + done, bytes.size() - done));
    const NewFile target{second};
    off_t offset = 0;
    for (size_t done = 0; done < bytes.size();)
        done +=
            Done(copy_file_range(source.Number(), &offset, target.Number(), nullptr, bytes.size() - done, 0));
}

void ReadInteger(IWiaPropertyStorage& storage, PROPID id, int times)
{
    for (int i = 0; i < times; ++i)
        ReadOnce(storage, id);
}

void ReadIntegerOf(IUnknown& item, PROPID id, int times)
{
    for (int i = 0; i < times; ++i) {
        void* storage = nullptr;
        item.QueryInterface(IID_IWiaPropertyStorage, &storage);
        ReadOnce(*static_cast<IWiaPropertyStorage*>(storage), id);
        static_cast<IWiaPropertyStorage*>(storage)->Release();
    }
}

}  // namespace vorn::bench
