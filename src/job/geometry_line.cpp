// A geometry line, read field by field as MOPAC reads it: commas are blanks,
// the label in parentheses is cut out, a '-' inside a field starts a new one,
// and numbers are found wherever they begin.
#include "job/geometry_line.hpp"

#include <array>
#include <cmath>
#include <cstring>

#include "text/bytes.hpp"
#include "job/elements.hpp"
#include "job/text_lines.hpp"
#include "text/numbers.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr std::size_t longest_label = 38;
constexpr std::size_t pdb_label_length = 27;  // "ATOM      2  CA  ALA A   3"
constexpr double deuterium_mass = 2.014;
constexpr double tritium_mass = 3.016;

bool holds_next(std::string_view view) noexcept;
bool has_letter(std::string_view text) noexcept;
bool has_digit(std::string_view text) noexcept;
constexpr bool is_exponent_or_sign(char c) noexcept {
    return c == 'E' || c == 'e' || c == 'D' || c == 'd' || c == '-' || c == '+';
}
std::string_view trim(std::string_view text) noexcept;

}  // namespace

LineKind GeometryLineReader::read(std::string_view view, std::size_t atoms_before, ParsedAtom& atom) {
    issues_.clear();
    label_ = {};
    extra_ = {};
    atom = ParsedAtom{};
    view_ = view.substr(0, geometry_line_limit);
    // Commas are blanks; the label is cut out without leaving a blank, so
    // "Cl(on C5)34.96885" reads as "Cl34.96885". Case matters nowhere below:
    // symbols are looked up in any case, numbers take e, E, d and D. A line
    // with neither is read where it stands, and its split tells what the
    // checks before it need: whether it is blank, whether it may hold NEXT.
    label_at_ = std::string::npos;
    label_size_ = 0;
    text_ = view_;
    const bool plain = split_fields(true);
    if (plain && field_count_ == 0) return LineKind::end;  // blanks only
    if ((!plain || may_hold_next_) && holds_next(view_)) return LineKind::end;
    const std::string_view trimmed = trim(view_);
    if (trimmed == "$coord" || trimmed == "$end") return LineKind::skip;
    // PDB text among the first atoms hands the geometry to the PDB reader.
    if (atoms_before < 10 && view_.substr(0, 6).find('(') == std::string_view::npos &&
        (view_.substr(0, 4) == "ATOM" || view_.substr(0, 6) == "HETATM" || has_pdb_words(view_))) {
        return LineKind::pdb;
    }

    if (!plain) {
        const bool commas = std::memchr(view_.data(), ',', view_.size()) != nullptr;
        const std::size_t open = view_.find('(');
        line_.assign(view_.data(), view_.size());
        if (commas) {
            for (char& c : line_) c = c == ',' ? ' ' : c;
        }
        if (open != std::string_view::npos) {
            std::size_t close = line_.find(')', open);
            if (close == std::string::npos) {
                report(Issue::missing_parenthesis, open);
                close = line_.size();
            }
            label_ = view_.substr(open + 1, close - open - 1);
            label_at_ = open;
            label_size_ = std::min(close + 1, line_.size()) - open;
            line_.erase(open, label_size_);
            if (label_.size() > longest_label && !has_pdb_words(view_)) {
                report(Issue::label_too_long, open, std::string(label_));
            }
            if (last_label_length_ == pdb_label_length && label_.size() != pdb_label_length && !settings_.geo_ok) {
                report(Issue::label_length_changes, open, std::to_string(label_.size()) + " characters");
            }
            last_label_length_ = label_.size();
        }
        text_ = line_;
        split_fields(false);
    }
    atom.field_count = static_cast<std::uint32_t>(field_count_);
    if (field_count_ == 0) {
        report(Issue::unknown_element, 0, "\"\"");
        return LineKind::atom;
    }

    const auto field = [this](std::size_t k) {  // 1-based
        return text_.substr(fields_[k - 1].begin, fields_[k - 1].end - fields_[k - 1].begin);
    };
    const std::size_t count = field_count_;

    // "x y z El": three numbers and a symbol of one or two letters.
    if (count == 4 && !has_letter(field(1)) && field(4).size() <= 2 && is_letter(field(4)[0]) &&
        (field(4).size() == 1 || is_letter(field(4)[1]))) {
        atom.xyz_element = true;
        int number = atomic_number_of(field(4));
        if (number == 0 && to_upper(field(4)[0]) == 'X') number = dummy_atom;
        if (number == 0) report(Issue::unknown_element, view_offset(fields_[3].begin), std::string(field(4)));
        atom.atomic_number = number;
        for (int axis = 0; axis < 3; ++axis) atom.values[axis] = number_at(static_cast<std::size_t>(axis) + 1);
        atom.flags[0] = atom.flags[1] = atom.flags[2] = 1;
        extra_ = {};
        return LineKind::atom;
    }

    if (!read_element(atom)) return LineKind::end;

    if (count == 4) {
        for (int axis = 0; axis < 3; ++axis) atom.values[axis] = number_at(static_cast<std::size_t>(axis) + 2);
        atom.flags[0] = atom.flags[1] = atom.flags[2] = 1;
        mark_written_short(atom, atoms_before);
        return LineKind::atom;
    }

    // A letter where a flag belongs: PDB text, a Gaussian Z-matrix of symbols,
    // or a fault (the old "T" flags).
    if (atoms_before >= 1) {
        for (std::size_t k = 3; k <= 7 && k <= count; k += 2) {
            if (!is_letter(field(k)[0])) continue;
            if (has_pdb_words(view_)) return LineKind::pdb;
            bool whole = true;
            for (std::size_t v = 2; v <= 6 && v <= count; v += 2) {
                const double value = number_at(v);
                whole = whole && value == std::floor(value);
            }
            if (whole) return LineKind::gaussian;
            report(Issue::geometry_faulty, view_offset(fields_[k - 1].begin), std::string(field(k)));
            break;
        }
    }

    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t value_field = 2 + 2 * axis;
        const std::size_t flag_field = value_field + 1;
        atom.values[axis] = count >= value_field ? number_at(value_field) : 0.0;
        atom.flags[axis] = count >= flag_field ? static_cast<int>(round_to_integer(number_at(flag_field))) : 0;
    }

    // Connectivity: field 8 unless it holds a '.', in which case it is a charge.
    long long na = 0;
    if (count >= 8 && field(8).find('.') == std::string_view::npos) na = round_to_integer(number_at(8));
    std::size_t read_fields = 7;
    if (na > 0) {
        atom.internal = true;
        atom.connectivity[0] = na;
        atom.connectivity[1] = count >= 9 ? round_to_integer(number_at(9)) : 0;
        atom.connectivity[2] = count >= 10 ? round_to_integer(number_at(10)) : 0;
        read_fields = 10;
    }

    // The third atom may give its two connections in place of the dihedral:
    // "El r f a f 2 1" (or "1 2", whose angle MOPAC then takes as radians).
    if (atoms_before == 2 && count == 7 && field(6).find('.') == std::string_view::npos &&
        field(7).find('.') == std::string_view::npos) {
        const long long a = round_to_integer(atom.values[2]);
        const long long b = atom.flags[2];
        if ((a == 1 && b == 2) || (a == 2 && b == 1)) {
            atom.internal = true;
            atom.connectivity[0] = a;
            atom.connectivity[1] = b;
            atom.connectivity[2] = 0;
            atom.angle_in_radians = a == 1;
            atom.values[2] = 0.0;
            atom.flags[2] = 0;
        }
    }
    if (settings_.mopac && atoms_before == 1 && !atom.internal) {
        atom.internal = true;
        atom.connectivity[0] = 1;
    }
    if (settings_.mopac && atoms_before == 2 && !atom.internal) {
        atom.internal = true;
        atom.connectivity[0] = 2;
        atom.connectivity[1] = 1;
        atom.values[2] = 0.0;
    }
    // The references an atom cannot have are set to 0.
    if (atoms_before == 0) {
        atom.internal = false;
        atom.connectivity[0] = atom.connectivity[1] = atom.connectivity[2] = 0;
    } else if (atoms_before == 1) {
        atom.connectivity[1] = atom.connectivity[2] = 0;
    } else if (atoms_before == 2) {
        atom.connectivity[2] = 0;
    }
    if (!atom.internal) atom.connectivity[0] = atom.connectivity[1] = atom.connectivity[2] = 0;

    // Flags: -1, 0 and 1 unless MINI; on 7-field lines and with MINI, flags of
    // mixed size become +-2.
    if (!settings_.mini && count != 7 && atoms_before >= 1) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (atom.flags[axis] > 1) {
                report(Issue::flag_out_of_range, view_offset(fields_[2 + 2 * axis].begin));
                break;
            }
        }
    } else {
        int high = atom.flags[0];
        int low = atom.flags[0];
        for (int flag : atom.flags) {
            high = std::max(high, flag);
            low = std::min(low, flag);
        }
        const long long magnitude = std::max<long long>(std::llabs(high), std::llabs(low));
        if (magnitude > 1 && static_cast<long long>(high) != -static_cast<long long>(low)) {
            for (int& flag : atom.flags) flag = flag > 0 ? 2 : (flag < 0 ? -2 : 0);
        }
    }

    if (count > read_fields) extra_ = trim(view_.substr(view_offset(fields_[read_fields].begin)));
    mark_written_short(atom, atoms_before);
    return LineKind::atom;
}

