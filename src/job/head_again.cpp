// An edited text read again only where it was edited: the heads of the
// changed jobs, the rest of the reading taken over from the text before,
// where nothing else can read otherwise. And the keywords the reading of a
// geometry consults, which such an edit must leave alone.
#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "text/keyword_scan.hpp"

namespace vesk::input::mopac {

using detail::Issue;

bool JobReader::reread_heads(const MopacJob& before, std::string& text, const std::vector<std::size_t>& changed) {
    const JobLines& old_lines = before.lines_;
    // An .arc file, a data pointer or findings over the listed limit are read whole.
    if (before.options_.arc || before.jobs_.empty() || before.jobs_[0].source == GeometrySource::data_pointer ||
        before.diagnostics_.size() >= detail::listed_diagnostics) {
        return false;
    }
    JobLines lines = detail::cut_mopac_lines(text);
    if (!lines.take_marks(old_lines)) return false;
    // Each changed line keeps what the line cutting and the job loop see of it.
    std::string scratch;
    std::vector<bool> job_changed(before.jobs_.size(), false);
    for (const std::size_t i : changed) {
        const LineRole role = old_lines.role(i);
        const std::string_view old_text = std::string_view(before.text_).substr(old_lines.offset(i), old_lines.length(i));
        const std::string_view new_text = std::string_view(text).substr(lines.offset(i), lines.length(i));
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
        const std::size_t k = old_lines.job(i);
        if (detail::holds_arc_marker(new_text) != detail::holds_arc_marker(old_text) ||
            detail::contains_upper(new_text, "MICROS") != detail::contains_upper(old_text, "MICROS") ||
            detail::numbers_only(detail::mopac_view(new_text, scratch), false) ||
            detail::starts_upper(detail::mopac_view(new_text, scratch), "BEGIN EXTERNAL") ||
            (k > 0 && (before.jobs_[k - 1].source == GeometrySource::pdb ||
                       before.jobs_[k - 1].source == GeometrySource::gaussian))) {
            return false;
        }
        job_changed[k] = true;
    }

    job_.text_ = std::move(text);
    job_.options_ = before.options_;
    job_.lines_ = std::move(lines);
    plain_ = !detail::holds_view_bytes(job_.text_);
    job_.jobs_ = before.jobs_;
    job_.placed_ = before.placed_;
    end_of_data_ = 0;
    for (std::size_t i = job_.lines_.size(); i-- > 0 && end_of_data_ == 0;) {
        if (job_.lines_.role(i) != LineRole::comment && job_.lines_.role(i) != LineRole::lost) end_of_data_ = i + 1;
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
        for (std::size_t i = first; i < old_lines.size() && old_lines.job(i) == k; ++i) {
            const LineRole role = old_lines.role(i);
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
            if (job_.lines_.role(i) != old_lines.role(i)) return give_back();
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
    if (job_.diagnostics_.size() >= detail::listed_diagnostics) return give_back();
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

}  // namespace vesk::input::mopac
