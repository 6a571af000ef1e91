// Runs a fuzz target once over every file of the folders (or files) given, without libFuzzer:
// the committed corpus then guards against regressions in the ordinary test suite.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
                if (entry.is_regular_file()) files.push_back(entry.path());
            }
        } else {
            files.emplace_back(argv[i]);
        }
        for (const auto& path : files) {
            std::ifstream in(path, std::ios::binary);
            std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++runs;
        }
    }
    std::printf("%d inputs run\n", runs);
    // An empty corpus would make this check meaningless.
    return runs > 0 ? 0 : 1;
}