// A Cartesian line that looks like internal coordinates short of fields:
// 2 to 6 fields ("El r f a f"), or "El r f a f na nb nc" without the dihedral,
// 8 fields that MOPAC reads as x f y f z f with the references landing in z
// and the flags. Atom 2 as "El r [f]" beside atom 1 at the origin is not
// marked: x = r puts it where internal coordinates would.
void GeometryLineReader::mark_written_short(ParsedAtom& atom, std::size_t atoms_before) {
    if (atoms_before == 0) first_at_origin_ = atom.values[0] == 0 && atom.values[1] == 0 && atom.values[2] == 0;
    if (atom.internal || atoms_before == 0) return;
    const auto reference = [atoms_before](double value) {
        return value >= 0 && value <= static_cast<double>(atoms_before) && value == std::floor(value);
    };
    const std::size_t count = atom.field_count;
    const bool references_last = count == 8 && atom.values[2] >= 1 && reference(atom.values[2]) &&
                                 reference(atom.flags[1]) && reference(atom.flags[2]);
    const bool same_place = atoms_before == 1 && first_at_origin_ && count <= 3;
    atom.written_short = !same_place && ((count >= 2 && count <= 6) || references_last);
}

// Fields are separated by blanks; a '-' inside a field, other than behind an
// exponent's E or D or another sign, starts a new one ("1.0-2.0" is two
// numbers, "--" is one sparkle); a field that opens with '"' runs to the
// closing '"'. With `plain_only`, false as soon as a comma, a '(' or a '"'
// shows that the line must be rewritten first.
//
// A field that starts with a plain number ("-12.5") has it converted here,
// and its bytes are passed at once: digits and a point end no field. A field
// that starts with an N in either case is noted: " NEXT" can stand nowhere
// else, since a blank ends a field.
bool GeometryLineReader::split_fields(bool plain_only) {
    // What ends the bytes of a field: 1 a blank, 2 a '-', 3 a comma or parenthesis.
    static constexpr auto kinds = [] {
        std::array<unsigned char, 256> table{};
        table[' '] = 1;
        table['-'] = 2;
        table[','] = table['('] = table['"'] = 3;
        return table;
    }();
    const auto kind = [](char c) { return kinds[static_cast<unsigned char>(c)]; };
    const char* const data = text_.data();
    const std::size_t n = text_.size();  // at most geometry_line_limit: each field takes a byte
    std::size_t count = 0;
    std::size_t i = 0;
    may_hold_next_ = false;
    while (i < n) {
        while (i < n && data[i] == ' ') ++i;
        if (i == n) break;
        Field& field = fields_[count++];
        field.begin = static_cast<std::uint16_t>(i);
        if (plain_only && kind(data[i]) == 3) return false;
        field.converted = false;
        if (data[i] == '"') {
            const std::size_t close = text_.find('"', i + 1);
            i = close == std::string_view::npos ? n : close + 1;
        } else {
            std::size_t end = 0;
            field.converted = read_plain_number(text_, i, field.value, end);
            if (!field.converted) may_hold_next_ = may_hold_next_ || (data[i] | 0x20) == 'n';
            for (i = field.converted ? end : i + 1; i < n; ++i) {
                const unsigned char k = kind(data[i]);
                if (k == 0) continue;
                if (k == 1 || (k == 2 && !is_exponent_or_sign(data[i - 1]))) break;
                if (k == 3 && plain_only) return false;
            }
        }
        field.end = static_cast<std::uint16_t>(i);
    }
    field_count_ = count;
    return true;
}

