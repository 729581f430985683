#include "Scanimage.h"

#include <cstdlib>

namespace vorn::test {

namespace fs = std::filesystem;

const fs::path& SaneFolder()
{
    static const ScratchFolder folder;
    static const bool written = [] {
        WriteBytes(folder.Path() / "dll.conf", "net\ntest\n");
        WriteBytes(folder.Path() / "net.conf", "connect_timeout = 2\n");
        WriteBytes(folder.Path() / "saned.conf", "127.0.0.1\n");
        WriteBytes(folder.Path() / "test.conf",
                   "number_of_devices 4\nmode Color\ndepth 8\nresolution_min 1\nresolution_max 1200\n"
                   "resolution_quant 1\nresolution 50\ntest-picture \"Color pattern\"\ngeometry_min 0\n"
                   "geometry_max 200\ngeometry_quant 0\ntl_x 0\ntl_y 0\nbr_x 80\nbr_y 100\n");
        return true;
    }();
    static_cast<void>(written);
    return folder.Path();
}

std::string WhatIsMissing()
{
    const int status = std::system("scanimage -d test:0 -n >/dev/null 2>&1");
    return status == 0
               ? ""
               : "scanimage with SANE's test back end (packages sane-utils and libsane1) is not installed";
}

SeenPage ScanimagePage(const SaneOptions& options, const std::string& device)
{
    const fs::path file = SaneFolder() / "scanimage.pnm";
    std::string command = "scanimage -d " + device + " --format=pnm";
    for (const Option& option : options)
        command += " --" + option.name + "='" + option.value + "'";
    command += " >'" + file.string() + "' 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;

    std::ifstream stream{file, std::ios::binary};
    std::string magic, comment;
    uint32_t most = 1;
    SeenPage page;
    stream >> magic >> std::ws;
    std::getline(stream, comment);
    stream >> page.width >> page.height;
    if (magic != "P4")
        stream >> most;
    stream.get();
    const std::string data{std::istreambuf_iterator<char>{stream}, {}};

    const size_t samples = magic == "P6" ? 3 : 1;
    const size_t bytes = most > 255 ? 2 : 1;
    const size_t used = magic == "P4" ? (page.width + 7) / 8 : page.width * samples;
    page.bitsPerPixel = magic == "P4" ? 1 : static_cast<uint32_t>(8 * samples);
    const size_t rowBytes = (size_t{page.width} * page.bitsPerPixel + 31) / 32 * 4;
    // Pixels that a scanner loses at the end of its lines are in the file, and not in the width.
    const size_t lineBytes = page.height ? data.size() / page.height : 0;
    page.pixels.resize(rowBytes * page.height);
    for (size_t y = 0; y < page.height; ++y) {
        uint8_t* const row = page.pixels.data() + (page.height - 1 - y) * rowBytes;
        for (size_t i = 0; i < used; ++i) {
            const size_t from = samples == 3 ? i / 3 * 3 + 2 - i % 3 : i;
            row[i] = static_cast<uint8_t>(data.at(y * lineBytes + from * bytes));
            if (magic == "P4")
                row[i] = static_cast<uint8_t>(~row[i]);
        }
        if (magic == "P4" && page.width % 8 != 0)
            row[used - 1] &= static_cast<uint8_t>(0xFF00u >> page.width % 8);
    }
    return page;
}

}  // namespace vorn::test
