// Runs a fuzz target over files and folders, so that the ordinary build
// replays the seeds and the real inputs under the sanitizers. Exit status 77
// (skipped) when a named path does not exist, 1 when the paths hold no file.
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

static std::string current;  // the input being replayed, named when a property aborts

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!fs::exists(argv[i])) {
            std::printf("skipped: no such input path: %s\n", argv[i]);
            return 77;
        }
        if (!fs::is_directory(argv[i])) files.emplace_back(argv[i]);
        if (fs::is_directory(argv[i])) files.insert(files.end(), fs::recursive_directory_iterator(argv[i]), {});
    }
    std::signal(SIGABRT, [](int) { std::fprintf(stderr, "input: %s\n", current.c_str()); });
    std::size_t count = 0;
    for (const auto& path : files) {
        if (fs::is_directory(path)) continue;
        current = path.string();
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    }
    std::printf("replayed %zu inputs\n", count);
    if (count == 0) std::fprintf(stderr, "no input file under the paths given\n");
    return count > 0 ? 0 : 1;
}
