// The XYZ format: a count, a comment line and "element x y z" lines.
#include "xyz.hpp"

#include <charconv>
#include <string>
#include <system_error>
#include <vector>

#include "text.hpp"

namespace vesk::tools {
namespace {

bool read_number(std::string_view word, double& value);
void read_extended_comment(std::string_view line, XyzFile& file);
[[noreturn]] void fail(std::size_t line, const std::string& what);

}  // namespace

XyzFile parse_xyz(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
        start = end + 1;
    }

    const std::vector<std::string_view> count_words = lines.empty() ? std::vector<std::string_view>{}
                                                                     : split_words(lines[0]);
    std::size_t count = 0;
    if (count_words.size() != 1) fail(1, "expected the number of atoms");
    const char* count_end = count_words[0].data() + count_words[0].size();
    auto [stop, error] = std::from_chars(count_words[0].data(), count_end, count);
    if (error != std::errc() || stop != count_end) fail(1, "expected the number of atoms");  // out of range too
    // Not "lines.size() < 2 + count": that wraps around for a count near SIZE_MAX.
    const std::size_t atom_lines = lines.size() < 2 ? 0 : lines.size() - 2;
    if (count > atom_lines) {
        fail(lines.size() + 1, "the file ends after " + std::to_string(atom_lines) + " of " + std::to_string(count) +
                                   " atoms");
    }

    XyzFile file;
    file.comment = std::string(lines[1]);
    read_extended_comment(lines[1], file);
    file.geometry.atoms.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::vector<std::string_view> words = split_words(lines[2 + i]);
        double x = 0.0, y = 0.0, z = 0.0;
        if (words.size() < 4 || !read_number(words[1], x) || !read_number(words[2], y) ||
            !read_number(words[3], z)) {
            fail(3 + i, "expected an element and three coordinates, found \"" + std::string(lines[2 + i]) + "\"");
        }
        file.geometry.atoms.emplace_back(std::string(words[0]), x, y, z);
    }
    for (std::size_t i = 2 + count; i < lines.size(); ++i) {
        if (!split_words(lines[i]).empty()) fail(i + 1, "more lines than the " + std::to_string(count) + " atoms");
    }
    return file;
}

namespace {

void append_number(std::string& out, double value) {
    char number[32];
    out.append(number, std::to_chars(number, number + sizeof number, value).ptr);
}

}  // namespace

std::string format_xyz(const XyzFile& frame) {
    std::string out;
    append_xyz_head(out, frame.geometry.atoms.size(), frame);
    for (const auto& atom : frame.geometry.atoms) append_xyz_atom(out, atom.element, atom.x, atom.y, atom.z);
    return out;
}

void append_xyz_head(std::string& out, std::size_t atoms, const XyzFile& frame) {
    out += std::to_string(atoms);
    out += '\n';
    if (!frame.lattice.empty()) {
        out += "Lattice=\"";
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                if (k + axis > 0) out += ' ';
                append_number(out, k < frame.lattice.size() ? frame.lattice[k][axis] : 0.0);
            }
        }
        out += "\" pbc=\"";
        for (std::size_t k = 0; k < 3; ++k) out += std::string(k > 0 ? " " : "") + (k < frame.lattice.size() ? "T" : "F");
        out += "\" ";
    }
    out += "Properties=species:S:1:pos:R:3";
    if (frame.charge) out += " charge=" + std::to_string(*frame.charge);
    if (frame.multiplicity) out += " multiplicity=" + std::to_string(*frame.multiplicity);
    std::string title;
    for (const char c : as_utf8(frame.comment)) {
        if (c == '"' || c == '\\') title += '\\';
        title += (c == '\n' || c == '\r') ? ' ' : c;
    }
    out += " title=\"" + title + "\"\n";
}

void append_xyz_atom(std::string& out, std::string_view element, double x, double y, double z) {
    out += element;
    for (double value : {x, y, z}) {
        out += ' ';
        append_number(out, value);
    }
    out += '\n';
}

std::string as_utf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = byte < 0x80 ? 1 : utf8_sequence_length(text, i);
        if (length > 0) {
            out.append(text.substr(i, length));
            i += length;
            continue;
        }
        out += static_cast<char>(0xC0 | (byte >> 6));
        out += static_cast<char>(0x80 | (byte & 0x3F));
        ++i;
    }
    return out;
}

namespace {

bool read_number(std::string_view word, double& value) {
    if (!word.empty() && word[0] == '+') word.remove_prefix(1);
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

// key=value pairs, values optionally in double quotes with backslash escapes.
void read_extended_comment(std::string_view line, XyzFile& file) {
    std::vector<std::pair<std::string, std::string>> pairs;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        const std::size_t key_begin = i;
        while (i < line.size() && line[i] != '=' && line[i] != ' ' && line[i] != '\t') ++i;
        if (i >= line.size() || line[i] != '=') {
            if (i == key_begin) ++i;
            continue;
        }
        std::string key(line.substr(key_begin, i - key_begin));
        ++i;
        std::string value;
        if (i < line.size() && line[i] == '"') {
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                if (line[i] == '\\' && i + 1 < line.size()) ++i;
                value += line[i];
            }
            ++i;
        } else {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t') value += line[i++];
        }
        for (char& c : key) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        pairs.emplace_back(std::move(key), std::move(value));
    }
    std::vector<double> lattice;
    std::string pbc_text;
    // An extended comment line is no title; only its title= is.
    for (const auto& [key, value] : pairs) {
        if (key == "lattice" || key == "properties") file.comment.clear();
    }
    for (const auto& [key, value] : pairs) {
        double number = 0.0;
        if (key == "lattice") {
            for (std::string_view word : split_words(value)) {
                if (read_number(word, number)) lattice.push_back(number);
            }
        } else if (key == "pbc") {
            pbc_text = value;
        } else if (key == "charge" && read_number(value, number) && number == static_cast<int>(number)) {
            file.charge = static_cast<int>(number);
        } else if (key == "multiplicity" && read_number(value, number) && number >= 1 && number < 1e6 &&
                   number == static_cast<unsigned int>(number)) {
            file.multiplicity = static_cast<unsigned int>(number);
        } else if (key == "title") {
            file.comment = value;
        }
    }
    if (lattice.size() != 9) return;
    const std::vector<std::string_view> pbc = split_words(pbc_text);
    for (std::size_t k = 0; k < 3; ++k) {
        const bool periodic = pbc.size() != 3 || pbc[k] == "T" || pbc[k] == "t" || pbc[k] == "True" || pbc[k] == "1";
        if (periodic) file.lattice.push_back({lattice[3 * k], lattice[3 * k + 1], lattice[3 * k + 2]});
    }
}

[[noreturn]] void fail(std::size_t line, const std::string& what) {
    throw XyzError("line " + std::to_string(line) + ": " + what);
}

}  // namespace
}  // namespace vesk::tools
