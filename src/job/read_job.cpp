// The reading of a data set as MOPAC reads it: lines, '*' comments, the .arc
// marker, then job after job (head, geometry, the data behind the geometry),
// each line given a role and each fault a line-numbered diagnostic.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/bytes.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "vesk/core/fs.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

constexpr std::array<std::string_view, 3> arc_markers = {
    "FINAL GEOMETRY OBTAINED", "GEOMETRY IN CARTESIAN COORDINATE", "GEOMETRY IN MOPAC Z-MATRIX"};


}  // namespace

MopacJob read_job(std::string_view text, const ReadOptions& options) { return read_job(std::string(text), options); }

MopacJob read_job(std::string&& text, const ReadOptions& options) {
    MopacJob job;
    JobReader reader(job);
    reader.read(std::move(text), options);
    return job;
}

MopacJob read_job_file(const std::string& path) {
    ReadOptions options;
    options.arc = detail::contains_upper(path, ".arc");
    std::string text;
    try {
        text = vesk::core::fs::read_text_file(path);
    } catch (const std::exception& error) {
        MopacJob failed;
        JobReader(failed).fail_read(error.what());
        return failed;
    }
    return read_job(std::move(text), options);
}

void JobReader::fail_read(std::string_view reason) {
    Diagnostic diagnostic;
    diagnostic.severity = Severity::error;
    diagnostic.code = "read-failed";
    diagnostic.message = "cannot read the file: ";
    diagnostic.message.append(reason);
    job_.diagnostics_.push_back(std::move(diagnostic));
}

void JobReader::read(std::string&& text, const ReadOptions& options) {
    job_.text_ = std::move(text);
    job_.options_ = options;
    job_.lines_ = detail::cut_mopac_lines(job_.text_);
    plain_ = !detail::holds_view_bytes(job_.text_);
    JobLines& lines = job_.lines_;
    if (lines.empty()) return;

    // A first line with DATA= (a comment line too) points to the real data set.
    if (detail::contains_upper(raw(0).substr(0, detail::mopac_line_limit), "DATA=")) {
        Job pointer;
        pointer.source = GeometrySource::data_pointer;
        pointer.first_keyword_line = 1;
        pointer.keyword_line_count = 1;
        const std::string_view first = raw(0);
        const std::size_t at = first.find('=') + 1;
        std::size_t end = at;
        while (end < first.size() && first[end] != ' ' && first[end] != '\t') ++end;
        pointer.source_name.assign(first.substr(at, end - at));
        for (std::size_t i = 0; i < lines.size(); ++i) lines.set_role(i, LineRole::skipped);
        lines.set_role(0, LineRole::keywords);
        report_line(Issue::data_pointer, 0, pointer.source_name);
        job_.jobs_.push_back(std::move(pointer));
        return;
    }

    std::size_t start = 0;
    if (options.arc) {
        std::size_t marker = lines.size();
        for (std::size_t i = 0; i < lines.size() && marker == lines.size(); ++i) {
            if (lines.role(i) != LineRole::lost && detail::holds_arc_marker(raw(i))) marker = i;
        }
        if (marker == lines.size()) {
            report_line(Issue::no_arc_marker, 0);
        } else {
            for (std::size_t i = 0; i <= marker; ++i) lines.set_role(i, LineRole::skipped);
            start = marker + 1;
        }
    }
    first_data_ = start;
    // The cutting marked the comments: the data ends behind the last line
    // that is none, and holds something up to the last one that is not blank.
    for (std::size_t i = lines.size(); i-- > start && last_filled_ == 0;) {
        if (!is_data(i)) continue;
        if (end_of_data_ == 0) end_of_data_ = i + 1;
        if (!detail::is_blank_view(view(i))) last_filled_ = i + 1;
    }
    next_ = data_from(start);
    read_jobs();
    finish();
}

// Job after job, until only blank lines are left.
void JobReader::read_jobs() {
    while (next_ < last_filled_) {
        // Blank lines between jobs are read over: a later job starts at a
        // line that holds something.
        // Numbers alone start no job: they are data of the job before, as
        // are the parameters between BEGIN EXTERNAL and END EXTERNAL. A
        // blank line does start one, with no keywords.
        while (!job_.jobs_.empty() && !at_end()) {
            const std::string_view line = view(next_);
            const std::size_t previous = job_.jobs_.size() - 1;
            if (detail::numbers_only(line, false)) {
                take(LineRole::data, previous);
            } else if (detail::starts_upper(line, "BEGIN EXTERNAL")) {
                while (!at_end() && !detail::starts_upper(view(next_), "END EXTERNAL")) take(LineRole::data, previous);
                if (!at_end()) take(LineRole::data, previous);
            } else {
                break;
            }
        }
        if (at_end()) break;
        const std::size_t job_index = job_.jobs_.size();
        job_.jobs_.emplace_back();
        read_head(job_.jobs_.back(), job_index);
        read_geometry(job_.jobs_.back(), job_index);
    }
}

