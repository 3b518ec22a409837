// Fuzz target: random editor and builder call sequences on parsed documents.
// Nothing throws but the two refusals, a refusal changes nothing, the builder
// equals an editor at width 78, and the edited text reads back with the same
// head whenever its tokens and lines leave the format nothing to misread.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

// Reads the fuzzer's bytes as a stream of choices; zeros once exhausted.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return pos_ >= size_; }
    std::uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::uint32_t u32() {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
        return v;
    }
    std::string_view bytes(std::size_t n) {
        n = std::min(n, size_ - std::min(pos_, size_));
        std::string_view v(reinterpret_cast<const char*>(data_) + pos_, n);
        pos_ += n;
        return v;
    }
    // Mostly keyword-like text, sometimes any bytes.
    std::string text() {
        static const char alphabet[] = "ABCPMX7=()'\" +,.019-\t";
        std::size_t length = byte() % 24;
        if (byte() % 4 == 0) return std::string(bytes(length));
        std::string s;
        for (std::size_t i = 0; i < length; ++i) s += alphabet[byte() % (sizeof alphabet - 1)];
        return s;
    }
    unsigned long long width() {
        switch (byte() % 4) {
            case 0: return 0;
            case 1: return ULLONG_MAX;
            default: return byte();
        }
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

// A token that the next read sees as one token: no line break, every quote
// and parenthesis closed.
bool is_plain_token(const std::string& token) {
    char quote = 0;
    long depth = 0;
    for (char c : token) {
        if (c == '\n' || c == '\r') return false;
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && depth > 0) {
            --depth;
        }
    }
    return quote == 0 && depth == 0;
}

bool is_plain_line(const std::string& line) {
    return line.find('\n') == std::string::npos && (line.empty() || line.back() != '\r');
}

// Applies one random operation to the editor (at a random width) and the same
// operation to the builder and the reference editor (at width 78).
void apply_one(Choices& in, InputEditor& editor, InputBuilder& builder, InputEditor& at_78) {
    const std::string before = editor.to_string();
    const unsigned long long width = in.width();
    try {
        switch (in.byte() % 14) {
            case 0: {
                std::vector<std::string> tokens;
                for (std::size_t n = in.byte() % 6; n > 0; --n) tokens.push_back(in.text());
                editor.set_keywords(tokens, width);
                builder.set_keywords(tokens);
                at_78.set_keywords(tokens, default_keyword_line_width);
                break;
            }
            case 1: {
                std::string token = in.text();
                editor.add_keyword(token, width);
                builder.add_keyword(token);
                at_78.add_keyword(token);
                break;
            }
            case 2: {
                std::string name = in.text();
                std::optional<std::string> value;
                if (in.byte() % 2) value = in.text();
                std::optional<std::string_view> view;
                if (value) view = *value;
                editor.set_keyword(name, view, width);
                builder.set_keyword(name, value);
                at_78.set_keyword(name, view);
                break;
            }
            case 3: {
                std::string name = in.text();
                editor.remove_keyword(name, width);
                at_78.remove_keyword(name);
                builder = InputBuilder(at_78.input());  // the builder has no remove_keyword
                break;
            }
            case 4: {
                std::string method = in.text();
                editor.set_method(method, width);
                builder.set_method(method);
                at_78.set_method(method);
                break;
            }
            case 5: {
                int charge = static_cast<int>(in.u32());
                editor.set_charge(charge, width);
                builder.set_charge(charge);
                at_78.set_charge(charge);
                break;
            }
            case 6: {
                unsigned int multiplicity = in.byte() % 3 == 0 ? 0u : in.u32() % 16;
                if (in.byte() == 255) multiplicity = UINT_MAX;
                editor.set_multiplicity(multiplicity, width);
                builder.set_multiplicity(multiplicity);
                at_78.set_multiplicity(multiplicity);
                break;
            }
            case 7: {
                int precision = static_cast<int>(in.byte() % 21) - 1;
                if (in.byte() == 255) precision = static_cast<int>(in.u32());
                bool extended = in.byte() % 2;
                editor.set_auxiliary_output(precision, extended, width);
                builder.set_auxiliary_output(precision, extended);
                at_78.set_auxiliary_output(precision, extended);
                break;
            }
            case 8:
                editor.clear_auxiliary_output(width);
                builder.clear_auxiliary_output();
                at_78.clear_auxiliary_output();
                break;
            case 9: {
                std::string title = in.text();
                editor.set_title(title);
                builder.set_title(title);
                at_78.set_title(title);
                break;
            }
            case 10: {
                std::string comment = in.text();
                editor.set_comment(comment);
                builder.set_comment(comment);
                at_78.set_comment(comment);
                break;
            }
            case 11: {
                vesk::core::Atom atom(in.text(), static_cast<int>(in.u32()) / 1024.0, in.byte(), -in.byte());
                bool optimize = in.byte() % 2;
                editor.add_atom(atom, optimize);
                builder.add_atom(atom, optimize);
                at_78.add_atom(atom, optimize);
                break;
            }
            case 12: {
                double x = static_cast<int>(in.u32()) / 8.0;
                editor.add_translation_vector(x, 0, 1);
                builder.add_translation_vector(x, 0, 1);
                at_78.add_translation_vector(x, 0, 1);
                break;
            }
            default: {
                vesk::core::Geometry geometry = editor.input().cartesian_geometry();
                bool optimize = in.byte() % 2;
                editor.set_geometry(geometry, optimize);
                builder.set_geometry(geometry, optimize);
                at_78.set_geometry(geometry, optimize);
                break;
            }
        }
    } catch (const std::invalid_argument& refusal) {
        const std::string message = refusal.what();
        check(message == "MOPAC multiplicity must be positive" ||
                  message == "MOPAC AUX precision must be between 0 and 18",
              "unexpected invalid_argument");
        check(editor.to_string() == before, "a refusal changed the document");
    }
    check(builder.to_string() == at_78.to_string(), "builder differs from the editor at width 78");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices in(data, size);
    std::size_t text_size = (static_cast<std::size_t>(in.byte()) << 8) | in.byte();
    ParseResult parsed = parse_string(in.bytes(text_size));
    if (!parsed.ok) return 0;

    InputEditor editor(parsed.input);
    InputBuilder builder(parsed.input);
    InputEditor at_78(parsed.input);
    for (int step = 0; step < 16 && !in.empty(); ++step) apply_one(in, editor, builder, at_78);

    // The head reads back unchanged unless a token or line lets the format
    // read it otherwise (an open quote swallowing the mark, a line feed).
    const MopacInput& edited = editor.input();
    const std::vector<std::string> tokens = edited.keyword_tokens();
    bool plain = is_plain_line(edited.title) && is_plain_line(edited.comment);
    for (const auto& line : edited.keyword_lines) plain = plain && is_plain_line(line);
    for (const auto& token : tokens) plain = plain && is_plain_token(token);
    // A token with an inner " + " (one argument "a + b") makes the last line
    // continue on the next read: the rules let such text change meaning.
    plain = plain && (edited.keyword_lines.empty() || !keyword_line_continues(edited.keyword_lines.back()));
    if (plain) {
        ParseResult again = parse_string(edited.to_string());
        check(again.ok, "edited text does not parse");
        check(again.input.keyword_lines == edited.keyword_lines ||
                  (edited.keyword_lines.empty() && again.input.keyword_lines == std::vector<std::string>{""}),
              "keyword lines changed on reading");
        check(again.input.title == edited.title, "title changed on reading");
        check(again.input.comment == edited.comment, "comment changed on reading");
        check(again.input.keyword_tokens() == tokens, "tokens changed on reading");
    }
    return 0;
}
