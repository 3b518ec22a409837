// The C++ side of the Python speed comparison: writes the generated input of
// the benchmarks to a file, then times read_job on it through the shared
// library, the same library the Python module calls.
//
//     read_job_timing ATOMS OUT_FILE REPEATS
//     -> cpp_read_job_seconds <best of REPEATS>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "generated_input.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/job.hpp"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: read_job_timing ATOMS OUT_FILE REPEATS\n");
        return 2;
    }
    const std::string text = vesk::bench::make_input(std::strtoull(argv[1], nullptr, 10));
    if (!vesk::core::fs::write_text_file_atomic(argv[2], text)) {
        std::fprintf(stderr, "read_job_timing: cannot write %s\n", argv[2]);
        return 1;
    }
    const long repeats = std::max(1L, std::strtol(argv[3], nullptr, 10));
    double best = 1e300;
    std::size_t atoms = 0;
    for (long i = 0; i < repeats; ++i) {
        const auto start = std::chrono::steady_clock::now();
        vesk::input::mopac::MopacJob job = vesk::input::mopac::read_job(std::string_view(text));
        const auto stop = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(stop - start).count());
        atoms = job.jobs().empty() ? 0 : job.jobs().front().counts.atoms;
    }
    std::printf("cpp_read_job_seconds %.6f\natoms %zu\nbytes %zu\n", best, atoms, text.size());
    return 0;
}
