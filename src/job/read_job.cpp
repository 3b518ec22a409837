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
#include "text/keyword_scan.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "vesk/core/fs.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

constexpr std::size_t listed_diagnostics = 1000;  // more are counted, not listed
constexpr std::array<std::string_view, 3> arc_markers = {
    "FINAL GEOMETRY OBTAINED", "GEOMETRY IN CARTESIAN COORDINATE", "GEOMETRY IN MOPAC Z-MATRIX"};

bool starts_upper(std::string_view view, std::string_view word) noexcept;

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
    std::vector<JobLine>& lines = job_.lines_;
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
        for (JobLine& line : lines) line.role = LineRole::skipped;
        lines[0].role = LineRole::keywords;
        report_line(Issue::data_pointer, 0, pointer.source_name);
        job_.jobs_.push_back(std::move(pointer));
        return;
    }

    std::size_t start = 0;
    if (options.arc) {
        std::size_t marker = lines.size();
        for (std::size_t i = 0; i < lines.size() && marker == lines.size(); ++i) {
            if (lines[i].role != LineRole::lost && detail::holds_arc_marker(raw(i))) marker = i;
        }
        if (marker == lines.size()) {
            report_line(Issue::no_arc_marker, 0);
        } else {
            for (std::size_t i = 0; i <= marker; ++i) lines[i].role = LineRole::skipped;
            start = marker + 1;
        }
    }
    first_data_ = start;
    for (std::size_t i = start; i < lines.size(); ++i) {
        if (lines[i].role == LineRole::lost) continue;
        if (!raw(i).empty() && raw(i)[0] == '*') {
            lines[i].role = LineRole::comment;
            continue;
        }
        end_of_data_ = i + 1;
        if (!detail::is_blank_view(view(i))) last_filled_ = i + 1;
    }
    next_ = data_from(start);
    read_jobs();
    finish();
}

