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

std::string format_xyz(const core::Geometry& geometry, std::string_view comment) {
    std::string out = std::to_string(geometry.atoms.size()) + "\n";
    out.append(comment);
    out += '\n';
    char number[32];
    for (const auto& atom : geometry.atoms) {
        out += atom.element;
        for (double value : {atom.x, atom.y, atom.z}) {
            out += ' ';
            out.append(number, std::to_chars(number, number + sizeof number, value).ptr);
        }
        out += '\n';
    }
    return out;
}

namespace {

bool read_number(std::string_view word, double& value) {
    if (!word.empty() && word[0] == '+') word.remove_prefix(1);
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

[[noreturn]] void fail(std::size_t line, const std::string& what) {
    throw XyzError("line " + std::to_string(line) + ": " + what);
}

}  // namespace
}  // namespace vesk::tools