// The jobs of the lines nobody took, the findings on whole lines, and the
// findings in line order.
void JobReader::finish() {
    JobLines& lines = job_.lines_;
    // Blank lines behind the last job, and lines before it such as comments,
    // belong to the last job.
    const auto last_job = static_cast<std::uint32_t>(job_.jobs_.empty() ? 0 : job_.jobs_.size() - 1);
    for (std::size_t i = next_; i < end_of_data_; i = data_from(i + 1)) lines.set_job(i, last_job);
    for (std::size_t i = lines.size(); i-- > 0;) {
        const LineRole role = lines.role(i);
        if (role == LineRole::trailing || role == LineRole::comment || role == LineRole::lost) {
            lines.set_job(i, i + 1 < lines.size() ? lines.job(i + 1) : last_job);
        }
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        // MOPAC reads the first 2000 bytes as they stand, tabs unexpanded.
        const LineRole role = lines.role(i);
        if (role != LineRole::lost && lines.length(i) > detail::mopac_line_limit) {
            report_at_column(Issue::line_too_long, i, detail::mopac_line_limit + 1);
        }
        if (role == LineRole::lost && (i == 0 || lines.role(i - 1) != LineRole::lost)) {
            report_line(Issue::lines_lost, i);
        }
    }

    std::stable_sort(job_.diagnostics_.begin(), job_.diagnostics_.end(),
                     [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
    if (unlisted_ > 0) {
        Diagnostic more;
        more.code = detail::issue_info(Issue::too_many_diagnostics).code;
        more.message = detail::issue_message(Issue::too_many_diagnostics, std::to_string(unlisted_));
        job_.diagnostics_.push_back(std::move(more));
    }
}

std::string_view JobReader::raw(std::size_t line_index) const noexcept {
    return std::string_view(job_.text_).substr(job_.lines_.offset(line_index), job_.lines_.length(line_index));
}

bool JobReader::is_data(std::size_t line_index) const noexcept {
    // take() never gives a line the role of a comment or a lost line, so a
    // line read already still counts.
    const LineRole role = job_.lines_.role(line_index);
    return line_index >= first_data_ && role != LineRole::comment && role != LineRole::lost;
}

/// The first line MOPAC reads at or after `line_index`, else end_of_data_.
std::size_t JobReader::data_from(std::size_t line_index) const noexcept {
    while (line_index < end_of_data_ && !is_data(line_index)) ++line_index;
    return std::min(line_index, end_of_data_);
}

/// The line as MOPAC holds it; valid until the next call.
std::string_view JobReader::view(std::size_t line_index) {
    const std::string_view line = raw(line_index);
    if (plain_) return line.size() > detail::mopac_line_limit ? line.substr(0, detail::mopac_line_limit) : line;
    return detail::mopac_view(line, scratch_);
}

/// Takes the next data line for `role` in job `job_index`; answers its index.
std::size_t JobReader::take(LineRole role, std::size_t job_index) {
    const std::size_t index = next_;
    next_ = data_from(next_ + 1);
    job_.lines_.set_role(index, role);
    job_.lines_.set_job(index, static_cast<std::uint32_t>(job_index));
    return index;
}

/// The first data line at or behind `line_index` that holds an .arc marker,
/// else end_of_data_. The answer is kept: asked again from a line no further
/// than it, it is not searched again, so that the searches of job after job
/// read each line once.
std::size_t JobReader::arc_marker_from(std::size_t line_index) {
    if (line_index >= marker_from_ && line_index <= marker_at_) return marker_at_;
    std::size_t marker = data_from(line_index);
    while (marker < end_of_data_ && !detail::holds_arc_marker(raw(marker))) marker = data_from(marker + 1);
    marker_from_ = line_index;
    marker_at_ = marker;
    return marker;
}

void JobReader::report(Issue issue, std::size_t line_index, std::size_t view_offset, std::string_view detail) {
    // The column of a finding that is only counted is not worked out.
    const bool listed = job_.diagnostics_.size() < detail::listed_diagnostics;
    report_at_column(issue, line_index, listed ? detail::file_column(raw(line_index), view_offset) : 0, detail);
}

void JobReader::report_line(Issue issue, std::size_t line_index, std::string_view detail) {
    report_at_column(issue, line_index, 0, detail);
}

void JobReader::report_at_column(Issue issue, std::size_t line_index, std::size_t column, std::string_view detail) {
    const detail::IssueInfo& info = detail::issue_info(issue);
    if (info.severity == Severity::error) ++errors_;
    if (job_.diagnostics_.size() >= detail::listed_diagnostics) {
        ++unlisted_;
        return;
    }
    Diagnostic diagnostic;
    diagnostic.severity = info.severity;
    diagnostic.code = info.code;
    diagnostic.line = line_index + 1;
    diagnostic.column = column;
    diagnostic.message = detail::issue_message(issue, detail);
    job_.diagnostics_.push_back(std::move(diagnostic));
}

namespace detail {

bool is_blank_view(std::string_view view) noexcept { return view.find_first_not_of(' ') == std::string_view::npos; }

bool numbers_only(std::string_view view, bool whole) noexcept {
    bool any = false;
    std::size_t i = 0;
    while (i < view.size()) {
        while (i < view.size() && (view[i] == ' ' || view[i] == ',')) ++i;
        if (i == view.size()) break;
        std::size_t end = i;
        while (end < view.size() && view[end] != ' ' && view[end] != ',') ++end;
        std::string_view field = view.substr(i, end - i);
        if (field[0] == '+' || field[0] == '-') field.remove_prefix(1);
        std::size_t digits = 0;
        std::size_t points = 0;
        for (char c : field) {
            digits += is_digit(c);
            points += c == '.';
        }
        if (digits == 0 || digits + points != field.size() || points > (whole ? 0U : 1U)) return false;
        any = true;
        i = end;
    }
    return any;
}

bool holds_arc_marker(std::string_view line) noexcept {
    for (std::string_view marker : arc_markers) {
        if (line.find(marker) != std::string_view::npos) return true;
    }
    return false;
}

}  // namespace detail

namespace detail {

bool starts_upper(std::string_view view, std::string_view word) noexcept {
    const std::size_t first = view.find_first_not_of(' ');
    return first != std::string_view::npos && view.size() - first >= word.size() &&
           contains_upper(view.substr(first, word.size()), word);
}

}  // namespace detail
}  // namespace vesk::input::mopac
