// Runs one fuzz target over the files given, and over all files in the folders given: what a
// fuzzer found once stays found, with any compiler and without one that can fuzz.

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::size_t replayed = 0;

void replayFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    // A block of exactly this size, so that reading behind the input is noticed.
    const auto input = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), input.get());
    LLVMFuzzerTestOneInput(input.get(), bytes.size());
    ++replayed;
}

void replay(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        replayFile(path);
        return;
    }
    std::vector<std::filesystem::path> found;  // first, as a target may change the directory
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            found.push_back(std::filesystem::absolute(entry.path()));
        }
    }
    for (const auto& file : found) {
        replayFile(file);
    }
}

}  // namespace

int main(int argc, char** argv) try {
    for (int i = 1; i < argc; ++i) {
        replay(argv[i]);
    }
    std::printf("%zu inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "replay: %s\n", error.what());
    return 1;
}
