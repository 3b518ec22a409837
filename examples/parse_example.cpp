// Parses a MOPAC input file and prints what the library made of it.
#include <iostream>

#include <vesk/input/mopac/mopac_input.hpp>

int main(int argc, char** argv) {
    using namespace vesk::input::mopac;
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FILE.mop\n";
        return 2;
    }
    ParseResult result = parse_file(argv[1]);
    if (!result.ok) {
        std::cerr << argv[1] << ": " << result.error << '\n';
        return 1;
    }
    for (const auto& warning : result.warnings) std::cerr << argv[1] << ": warning: " << warning << '\n';

    const MopacInput& input = result.input;
    std::cout << "keyword lines: " << input.keyword_lines.size() << '\n'
              << "title: " << input.title << '\n'
              << "comment: " << input.comment << '\n'
              << "atoms: " << input.cartesian_geometry().atoms.size() << '\n'
              << "records: " << input.coordinates.size() << '\n'
              << "trailing lines: " << input.trailing_lines.size() << '\n'
              << "--- rendered ---\n"
              << input.to_string();
    return 0;
}
