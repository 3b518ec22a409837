// Fields of a line: the runs of bytes between separators, as views into the
// line. One splitter for every reader that cuts a line into words: the
// Gaussian Z-matrix and its variables (blank or comma), the tool's XYZ
// lines (blank, tab or CR).
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace vesk::input::mopac::detail {

/// The non-empty runs of `line` between bytes of `separators`:
/// split_fields("C 1,,2", " ,") -> "C", "1", "2".
inline std::vector<std::string_view> split_fields(std::string_view line, std::string_view separators) {
    std::vector<std::string_view> fields;
    std::size_t i = 0;
    while (i < line.size()) {
        i = line.find_first_not_of(separators, i);
        if (i == std::string_view::npos) break;
        const std::size_t end = std::min(line.find_first_of(separators, i), line.size());
        fields.push_back(line.substr(i, end - i));
        i = end;
    }
    return fields;
}

}  // namespace vesk::input::mopac::detail
