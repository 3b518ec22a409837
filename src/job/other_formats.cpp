// Gaussian Z-matrices and PDB records inside a MOPAC data set.
#include "job/other_formats.hpp"

#include <charconv>

#include "text/bytes.hpp"
#include "job/elements.hpp"
#include "text/numbers.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr std::size_t longest_symbol = 8;

std::vector<std::string_view> split_blank_or_comma(std::string_view line);
bool equal_upper(std::string_view a, std::string_view b) noexcept;
bool is_number_text(std::string_view text) noexcept;
int gaussian_element(std::string_view field) noexcept;
double fixed_column_number(std::string_view view, std::size_t first, std::size_t last) noexcept;

}  // namespace

bool ZMatrixVariables::add_line(std::string_view view) {
    std::string line(view);
    for (char& c : line) {
        if (c == '=') c = ' ';
    }
    const std::vector<std::string_view> fields = split_blank_or_comma(line);
    if (fields.size() != 2 || !is_letter(fields[0][0]) || !is_number_text(fields[1])) return false;
    double value = 0.0;
    std::size_t end = 0;
    read_number_in_line(fields[1], 0, value, end);
    std::string key(fields[0]);
    for (char& c : key) c = to_upper(c);
    values_.emplace(std::move(key), value);
    return true;
}

bool ZMatrixVariables::find(std::string_view name, double& value) const {
    std::string key(name);  // a symbol is short: no allocation
    for (char& c : key) c = to_upper(c);
    const auto found = values_.find(key);
    if (found == values_.end()) return false;
    value = found->second;
    return true;
}

bool read_gaussian_line(std::string_view view, std::size_t atoms_before, const ZMatrixVariables* variables,
                        ParsedAtom& atom, std::vector<LineIssue>& issues, std::vector<std::string>* symbols) {
    atom = ParsedAtom{};
    const std::vector<std::string_view> fields = split_blank_or_comma(view);
    if (fields.empty()) return false;
    atom.field_count = static_cast<std::uint32_t>(fields.size());
    const auto offset_of = [view](std::string_view field) { return static_cast<std::size_t>(field.data() - view.data()); };
    atom.atomic_number = gaussian_element(fields[0]);
    if (atom.atomic_number == 0) {
        issues.push_back({Issue::unknown_element, offset_of(fields[0]), "\"" + std::string(fields[0]) + "\""});
    }
    // Atom 1 stands at the origin; atom k > 1 gives min(k-1, 3) pairs of
    // reference and value.
    const std::size_t pairs = std::min<std::size_t>(atoms_before, 3);
    for (std::size_t k = 0; k < pairs; ++k) {
        const std::size_t reference_field = 1 + 2 * k;
        const std::size_t value_field = reference_field + 1;
        if (value_field >= fields.size()) break;
        double reference = 0.0;
        std::size_t end = 0;
        read_number_in_line(fields[reference_field], 0, reference, end);
        atom.connectivity[k] = round_to_integer(reference);
        std::string_view value = fields[value_field];
        if (is_number_text(value)) {
            read_number_in_line(value, 0, atom.values[k], end);
            continue;
        }
        double sign = 1.0;
        if (value[0] == '-' || value[0] == '+') {
            sign = value[0] == '-' ? -1.0 : 1.0;
            value.remove_prefix(1);
        }
        double resolved = 0.0;
        if (symbols != nullptr) symbols->emplace_back(value);
        if (value.size() > longest_symbol || (variables != nullptr && !variables->find(value, resolved))) {
            issues.push_back({Issue::undefined_symbol, offset_of(fields[value_field]), std::string(value)});
        }
        atom.values[k] = sign * resolved;
    }
    atom.internal = atoms_before > 0;
    atom.flags[0] = atom.flags[1] = atom.flags[2] = 1;
    return true;
}

PdbElementNames pdb_element_names(std::string_view keyword) {
    PdbElementNames names;
    const std::size_t open = keyword.find('(');
    if (keyword.substr(0, 3) != "PDB" || open == std::string_view::npos) return names;
    std::string_view list = keyword.substr(open + 1);
    if (!list.empty() && list.back() == ')') list.remove_suffix(1);
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        const std::string_view entry = list.substr(0, comma);
        const std::size_t colon = entry.find(':');
        if (colon != std::string_view::npos) {
            double number = 0.0;
            std::size_t end = 0;
            read_number_in_line(entry, colon + 1, number, end);
            names.emplace_back(std::string(entry.substr(0, colon)), static_cast<int>(round_to_integer(number)));
        }
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    }
    return names;
}

