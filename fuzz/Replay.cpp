// Runs the inputs of folders through a fuzz target: fuzz_NAME FOLDER...
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Input.h"

int main(int argc, char** argv)
{
    size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator{argv[i]}) {
            std::ifstream stream{entry.path(), std::ios::binary};
            const std::vector<char> data{std::istreambuf_iterator<char>{stream}, {}};
            std::cout << entry.path().string() << std::endl;
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(data.data()), data.size());
            ++inputs;
        }
    }
    std::cout << inputs << " inputs\n";
    return inputs > 0 ? 0 : 1;
}