bool JobReader::reread_heads(const MopacJob& before, std::string& text, const std::vector<std::size_t>& changed) {
    const std::vector<JobLine>& old_lines = before.lines_;
    // An .arc file, a data pointer or findings over the listed limit are read whole.
    if (before.options_.arc || before.jobs_.empty() || before.jobs_[0].source == GeometrySource::data_pointer ||
        before.diagnostics_.size() >= listed_diagnostics) {
        return false;
    }
    std::vector<JobLine> lines = detail::cut_mopac_lines(text);
    if (lines.size() != old_lines.size()) return false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].end != old_lines[i].end) return false;
        lines[i].role = old_lines[i].role;
        lines[i].job = old_lines[i].job;
    }
    // Each changed line keeps what the line cutting and the job loop see of it.
    std::string scratch;
    std::vector<bool> job_changed(before.jobs_.size(), false);
    for (const std::size_t i : changed) {
        const LineRole role = old_lines[i].role;
        const std::string_view old_text = std::string_view(before.text_).substr(old_lines[i].offset, old_lines[i].length);
        const std::string_view new_text = std::string_view(text).substr(lines[i].offset, lines[i].length);
        if ((role != LineRole::keywords && role != LineRole::title && role != LineRole::description) ||
            old_text.size() >= detail::mopac_line_limit || new_text.size() >= detail::mopac_line_limit ||
            (!new_text.empty() && new_text[0] == '*') ||
            detail::is_blank_view(detail::mopac_view(old_text, scratch)) !=
                detail::is_blank_view(detail::mopac_view(new_text, scratch)) ||
            (i == 0 && detail::contains_upper(new_text, "DATA="))) {
            return false;
        }
        // Nothing before a head may have looked at it: a job starts where its
        // line is no data (numbers, BEGIN EXTERNAL, MICROS) of the job before,
        // a blank geometry looks ahead for an .arc marker, and a geometry
        // read as MOPAC's own until PDB or Gaussian lines turn up looks
        // ahead of where it ends.
        const std::size_t k = old_lines[i].job;
        if (detail::holds_arc_marker(new_text) != detail::holds_arc_marker(old_text) ||
            detail::contains_upper(new_text, "MICROS") != detail::contains_upper(old_text, "MICROS") ||
            detail::numbers_only(detail::mopac_view(new_text, scratch), false) ||
            starts_upper(detail::mopac_view(new_text, scratch), "BEGIN EXTERNAL") ||
            (k > 0 && (before.jobs_[k - 1].source == GeometrySource::pdb ||
                       before.jobs_[k - 1].source == GeometrySource::gaussian))) {
            return false;
        }
        job_changed[k] = true;
    }

    job_.text_ = std::move(text);
    job_.options_ = before.options_;
    job_.lines_ = std::move(lines);
    job_.jobs_ = before.jobs_;
    job_.placed_ = before.placed_;
    end_of_data_ = 0;
    for (std::size_t i = job_.lines_.size(); i-- > 0 && end_of_data_ == 0;) {
        if (job_.lines_[i].role != LineRole::comment && job_.lines_[i].role != LineRole::lost) end_of_data_ = i + 1;
    }
    const auto give_back = [&] {
        text = std::move(job_.text_);
        job_ = MopacJob();
        return false;
    };
    // The findings of the heads read again go; the heads report anew.
    static constexpr std::array<Issue, 5> head_issues = {Issue::too_many_keyword_lines, Issue::setup_with_plus,
                                                        Issue::keywords_too_long, Issue::text_too_long,
                                                        Issue::short_head};
    // The lines of each head read again, as 1-based numbers from..to.
    std::vector<std::pair<std::size_t, std::size_t>> heads;
    for (std::size_t k = 0; k < before.jobs_.size(); ++k) {
        if (!job_changed[k] || before.jobs_[k].first_keyword_line == 0) continue;
        std::size_t last = before.jobs_[k].first_keyword_line;
        for (std::size_t i = last - 1; i < old_lines.size() && old_lines[i].job == k; ++i) {
            const LineRole role = old_lines[i].role;
            if (role == LineRole::keywords || role == LineRole::title || role == LineRole::description) last = i + 1;
        }
        heads.emplace_back(before.jobs_[k].first_keyword_line, last);
    }
    for (const Diagnostic& diagnostic : before.diagnostics_) {
        bool from_head = false;
        for (const auto& [from, to] : heads) from_head = from_head || (diagnostic.line >= from && diagnostic.line <= to);
        if (from_head) {
            from_head = false;
            for (const Issue issue : head_issues) from_head = from_head || diagnostic.code == detail::issue_info(issue).code;
        }
        if (!from_head) job_.diagnostics_.push_back(diagnostic);
    }
    const std::size_t kept = job_.diagnostics_.size();
    for (std::size_t k = 0; k < job_.jobs_.size(); ++k) {
        if (!job_changed[k]) continue;
        const Job& old_job = before.jobs_[k];
        if (old_job.source == GeometrySource::none || old_job.first_keyword_line == 0) return give_back();
        // The head takes the same lines again, in the same roles.
        const std::size_t first = old_job.first_keyword_line - 1;
        std::size_t behind = first;
        for (std::size_t i = first; i < old_lines.size() && old_lines[i].job == k; ++i) {
            const LineRole role = old_lines[i].role;
            if (role == LineRole::keywords || role == LineRole::title || role == LineRole::description) behind = i + 1;
        }
        next_ = first;
        Job head;
        read_head(head, k);
        if (data_from(behind) != next_ || head.head != old_job.head ||
            head.keyword_line_count != old_job.keyword_line_count || head.title.line != old_job.title.line ||
            head.description.line != old_job.description.line) {
            return give_back();
        }
        for (std::size_t i = first; i < behind; ++i) {
            if (job_.lines_[i].role != old_lines[i].role) return give_back();
        }
        // Nothing the reading of the geometry consults may change, as written.
        const auto steering = [](const MopacJob& job, const Job& of) {
            std::vector<std::string_view> words;
            for (const JobKeyword& keyword : of.keywords) {
                if (!detail::steers_reading(keyword.text)) continue;
                words.push_back(keyword.text);
                if (keyword.line > 0) words.push_back(job.line_text(keyword.line).substr(keyword.column - 1, keyword.length));
            }
            return words;
        };
        if (steering(before, old_job) != steering(job_, head)) return give_back();
        Job& current = job_.jobs_[k];
        current.keywords = std::move(head.keywords);
        current.title = std::move(head.title);
        current.description = std::move(head.description);
    }
    if (job_.diagnostics_.size() >= listed_diagnostics) return give_back();
    // A reading reports a head before anything else on its lines: the new
    // head findings go in front of the kept ones before they are put in
    // line order.
    std::rotate(job_.diagnostics_.begin(), job_.diagnostics_.begin() + static_cast<std::ptrdiff_t>(kept),
                job_.diagnostics_.end());
    std::stable_sort(job_.diagnostics_.begin(), job_.diagnostics_.end(),
                     [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
    return true;
}

namespace detail {

bool steers_reading(std::string_view word) noexcept {
    static constexpr std::string_view names[] = {"0SCF",   "A0",    "AIGIN",  "DEPVAR", "DRC",   "GEO-OK", "GEO_DAT",
                                                 "IRC",    "MICROS", "MINI",  "MOPAC",  "OLDFPC", "OLDGEO", "PDB",
                                                 "POINTS", "SADDLE", "SETPI", "SETUP",  "STEP",   "SYM"};
    if (word.compare(0, 4, "SYMM") == 0) return true;
    const std::string_view name = keyword_name_part(word);
    for (std::string_view known : names) {
        if (name == known) return true;
    }
    return false;
}

}  // namespace detail

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
            } else if (starts_upper(line, "BEGIN EXTERNAL")) {
                while (!at_end() && !starts_upper(view(next_), "END EXTERNAL")) take(LineRole::data, previous);
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
    std::vector<JobLine>& lines = job_.lines_;
    // Blank lines behind the last job, and lines before it such as comments,
    // belong to the last job.
    const auto last_job = static_cast<std::uint32_t>(job_.jobs_.empty() ? 0 : job_.jobs_.size() - 1);
    for (std::size_t i = next_; i < end_of_data_; i = data_from(i + 1)) lines[i].job = last_job;
    for (std::size_t i = lines.size(); i-- > 0;) {
        if (lines[i].role == LineRole::trailing || lines[i].role == LineRole::comment || lines[i].role == LineRole::lost) {
            lines[i].job = i + 1 < lines.size() ? lines[i + 1].job : last_job;
        }
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        // MOPAC reads the first 2000 bytes as they stand, tabs unexpanded.
        if (lines[i].length > detail::mopac_line_limit && lines[i].role != LineRole::lost) {
            report_at_column(Issue::line_too_long, i, detail::mopac_line_limit + 1);
        }
        if (lines[i].role == LineRole::lost && (i == 0 || lines[i - 1].role != LineRole::lost)) {
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
    const JobLine& line = job_.lines_[line_index];
    return std::string_view(job_.text_).substr(line.offset, line.length);
}

bool JobReader::is_data(std::size_t line_index) const noexcept {
    // take() never gives a line the role of a comment or a lost line, so a
    // line read already still counts.
    const LineRole role = job_.lines_[line_index].role;
    return line_index >= first_data_ && role != LineRole::comment && role != LineRole::lost;
}

/// The first line MOPAC reads at or after `line_index`, else end_of_data_.
std::size_t JobReader::data_from(std::size_t line_index) const noexcept {
    while (line_index < end_of_data_ && !is_data(line_index)) ++line_index;
    return std::min(line_index, end_of_data_);
}

/// The line as MOPAC holds it; valid until the next call.
std::string_view JobReader::view(std::size_t line_index) { return detail::mopac_view(raw(line_index), scratch_); }

/// Takes the next data line for `role` in job `job_index`; answers its index.
std::size_t JobReader::take(LineRole role, std::size_t job_index) {
    const std::size_t index = next_;
    next_ = data_from(next_ + 1);
    job_.lines_[index].role = role;
    job_.lines_[index].job = static_cast<std::uint32_t>(job_index);
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
    const bool listed = job_.diagnostics_.size() < listed_diagnostics;
    report_at_column(issue, line_index, listed ? detail::file_column(raw(line_index), view_offset) : 0, detail);
}

void JobReader::report_line(Issue issue, std::size_t line_index, std::string_view detail) {
    report_at_column(issue, line_index, 0, detail);
}

void JobReader::report_at_column(Issue issue, std::size_t line_index, std::size_t column, std::string_view detail) {
    const detail::IssueInfo& info = detail::issue_info(issue);
    if (info.severity == Severity::error) ++errors_;
    if (job_.diagnostics_.size() >= listed_diagnostics) {
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

namespace {

// Whether a line, blanks in front aside, starts with `word` in any case.
bool starts_upper(std::string_view view, std::string_view word) noexcept {
    const std::size_t first = view.find_first_not_of(' ');
    return first != std::string_view::npos && view.size() - first >= word.size() &&
           detail::contains_upper(view.substr(first, word.size()), word);
}

}  // namespace
}  // namespace vesk::input::mopac