// MOPAC reads a value from where its field begins, past anything that is no
// number, to the end of the line.
double GeometryLineReader::number_at(std::size_t field_index) const noexcept {
    const Field& field = fields_[field_index - 1];
    if (field.converted) return field.value;
    double value = 0.0;
    std::size_t end = 0;
    read_number_in_line(text_, field.begin, value, end);
    return value;
}

// The first field: an atomic number, or a symbol with an isotope mass
// ("C13", "Cl35.45"), "+3" and the other sparkles, X... dummies, D and T.
// False when the field is the number 0 that ends the geometry.
bool GeometryLineReader::read_element(ParsedAtom& atom) {
    const std::string_view first = text_.substr(fields_[0].begin, fields_[0].end - fields_[0].begin);
    const std::size_t offset = view_offset(fields_[0].begin);
    if (is_digit(first[0])) {
        double value = 0.0;
        std::size_t end = 0;
        read_number_in_line(first, 0, value, end);
        const long long number = round_to_integer(value);
        if (number == 0) return false;
        if (number < 0 || number > highest_atomic_number) {
            report(Issue::illegal_atomic_number, offset, std::string(first));
            return true;
        }
        atom.atomic_number = static_cast<int>(number);
        return true;
    }
    if (first.substr(0, 2) == "+3") {
        atom.atomic_number = atomic_number_of("+3");
        return true;
    }
    std::string_view symbol = first.substr(0, 2);
    if (has_digit(first)) {
        std::size_t end = 0;
        read_number_in_line(first, 0, atom.isotope_mass, end);
        if (first.size() > 1 && is_digit(first[1])) symbol = first.substr(0, 1);
    }
    int number = atomic_number_of(symbol);
    if (number == 0 && to_upper(symbol[0]) == 'X') number = dummy_atom;
    if (number == 0 && symbol.size() == 1 && to_upper(symbol[0]) == 'D') {
        number = 1;
        if (atom.isotope_mass == 0.0) atom.isotope_mass = deuterium_mass;
    }
    if (number == 0 && symbol.size() == 1 && to_upper(symbol[0]) == 'T') {
        number = 1;
        if (atom.isotope_mass == 0.0) atom.isotope_mass = tritium_mass;
    }
    if (number == 0) {
        std::string shown = "\"";
        shown.append(view_.substr(offset, first.size()));
        shown.push_back('"');
        report(Issue::unknown_element, offset, std::move(shown));
    }
    atom.atomic_number = number;
    if (number >= dummy_atom) atom.isotope_mass = 0.0;  // a mass means nothing to dummies and sparkles
    return true;
}

