// Parses, edits and renders one input through the installed library.
#include <iostream>

#include <vesk/input/mopac/mopac_input.hpp>

int main() {
    using namespace vesk::input::mopac;
    ParseResult result = parse_string("PM6 TRIPLET\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n");
    if (!result.ok) {
        std::cerr << result.error << '\n';
        return 1;
    }
    InputEditor editor(std::move(result.input));
    editor.set_method("PM7");
    editor.set_charge(-1);
    editor.set_multiplicity(3);
    std::cout << editor.to_string();
    return editor.input().cartesian_geometry().atoms.size() == 3 ? 0 : 1;
}
