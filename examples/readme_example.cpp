// The README's tour of the API, built and run as a test so that it stays true.
#include <iostream>
#include <string>

#include <vesk/input/mopac/mopac_input.hpp>

namespace mopac = vesk::input::mopac;

// Read a file as MOPAC reads it, edit it where MOPAC reads it, check the result.
bool edit_a_job(const std::string& path, const std::string& out_path) {
    mopac::MopacJob job = mopac::read_job_file(path);  // never throws: defects are diagnostics
    for (const mopac::Diagnostic& d : job.diagnostics()) std::cerr << path << ':' << d.line << ": " << d.message << '\n';

    const mopac::Job& first = job.jobs().at(0);
    std::cout << "keywords on line " << first.first_keyword_line << ", PRECISE? " << first.has_keyword("precise")
              << ", " << first.counts.internal << " atoms in internal coordinates\n";
    // keywords on line 2, PRECISE? 1, 5 atoms in internal coordinates
    const vesk::core::Geometry atoms = job.geometry();  // the Z-matrix placed as MOPAC places it, in Å
    std::cout << atoms.atoms[2].element << ' ' << atoms.atoms[2].x << ' ' << atoms.atoms[2].y << '\n';
    // H 1.72666 0.913014

    mopac::JobEditor editor(std::move(job));
    editor.set_method("PM6-D3H4");  // every method MOPAC runs goes, the new one takes the first's place
    editor.set_charge(1);           // CHARGE=1 where a CHARGE was, else at the end of the keywords
    editor.set_multiplicity(2);     // DOUBLET, in the form MOPAC accepts for this job
    for (const mopac::Diagnostic& d : mopac::check_job(editor.job())) {
        std::cerr << path << ':' << d.line << ": " << d.message << '\n';  // nothing: MOPAC would run it
    }
    editor.write_file(out_path);  // atomic; every byte but line 2 as it was
    std::cout << editor.job().line_text(2) << '\n';
    // PM6-D3H4 PRECISE CHARGE=1 DOUBLET
    return editor.job().line_text(2) == "PM6-D3H4 PRECISE CHARGE=1 DOUBLET" &&
           mopac::check_job(editor.job()).empty();
}

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
    if (argc != 5) {
        std::cerr << "usage: " << argv[0] << " ZMATRIX.mop EDITED.mop INPUT.mop OUTPUT.mop\n";
        return 2;
    }
    return edit_a_job(argv[1], argv[2]) && edit_a_file(argv[3], argv[4]) && build_an_input() ? 0 : 1;
}