LineKind read_pdb_line(std::string_view view, const PdbElementNames& names, ParsedAtom& atom,
                       std::vector<LineIssue>& issues) {
    atom = ParsedAtom{};
    bool blank = true;
    for (char c : view) blank = blank && c == ' ';
    if (blank || view == "END" || view.substr(0, 4) == "END ") return LineKind::end;
    if (view.substr(0, 6) != "ATOM  " && view.substr(0, 6) != "HETATM") return LineKind::skip;
    atom.values[0] = fixed_column_number(view, 31, 38);
    atom.values[1] = fixed_column_number(view, 39, 46);
    atom.values[2] = fixed_column_number(view, 47, 54);
    atom.flags[0] = atom.flags[1] = atom.flags[2] = 1;
    atom.field_count = 3;
    // The element as MOPAC takes it: columns 77-78 when they hold a symbol
    // (one letter right-justified, or two), else columns 13-14 with digits
    // and blanks dropped (an ATOM name starting with H is hydrogen). A name
    // the PDB keyword defines wins; X and L are no atoms.
    const auto column = [&view](std::size_t at) { return at < view.size() ? to_upper(view[at]) : ' '; };
    const auto blank_or_digit = [](char c, bool dot) { return c == ' ' || is_digit(c) || (dot && c == '.'); };
    std::string element{column(76), column(77)};
    if (element[0] != ' ' && element[1] == ' ') element = "  ";
    if (blank_or_digit(element[0], true)) {
        element = {element[1], ' '};
        if (blank_or_digit(element[0], true)) {
            element = {column(12), column(13)};
            if (view.substr(0, 4) == "ATOM" && element[0] == 'H') {
                element[1] = ' ';
            } else if (blank_or_digit(element[0], false)) {
                element = {element[1], ' '};
            }
            if (blank_or_digit(element[1], false)) element[1] = ' ';
        }
    }
    const std::string_view symbol = std::string_view(element).substr(0, element[1] == ' ' ? 1 : 2);
    for (const auto& [name, number] : names) {
        if (equal_upper(name, symbol)) {
            atom.atomic_number = number;
            return LineKind::atom;
        }
    }
    if (symbol == "X" || symbol == "L") return LineKind::skip;
    int number = symbol == "D" ? 1 : atomic_number_of(symbol);
    if (number > 93) number = 0;
    if (number == 0) {
        const std::string_view name = view.size() > 12 ? view.substr(12, 4) : std::string_view();
        issues.push_back({Issue::unknown_element, 12, "\"" + std::string(name) + "\""});
    }
    atom.atomic_number = number;
    return LineKind::atom;
}

namespace {

std::vector<std::string_view> split_blank_or_comma(std::string_view line) {
    std::vector<std::string_view> fields;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == ',')) ++i;
        const std::size_t begin = i;
        while (i < line.size() && line[i] != ' ' && line[i] != ',') ++i;
        if (i > begin) fields.push_back(line.substr(begin, i - begin));
    }
    return fields;
}

bool equal_upper(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (to_upper(a[i]) != to_upper(b[i])) return false;
    }
    return true;
}

// A field that is a number as a whole: "1.5", "-120.", "1D-3".
bool is_number_text(std::string_view text) noexcept {
    double value = 0.0;
    std::size_t end = 0;
    const std::size_t first = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    return first < text.size() && (is_digit(text[first]) || text[first] == '.') &&
           read_number_in_line(text, 0, value, end) && end == text.size();
}

// The Gaussian reader's table: MOPAC's, but with Cf, Fm and Md at 98, 100
// and 101, and X for a dummy atom. "C1" is not a symbol.
int gaussian_element(std::string_view field) noexcept {
    if (is_digit(field[0])) {
        double value = 0.0;
        std::size_t end = 0;
        read_number_in_line(field, 0, value, end);
        const long long number = round_to_integer(value);
        return number >= 1 && number <= highest_atomic_number ? static_cast<int>(number) : 0;
    }
    if (equal_upper(field, "CF")) return 98;
    if (equal_upper(field, "FM")) return 100;
    if (equal_upper(field, "MD")) return 101;
    if (equal_upper(field, "X")) return dummy_atom;
    const int number = atomic_number_of(field);
    return number == mithril || number == 100 || number == 101 ? 0 : number;
}

// Columns `first` to `last`, 1-based and inclusive, as a number; 0 when blank.
double fixed_column_number(std::string_view view, std::size_t first, std::size_t last) noexcept {
    if (view.size() < first) return 0.0;
    std::string_view field = view.substr(first - 1, last - first + 1);
    double value = 0.0;
    std::size_t end = 0;
    read_number_in_line(field, 0, value, end);
    return value;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
