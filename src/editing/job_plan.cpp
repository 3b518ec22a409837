// From a plan to the edited text: byte splices in the lines MOPAC reads the
// keywords from, or those lines laid out anew; title and description lines
// replaced whole. Every other byte of the text is copied as it stands.
#include "editing/job_plan.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/bytes.hpp"

namespace vesk::input::mopac {

JobEditor::Plan::Plan(const MopacJob& job) : jobs(job.jobs().size()) {
    for (std::size_t k = 0; k < jobs.size(); ++k) jobs[k].originals.resize(job.jobs()[k].keywords.size());
}

namespace detail {
namespace {

// One change of a line: bytes [begin, end) of its text become `text`.
struct Splice {
    std::size_t line;  // index of the line
    std::size_t begin;
    std::size_t end;
    std::string text;
};

constexpr bool is_mark(char c) noexcept { return c == '+' || c == '&'; }
std::string squeezed(std::string_view text);
std::string_view line_end_text(LineEnd end) noexcept;
void keyword_splices(const MopacJob& job, std::size_t k, const PlannedJob& plan, std::vector<Splice>& splices);
std::vector<std::string> laid_out_lines(const Job& job, const std::vector<std::string>& words,
                                        unsigned long long width, std::size_t old_lines);
std::vector<std::size_t> keyword_lines_of(const MopacJob& job, std::size_t k);
std::string spliced_text(const MopacJob& job, const JobEditor::Plan& plan, std::vector<std::size_t>& changed_lines);
std::string laid_out_text(const MopacJob& job, const JobEditor::Plan& plan);

}  // namespace

std::string_view written_keyword(const MopacJob& job, const JobKeyword& keyword) {
    if (keyword.line == 0) return {};
    const std::string_view text = job.line_text(keyword.line).substr(keyword.column - 1, keyword.length);
    return squeezed(mopac_word(text)) == squeezed(keyword.text) ? text : std::string_view();
}

std::string_view planned_text(const MopacJob& job, std::size_t job_index, const PlannedJob& plan, WordRef word) {
    switch (word.place) {
        case WordRef::Place::front: return plan.front[word.index].text;
        case WordRef::Place::back: return plan.back[word.index].text;
        case WordRef::Place::original: break;
    }
    const PlannedOriginal& original = plan.originals[word.index];
    if (original.replacement) return *original.replacement;
    const JobKeyword& keyword = job.jobs()[job_index].keywords[word.index];
    const std::string_view written = written_keyword(job, keyword);
    return written.empty() ? std::string_view(keyword.text) : written;
}

std::vector<WordRef> live_words(const PlannedJob& plan) {
    std::vector<WordRef> words;
    for (std::size_t i = 0; i < plan.front.size(); ++i) {
        if (!plan.front[i].removed) words.push_back({WordRef::Place::front, i});
    }
    for (std::size_t i = 0; i < plan.originals.size(); ++i) {
        if (!plan.originals[i].removed) words.push_back({WordRef::Place::original, i});
    }
    for (std::size_t i = 0; i < plan.back.size(); ++i) {
        if (!plan.back[i].removed) words.push_back({WordRef::Place::back, i});
    }
    return words;
}

std::string mopac_word(std::string_view word) {
    std::string text;
    char quote = 0;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (quote == 0 && (c == ' ' || c == '\t')) {
            const std::size_t next = word.find_first_not_of(" \t", i);
            const bool by_equals = (!text.empty() && text.back() == '=') || (next != std::string_view::npos && word[next] == '=');
            if (by_equals) continue;
        }
        if (quote != 0 && c == quote) {
            quote = 0;
        } else if (quote == 0 && (c == '\'' || c == '"')) {
            quote = c;
        }
        text.push_back(to_upper(c));
    }
    for (const char* spelt : {"GEO-DAT", "GEO-REF"}) {
        if (text.compare(0, 7, spelt) == 0 && (text.size() == 7 || text[7] == '=')) text[3] = '_';
    }
    return text;
}

std::vector<std::string> expected_keywords(const MopacJob& job, std::size_t job_index, const PlannedJob& plan) {
    std::vector<std::string> expected;
    for (const WordRef word : live_words(plan)) {
        if (word.place == WordRef::Place::original && !plan.originals[word.index].replacement) {
            expected.push_back(job.jobs()[job_index].keywords[word.index].text);
        } else {
            expected.push_back(mopac_word(planned_text(job, job_index, plan, word)));
        }
    }
    return expected;
}

std::string build_edited_text(const MopacJob& job, const JobEditor::Plan& plan, std::vector<std::size_t>& changed_lines) {
    changed_lines.clear();
    return plan.layout_width ? laid_out_text(job, plan) : spliced_text(job, plan, changed_lines);
}

namespace {

// Keyword edits as byte splices in place; title and description lines whole.
std::string spliced_text(const MopacJob& job, const JobEditor::Plan& plan, std::vector<std::size_t>& changed_lines) {
    std::vector<Splice> splices;
    for (std::size_t k = 0; k < plan.jobs.size(); ++k) {
        const AskedSettings& asked = plan.jobs[k].asked;
        const Job& current = job.jobs()[k];
        if (asked.title) splices.push_back({current.title.line - 1, 0, job.line_text(current.title.line).size(), *asked.title});
        if (asked.description) {
            splices.push_back({current.description.line - 1, 0, job.line_text(current.description.line).size(),
                               *asked.description});
        }
        keyword_splices(job, k, plan.jobs[k], splices);
    }
    // Right to left, so that earlier offsets stay true; touching removals merge.
    std::sort(splices.begin(), splices.end(), [](const Splice& a, const Splice& b) {
        return a.line != b.line ? a.line > b.line : a.begin != b.begin ? a.begin > b.begin : a.end > b.end;
    });
    std::string text = job.text();
    for (std::size_t i = 0; i < splices.size(); ++i) {
        Splice& splice = splices[i];
        if (i > 0 && splices[i - 1].line == splice.line && splices[i - 1].begin < splice.end) {
            splice.end = splices[i - 1].begin;  // already removed from the one to its right
            if (splice.begin > splice.end) splice.begin = splice.end;
        }
        const JobLine& line = job.lines()[splice.line];
        text.replace(line.offset + splice.begin, splice.end - splice.begin, splice.text);
        if (changed_lines.empty() || changed_lines.back() != splice.line) changed_lines.push_back(splice.line);
    }
    return text;
}

// The keyword lines of each job laid out anew: they replace the old ones in
// order, the last old one takes any more, surplus old ones go with their
// line ends. Title and description lines are replaced whole; every other
// line is copied with its own line end.
std::string laid_out_text(const MopacJob& job, const JobEditor::Plan& plan) {
    const std::size_t none = static_cast<std::size_t>(-1);
    std::vector<std::vector<std::string>> new_lines(plan.jobs.size());
    std::vector<std::size_t> last_line(plan.jobs.size(), none);
    std::vector<std::size_t> used(plan.jobs.size(), 0);
    for (std::size_t k = 0; k < plan.jobs.size(); ++k) {
        std::vector<std::string> words;
        for (const WordRef word : live_words(plan.jobs[k])) words.emplace_back(planned_text(job, k, plan.jobs[k], word));
        const std::vector<std::size_t> old_lines = keyword_lines_of(job, k);
        if (old_lines.empty()) continue;
        last_line[k] = old_lines.back();
        new_lines[k] = laid_out_lines(job.jobs()[k], words, *plan.layout_width, old_lines.size());
    }
    std::string out;
    out.reserve(job.text().size() + 256);
    const JobLines& lines = job.lines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const JobLine& line = lines[i];
        const std::string_view end = line_end_text(line.end);
        const std::size_t k = line.job;
        std::string_view content = std::string_view(job.text()).substr(line.offset, line.length);
        if (k < plan.jobs.size()) {
            const AskedSettings& asked = plan.jobs[k].asked;
            if (asked.title && job.jobs()[k].title.line == i + 1) content = *asked.title;
            if (asked.description && job.jobs()[k].description.line == i + 1) content = *asked.description;
        }
        if (line.role != LineRole::keywords || k >= plan.jobs.size() || last_line[k] == none) {
            out.append(content).append(end);
            continue;
        }
        const std::vector<std::string>& replacement = new_lines[k];
        const std::size_t stop = i == last_line[k] ? replacement.size() : std::min(used[k] + 1, replacement.size());
        for (; used[k] < stop; ++used[k]) {
            out.append(replacement[used[k]]);
            // Lines put in where the text ended without a line end get one between them.
            out.append(end.empty() && used[k] + 1 < stop ? std::string_view("\n") : end);
        }
    }
    return out;
}

// Without blanks and tabs: "MS = 1" -> "MS=1".
std::string squeezed(std::string_view text) {
    std::string kept;
    for (char c : text) {
        if (c != ' ' && c != '\t') kept.push_back(c);
    }
    return kept;
}

std::string_view line_end_text(LineEnd end) noexcept {
    switch (end) {
        case LineEnd::lf: return "\n";
        case LineEnd::crlf: return "\r\n";
        case LineEnd::cr: return "\r";
        case LineEnd::none: break;
    }
    return {};
}

std::vector<std::size_t> keyword_lines_of(const MopacJob& job, std::size_t k) {
    std::vector<std::size_t> found;
    const Job& current = job.jobs()[k];
    if (current.first_keyword_line == 0) return found;
    for (std::size_t i = current.first_keyword_line - 1; i < job.lines().size() && job.lines()[i].job == k; ++i) {
        if (job.lines()[i].role == LineRole::keywords) found.push_back(i);
    }
    return found;
}

// The splices of one job's keyword edits, in place.
void keyword_splices(const MopacJob& job, std::size_t k, const PlannedJob& plan, std::vector<Splice>& splices) {
    const Job& current = job.jobs()[k];
    for (std::size_t i = 0; i < plan.originals.size(); ++i) {
        const PlannedOriginal& original = plan.originals[i];
        if (!original.removed && !original.replacement) continue;
        const JobKeyword& keyword = current.keywords[i];
        const std::size_t line = keyword.line - 1;
        std::size_t begin = keyword.column - 1;
        std::size_t end = begin + keyword.length;
        if (!original.removed) {
            splices.push_back({line, begin, end, *original.replacement});
            continue;
        }
        // A removed word takes the blanks in front of it with it, or, first
        // on its line, those behind it, unless a mark follows them.
        const std::string_view text = job.line_text(line + 1);
        std::size_t before = begin;
        while (before > 0 && (text[before - 1] == ' ' || text[before - 1] == '\t')) --before;
        std::size_t after = end;
        while (after < text.size() && (text[after] == ' ' || text[after] == '\t')) ++after;
        if (before > 0) {
            begin = before;
        } else if (after == text.size() || !is_mark(text[after])) {
            end = after;
        }
        splices.push_back({line, begin, end, {}});
    }
    const std::vector<std::size_t> lines = keyword_lines_of(job, k);
    if (lines.empty()) return;
    std::string inserted;
    for (const PlannedNew& word : plan.front) {
        if (!word.removed) inserted += (inserted.empty() ? "" : " ") + word.text;
    }
    std::string appended;
    for (const PlannedNew& word : plan.back) {
        if (!word.removed) appended += (appended.empty() ? "" : " ") + word.text;
    }
    const std::string_view first_text = job.line_text(lines.front() + 1);
    const std::string_view last_text = job.line_text(lines.back() + 1);
    const std::size_t first = std::min(first_text.find_first_not_of(" \t"), first_text.size());
    const std::size_t last = last_text.find_last_not_of(" \t");
    if (lines.front() == lines.back() && first == first_text.size()) {
        // A blank keyword line: the new words are all there will be in it.
        const std::string words = inserted + (inserted.empty() || appended.empty() ? "" : " ") + appended;
        if (!words.empty()) splices.push_back({lines.front(), first, first, words});
        return;
    }
    if (!inserted.empty()) splices.push_back({lines.front(), first, first, inserted + " "});
    if (last == std::string_view::npos) {  // a blank last line of several
        if (!appended.empty()) splices.push_back({lines.back(), 0, 0, appended});
    } else if (!appended.empty()) {
        splices.push_back({lines.back(), last + 1, last + 1, " " + appended});
    }
}

// The keyword lines of a job's words at `width`, in the continuation style
// of its head, in no more lines than MOPAC reads for that head.
std::vector<std::string> laid_out_lines(const Job& job, const std::vector<std::string>& words,
                                        unsigned long long width, std::size_t old_lines) {
    std::string_view mark = " +";
    std::size_t most = 3;
    std::size_t least = 1;
    switch (job.head) {
        case HeadForm::plain:
        case HeadForm::plus: break;
        case HeadForm::double_plus:
            mark = " ++";
            most = static_cast<std::size_t>(-1);
            break;
        case HeadForm::ampersand:
            // '&' heads keep their number of lines: it decides how many
            // description lines follow.
            mark = " &";
            most = least = old_lines;
            break;
        case HeadForm::setup: most = 1; break;
    }
    std::vector<std::string> lines(1);
    for (const std::string& word : words) {
        std::string& current = lines.back();
        const bool fits = current.empty() || current.size() + 1 + word.size() + mark.size() <= width;
        if (!fits && lines.size() < most) {
            lines.emplace_back(word);
            continue;
        }
        if (!current.empty()) current.push_back(' ');
        current.append(word);
    }
    while (lines.size() < least) lines.emplace_back();
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        // A '&' line 2 continues only where '&' is its last byte.
        lines[i].append(lines[i].empty() ? mark.substr(1) : mark);
    }
    return lines;
}

}  // namespace
}  // namespace detail
}  // namespace vesk::input::mopac
