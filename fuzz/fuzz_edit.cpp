// Fuzz target: keyword edits of editor and builder on parsed documents. Nothing
// throws but the two refusals, a refusal changes nothing, the builder equals
// an editor at width 78, and the edited head reads back unless its text lets
// the format read it otherwise. Input: the document, then calls separated by
// NUL bytes, each an operation letter, a width byte ('*' the largest, '0'
// zero, else its value) and an argument: "MNPM7" is set_method("PM7", 78).
// A text without calls, such as a real input file, gets the usual edits.
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "round_trip.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

namespace {

using namespace vesk::input::mopac;
using vesk::fuzz::check;

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts(1);
    for (char c : text) c == separator ? void(parts.emplace_back()) : parts.back().push_back(c);
    return parts;
}

// One call on the editor at the call's width, and the same on the builder
// and on an editor at the default width, which is the builder's.
void call(const std::string& part, InputEditor& editor, InputBuilder& builder, InputEditor& at_78) {
    const unsigned char code = static_cast<unsigned char>(part[1]);
    const unsigned long long width = code == '*' ? ULLONG_MAX : code == '0' ? 0 : code;
    const std::string arg = part.substr(2);
    long long number = 0;  // the argument as a decimal integer, for the calls that take one
    std::from_chars(arg.data(), arg.data() + arg.size(), number);
    auto all = [&](auto op) {  // op(target, width...): the width only for `editor`
        op(editor, width);
        op(at_78);
        op(builder);
    };
    switch (part[0]) {
        case 'K': return all([&](auto& t, auto... w) { t.set_keywords(split(arg, '|'), w...); });
        case 'k': return all([&](auto& t, auto... w) { t.add_keyword(arg, w...); });
        case 'S': {  // "NAME|VALUE", or "NAME" without a value
            const std::vector<std::string> name_value = split(arg, '|');
            std::optional<std::string> value;
            if (name_value.size() > 1) value = name_value[1];
            return all([&](auto& t, auto... w) { t.set_keyword(name_value[0], value, w...); });
        }
        case 'R':
            editor.remove_keyword(arg, width);
            at_78.remove_keyword(arg);
            builder = InputBuilder(at_78.input());  // the builder has no remove_keyword
            return;
        case 'M': return all([&](auto& t, auto... w) { t.set_method(arg, w...); });
        case 'C': return all([&](auto& t, auto... w) { t.set_charge(static_cast<int>(number), w...); });
        case 'm': return all([&](auto& t, auto... w) { t.set_multiplicity(static_cast<unsigned int>(number), w...); });
        case 'A':
        case 'P': {
            const int precision = static_cast<int>(number);
            return all([&](auto& t, auto... w) { t.set_auxiliary_output(precision, part[0] == 'P', w...); });
        }
        case 'X': return all([&](auto& t, auto... w) { t.clear_auxiliary_output(w...); });
        case 'T': return all([&](auto& t, auto...) { t.set_title(arg); });
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> parts = split(std::string_view(reinterpret_cast<const char*>(data), size), '\0');
    if (parts.size() == 1) {
        parts.insert(parts.end(), {"M(PM6-D3H4", "m(4", "C(-2", "P(12", "S(GNORM|0.05", "k(T=1D", "R(precise"});
    }
    const ParseResult parsed = parse_string(parts[0]);
    if (!parsed.ok) return 0;
    InputEditor editor(parsed.input);
    InputBuilder builder(parsed.input);
    InputEditor at_78(parsed.input);
    for (std::size_t i = 1; i < parts.size() && i <= 1024; ++i) {
        if (parts[i].size() < 2) continue;
        const std::string before = editor.to_string();
        try {
            call(parts[i], editor, builder, at_78);
        } catch (const std::invalid_argument& refusal) {
            const std::string message = refusal.what();
            check(message == "MOPAC multiplicity must be positive" ||
                      message == "MOPAC AUX precision must be between 0 and 18",
                  "unexpected invalid_argument");
            check(editor.to_string() == before, "a refusal changed the document");
        }
        check(builder.to_string() == at_78.to_string(), "builder differs from the editor at width 78");
    }

    // The head reads back unchanged unless a token or line lets the format
    // read it otherwise: a line feed or a final CR in a line, a quote or
    // parenthesis left open that swallows the mark, or a token "a + b" that
    // makes the last line continue.
    const MopacInput& edited = editor.input();
    auto plain = [](const std::string& line) {
        return line.find('\n') == line.npos && (line.empty() || line.back() != '\r');
    };
    bool reads_back = plain(edited.title) && plain(edited.comment) &&
                      (edited.keyword_lines.empty() || !keyword_line_continues(edited.keyword_lines.back()));
    for (const auto& line : edited.keyword_lines) reads_back = reads_back && plain(line);
    for (const auto& token : edited.keyword_tokens()) reads_back = reads_back && vesk::fuzz::closes(token);
    if (reads_back) {
        const ParseResult again = parse_string(edited.to_string());
        check(again.ok && again.input.keyword_lines == edited.keyword_lines, "keyword lines changed on reading");
        check(again.input.title == edited.title && again.input.comment == edited.comment, "title or comment changed");
    }
    return 0;
}
