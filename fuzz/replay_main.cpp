// Runs a fuzz target over files and folders, so that the ordinary build
// replays the seeds and the real inputs under the sanitizers.
// Exit status: 0 when inputs were replayed, 77 (skipped) when a named path
// does not exist, 1 when the paths hold no file at all.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    for (int i = 1; i < argc; ++i) {
        if (!fs::exists(argv[i])) {
            std::printf("skipped: no such input path: %s\n", argv[i]);
            return 77;
        }
    }
    std::size_t count = 0;
    auto run = [&count](const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    };
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            run(argv[i]);
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) run(entry.path());
        }
    }
    std::printf("replayed %zu inputs\n", count);
    if (count == 0) std::fprintf(stderr, "no input file under the paths given\n");
    return count > 0 ? 0 : 1;
}
