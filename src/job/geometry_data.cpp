// The data behind a geometry: symmetry data, the points of a reaction path,
// SETPI pairs and MICROS microstates.
#include <cstddef>
#include <string>
#include <string_view>

#include "text/bytes.hpp"
#include "job/placement.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"

namespace vesk::input::mopac {

using detail::Issue;

// Symmetry data (SYMMETRY) up to a blank line or a line whose third number is
// 0, then the points of a reaction path (a flag of -1) up to a blank line. A
// line of numbers alone can start no job, so such lines are read as this
// job's data even without the keyword that asks for them.
void JobReader::read_data_behind_geometry(Job& current, std::size_t job_index, bool reaction_path) {
    const bool symmetry = detail::uses_symmetry(current);
    if (symmetry || (!at_end() && detail::numbers_only(view(next_), true))) {
        detail::SymmetryLine line;
        std::string reason;
        while (!at_end()) {
            const std::size_t index = take(LineRole::symmetry, job_index);
            const std::string_view text = view(index);
            if (detail::is_blank_view(text)) break;
            bool ends = false;
            if (!detail::read_symmetry_line(text, line, ends, reason)) report_line(Issue::bad_symmetry_line, index, reason);
            if (ends) break;
        }
    }
    if (reaction_path || current.has_keyword("SETPI") || (!at_end() && detail::numbers_only(view(next_), false))) {
        while (!at_end()) {
            const bool blank = detail::is_blank_view(view(next_));
            take(LineRole::data, job_index);
            if (blank) break;
        }
    }
    // MICROS=n: n microstates, behind a line "MICROS".
    const std::string microstates = current.keyword_value("MICROS").value_or("");
    if (!microstates.empty() && detail::is_digit(microstates[0])) {
        std::size_t count = 0;
        for (char c : microstates) {
            if (!detail::is_digit(c) || count > job_.lines_.size()) break;
            count = count * 10 + static_cast<std::size_t>(c - '0');
        }
        if (!at_end() && detail::contains_upper(view(next_), "MICROS")) take(LineRole::data, job_index);
        for (std::size_t k = 0; k < count && !at_end(); ++k) take(LineRole::data, job_index);
    }
}

}  // namespace vesk::input::mopac
