// Gives every saved input to the target that this is linked with, as an ordinary test.
//
//     TARGET_fuzz FOLDER
#include "fuzz/target.h"

#include <algorithm>
#include <filesystem>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> inputs;
    if (argc == 2)
        for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
            inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    for (const auto& input : inputs) {
        std::printf("%s\n", input.c_str());
        std::fflush(stdout); // the last name is that of the input that fails
        const std::string bytes = corvalissement::fuzz::bytes_of(input.string());
        static_cast<void>(
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    }
    return inputs.empty() ? 1 : 0;
}