void GeometryLineReader::report(Issue issue, std::size_t offset, std::string detail) {
    issues_.push_back({issue, offset, std::move(detail)});
}

// Offsets in line_ behind the cut-out label are that much further on in the view.
std::size_t GeometryLineReader::view_offset(std::size_t line_offset) const noexcept {
    return label_at_ != std::string::npos && line_offset >= label_at_ ? line_offset + label_size_ : line_offset;
}

bool has_pdb_words(std::string_view view) noexcept {
    static constexpr std::array<std::string_view, 23> words = {
        "TITLE ", "HEADER", "COMPND", "SOURCE", "KEYWDS", "HELIX ", "SHEET ", "REMARK",
        "USER  ", "EXPDTA", "AUTHOR", "REVDAT", "JRNL  ", "DBREF ", "SEQRES", "HET   ",
        "HETNAM", "LINK  ", "CRYST1", "SCALE",  "ORIGX",  "FORMUL", "CONECT"};
    // MOPAC's lines are blank-padded, so a word at the very end matches "TITLE ".
    for (std::string_view word : words) {
        std::string_view bare = word;
        while (!bare.empty() && bare.back() == ' ') bare.remove_suffix(1);
        for (std::size_t at = view.find(bare); at != std::string_view::npos; at = view.find(bare, at + 1)) {
            std::size_t k = at + bare.size();
            bool padded = true;
            for (std::size_t w = bare.size(); w < word.size(); ++w, ++k) padded = padded && (k >= view.size() || view[k] == ' ');
            if (padded) return true;
        }
    }
    return false;
}

long long round_to_integer(double value) noexcept {
    if (!(value == value)) return 0;  // NaN
    constexpr double limit = 2147483648.0;
    if (value >= limit) return static_cast<long long>(limit);
    if (value <= -limit) return -static_cast<long long>(limit);
    const auto whole = static_cast<long long>(value);  // flags and atom numbers are whole already
    if (static_cast<double>(whole) == value) return whole;
    return std::llround(value);
}

namespace {

// " NEXT" in any case, with the blank in front. Lines of numbers hold no
// N at all: each case of it is searched for on its own.
bool holds_next(std::string_view view) noexcept {
    const char* const data = view.data();
    const std::size_t n = view.size();
    for (char first : {'N', 'n'}) {
        for (const void* hit = n > 1 ? std::memchr(data + 1, first, n - 1) : nullptr; hit != nullptr;) {
            const auto at = static_cast<std::size_t>(static_cast<const char*>(hit) - data);
            if (at + 4 > n) break;
            if (data[at - 1] == ' ' && to_upper(data[at + 1]) == 'E' && to_upper(data[at + 2]) == 'X' &&
                to_upper(data[at + 3]) == 'T') {
                return true;
            }
            hit = std::memchr(data + at + 1, first, n - at - 1);
        }
    }
    return false;
}

bool has_letter(std::string_view text) noexcept {
    for (char c : text) {
        if (is_letter(c)) return true;
    }
    return false;
}

bool has_digit(std::string_view text) noexcept {
    for (char c : text) {
        if (is_digit(c)) return true;
    }
    return false;
}

std::string_view trim(std::string_view text) noexcept {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
