// Fuzz target: any bytes parse to a result; a parsed document survives render
// and parse again; and after keyword edits at width 40 its keyword block reads
// back as it was laid out, unless a token leaves a quote or parenthesis open
// and so swallows the continuation mark behind it.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "round_trip.hpp"
#include "vesk/input/mopac/editor.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vesk::input::mopac;
    using vesk::fuzz::check;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    ParseResult result = parse_string(text);
    check(result.ok ? result.error.empty() && result.warnings.size() <= 1
                    : !result.error.empty() && result.warnings.empty(),
          "error text and warnings do not fit the outcome");
    if (!result.ok) return 0;
    const std::string defect = vesk::fuzz::round_trip_defect(text, result.input);
    check(defect.empty(), defect);

    for (const auto& token : result.input.keyword_tokens()) {
        if (!vesk::fuzz::closes(token)) return 0;
    }
    InputEditor editor(std::move(result.input));
    editor.set_method("PM6-D3H4", 40);
    editor.set_multiplicity(4, 40);
    editor.set_charge(-2, 40);
    editor.set_auxiliary_output(12, true, 40);
    editor.set_keyword("GNORM", "0.05", 40);
    editor.add_keyword("T=1D", 40);
    editor.remove_keyword("precise", 40);
    check(parse_string(editor.to_string()).input.keyword_lines == editor.input().keyword_lines,
          "edited keyword lines read back otherwise");
    return 0;
}
