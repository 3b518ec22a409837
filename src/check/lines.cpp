// Text that MOPAC reads otherwise than it looks, line by line.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "check/findings.hpp"
#include "text/bytes.hpp"
#include "text/continuation.hpp"
#include "text/keyword_scan.hpp"

namespace vesk::input::mopac::check {

// Text that MOPAC reads otherwise than it looks: NUL bytes, a '*' line
// inside a head (dropped, so the next line moves up), a decimal comma in a
// geometry line (a comma separates numbers), a " +" inside a word that
// continues the keywords all the same.
void check_lines(Findings& findings) {
    const MopacJob& job = findings.job();
    if (job.text().find('\0') != std::string::npos) {
        findings.add(Severity::error, "not-text", 0, 0, "the file holds NUL bytes: MOPAC input is text");
    }
    const JobLines& lines = job.lines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view text = job.line_text(i + 1);
        const JobLine& line = lines[i];
        if (line.role == LineRole::comment && i > 0 && i + 1 < lines.size()) {
            const LineRole before = lines[i - 1].role;
            if ((before == LineRole::keywords || before == LineRole::title) && lines[i - 1].job == lines[i + 1].job &&
                (lines[i + 1].role == LineRole::title || lines[i + 1].role == LineRole::description)) {
                findings.add(Severity::warning, "comment-in-head", i + 1, 1,
                             "MOPAC drops this '*' line, so the next line is read as the " +
                                 std::string(lines[i + 1].role == LineRole::title ? "title" : "description"));
            }
        }
        if (line.role == LineRole::geometry && text.find(' ') != std::string_view::npos) {
            for (std::size_t at = text.find(','); at != std::string_view::npos; at = text.find(',', at + 1)) {
                const std::size_t begin = text.find_last_of(" \t", at) == std::string_view::npos ? 0 : text.find_last_of(" \t", at) + 1;
                const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
                const std::string_view field = text.substr(begin, end - begin);
                if (at > 0 && at + 1 < text.size() && detail::is_digit(text[at - 1]) && detail::is_digit(text[at + 1]) &&
                    field.find('.') == std::string_view::npos && std::count(field.begin(), field.end(), ',') == 1) {
                    findings.add(Severity::warning, "decimal-comma", i + 1, at + 1,
                                 "a decimal comma: MOPAC reads " + std::string(field) + " as two numbers");
                    break;
                }
            }
        }
        if (line.role == LineRole::keywords && i + 1 < lines.size() && lines[i + 1].role == LineRole::keywords &&
            lines[i + 1].job == line.job) {
            // MOPAC continues at any " +"; a lone "+" is the mark authors write.
            const std::size_t plus = (" " + std::string(text) + " ").find(" +");
            if (!detail::holds_plus_token(text) && plus != std::string::npos && !detail::holds_ampersand(text) &&
                !detail::holds_double_plus(text)) {
                findings.add(Severity::warning, "plus-in-word", i + 1, plus + 1,
                             "\" +\" inside a word or quotes: MOPAC reads the next line as more keywords");
            }
        }
    }
}

}  // namespace vesk::input::mopac::check
