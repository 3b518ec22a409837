// The README's tour of the API, built and run as a test so that it stays true.
#include <iostream>
#include <string>

#include <vesk/input/mopac/mopac_input.hpp>

namespace mopac = vesk::input::mopac;

// Parse a file, ask about its keywords, edit it and write it back.
bool edit_a_file(const std::string& path, const std::string& out_path) {
    mopac::ParseResult result = mopac::parse_file(path);
    if (!result.ok) {
        std::cerr << path << ": " << result.error << '\n';
        return false;
    }
    for (const std::string& warning : result.warnings) std::cerr << path << ": " << warning << '\n';

    const mopac::MopacInput& input = result.input;
    std::cout << "PM7? " << input.has_keyword("pm7") << ", charge "
              << input.keyword_value("CHARGE").value_or("(none)") << '\n';  // PM7? 1, charge 0

    mopac::InputEditor editor(std::move(result.input));
    editor.set_method("PM6-D3H4");  // every known method keyword goes, the new one comes first
    editor.set_charge(1);           // CHARGE=1, whatever CHARGE tokens there were
    editor.set_multiplicity(2);     // SINGLET goes; UHF MS=0.5 come last
    editor.write_file(out_path);    // atomic: the whole text or nothing; throws on failure
    std::cout << editor.to_string();
    // PM6-D3H4 AUX(PRECISION=9) CHARGE=1 UHF MS=0.5
    // Ethanol
    // ...
    return editor.input().keyword_lines.front() == "PM6-D3H4 AUX(PRECISION=9) CHARGE=1 UHF MS=0.5";
}

// Compose a new input from a geometry in one chain.
bool build_an_input() {
    vesk::core::Geometry water;
    water.atoms = {{"O", 0.0, 0.0, 0.0}, {"H", 0.9572, 0.0, 0.0}, {"H", -0.2399872, 0.9266272, 0.0}};

    std::string text = mopac::InputBuilder()
                           .set_method("PM7")
                           .set_multiplicity(1)
                           .set_auxiliary_output(9, false)
                           .set_title("water")
                           .set_comment("built from a vesk::core::Geometry")
                           .set_geometry(water, /*optimize=*/true)
                           .to_string();
    std::cout << text;
    return text ==
           "PM7 MS=0 AUX(PRECISION=9)\n"
           "water\n"
           "built from a vesk::core::Geometry\n"
           "O 0 1 0 1 0 1\n"
           "H 0.9572 1 0 1 0 1\n"
           "H -0.2399872 1 0.9266272 1 0 1\n";
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " INPUT.mop OUTPUT.mop\n";
        return 2;
    }
    return edit_a_file(argv[1], argv[2]) && build_an_input() ? 0 : 1;
}
