// The head of a job as MOPAC reads it: one to three keyword lines joined by
// "++", " +" or '&' (or SETUP), then the title and the description.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/bytes.hpp"
#include "text/continuation.hpp"
#include "text/keyword_scan.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

// The joined keyword text, and for each of its first bytes the line and
// offset it came from: MOPAC keeps keyword_string_limit bytes, and the byte
// behind them is where a finding points.
class KeywordText {
public:
    static constexpr std::size_t no_line = static_cast<std::size_t>(-1);
    static constexpr std::size_t traced = detail::keyword_string_limit + 1;

    std::string text;

    std::size_t line(std::size_t at) const { return lines_[at]; }
    std::size_t offset(std::size_t at) const { return offsets_[at]; }
    void push(char c, std::size_t line_index, std::size_t at) {
        text.push_back(c);
        if (lines_.size() < traced) {
            lines_.push_back(line_index);
            offsets_.push_back(at);
        }
    }
    void append(std::string_view view, std::size_t line_index) {
        for (std::size_t i = 0; i < view.size(); ++i) push(view[i], line_index, i);
    }
    void truncate(std::size_t size) {
        text.resize(size);
        if (lines_.size() > size) {
            lines_.resize(size);
            offsets_.resize(size);
        }
    }

    // The "++" head: each "++" becomes one blank as it is appended, pairing
    // '+' from the left ("+++" -> " +"). Only the end of the text and the
    // new bytes can form a new "++" ("A+" and "+B"), so the text is never
    // read again. marked() tells whether the bytes appended since the last
    // trim_blanks() held a "++".
    void push_joined(char c, std::size_t line_index, std::size_t at);
    void append_joined(std::string_view view, std::size_t line_index) {
        for (std::size_t i = 0; i < view.size(); ++i) push_joined(view[i], line_index, i);
    }
    bool marked() const noexcept { return marked_; }
    // Whether the last "++" had a blank in front of it: then the next line
    // follows behind one blank.
    bool blank_before_mark() const noexcept { return blank_before_; }
    void trim_blanks() {
        std::size_t size = text.size();
        while (size > 0 && text[size - 1] == ' ') --size;
        truncate(size);
        marked_ = false;
        // The text ends in at most one '+' now: a "++" was turned into a blank.
        run_ = !text.empty() && text.back() == '+' ? 1 : 0;
        before_run_ = text.size() >= 2 ? text[text.size() - 2] : '\0';
    }

private:
    std::vector<std::size_t> lines_;    // index into the job's lines, no_line for an inserted blank
    std::vector<std::size_t> offsets_;  // in that line's view
    std::size_t run_ = 0;     // '+' bytes in a row at the end, as written in the file
    char before_run_ = '\0';  // the byte in front of them
    bool marked_ = false;
    bool blank_before_ = false;
};

void KeywordText::push_joined(char c, std::size_t line_index, std::size_t at) {
    if (c != '+') {
        run_ = 0;
        push(c, line_index, at);
        return;
    }
    if (run_ == 0) before_run_ = text.empty() ? '\0' : text.back();
    ++run_;
    if (run_ % 2 == 1) {
        push(c, line_index, at);
    } else {
        // The '+' in front becomes the blank; this one goes.
        text.back() = ' ';
        marked_ = true;
    }
    // The last "++" of the text, as a search from the end finds it: a third
    // '+' in a row stands in front of it.
    if (run_ >= 2) blank_before_ = run_ == 2 && before_run_ == ' ';
}

std::vector<JobKeyword> split_keywords(const MopacJob& job, const KeywordText& keywords);

}  // namespace

void JobReader::read_head(Job& current, std::size_t job_index) {
    KeywordText keywords;
    const std::size_t first = take(LineRole::keywords, job_index);
    current.first_keyword_line = first + 1;
    current.keyword_line_count = 1;
    const std::string first_view(view(first));
    const bool double_plus = detail::holds_double_plus(first_view);
    if (double_plus) {
        keywords.append_joined(first_view, first);
    } else {
        keywords.append(first_view, first);
    }

    std::size_t descriptions = 2;
    bool short_head = false;
    // One more line of keywords, after a blank; none when the text ends first.
    const auto more_keywords = [&]() -> std::optional<std::size_t> {
        if (at_end()) {
            short_head = true;
            return std::nullopt;
        }
        const std::size_t index = take(LineRole::keywords, job_index);
        ++current.keyword_line_count;
        keywords.push(' ', KeywordText::no_line, 0);
        return index;
    };
    if (double_plus) {
        // "PM7 ++" and "CHARGE=1" read as "PM7 CHARGE=1", "PM7++" and "X" as
        // "PM7X": each "++" becomes one blank, trailing blanks go, and the
        // next line follows, behind one blank when a blank stood before the
        // last "++". Repeats while a "++" was found.
        current.head = HeadForm::double_plus;
        while (keywords.marked()) {
            keywords.trim_blanks();
            if (at_end()) {
                short_head = true;
                break;
            }
            const std::size_t index = take(LineRole::keywords, job_index);
            ++current.keyword_line_count;
            if (keywords.blank_before_mark()) keywords.push_joined(' ', KeywordText::no_line, 0);
            keywords.append_joined(view(index), index);
        }
    } else if (detail::contains_upper(first_view, "SETUP")) {
        current.head = HeadForm::setup;
        if (detail::padded_line_holds(first_view, " + ", false)) report_line(Issue::setup_with_plus, first);
    } else if (detail::holds_blank_plus(first_view, false)) {
        // The second and third lines are tested with a blank in front, so a
        // '+' in their first column continues too; a third " +" is fatal.
        current.head = HeadForm::plus;
        for (int extra = 0; extra < 2; ++extra) {
            const std::optional<std::size_t> index = more_keywords();
            if (!index) break;
            const std::string line_view(view(*index));
            keywords.append(line_view, *index);
            if (!detail::holds_blank_plus(line_view, true)) break;
            if (extra == 1) report_line(Issue::too_many_keyword_lines, *index);
        }
    } else if (detail::holds_ampersand(first_view)) {
        // The first '&' of line 1 is a mark; a line 2 ending in '&' takes a
        // third line and leaves no description, else one description follows.
        current.head = HeadForm::ampersand;
        keywords.text[first_view.find('&')] = ' ';
        descriptions = 1;
        if (const std::optional<std::size_t> second = more_keywords()) {
            const std::string second_view(view(*second));
            const std::size_t start = keywords.text.size();
            keywords.append(second_view, *second);
            const std::size_t last = second_view.find_last_not_of(' ');
            if (last != std::string::npos && second_view[last] == '&') {
                keywords.text[start + last] = ' ';
                descriptions = 0;
                if (const std::optional<std::size_t> third = more_keywords()) keywords.append(view(*third), *third);
            }
        }
    }

    // The continuation marks " + " go; the text is upper-cased and cut to
    // 3000 bytes. Only the bytes kept are looked at, and the one behind them.
    std::string& text = keywords.text;
    const std::size_t kept = std::min(text.size(), detail::keyword_string_limit);
    for (std::size_t i = 1; i < kept; ++i) {
        if (text[i] == '+' && text[i - 1] == ' ' && (i + 1 == text.size() || text[i + 1] == ' ')) text[i] = ' ';
    }
    if (text.size() > detail::keyword_string_limit) {
        const std::size_t cut = keywords.line(detail::keyword_string_limit);
        if (cut != KeywordText::no_line) report(Issue::keywords_too_long, cut, keywords.offset(detail::keyword_string_limit));
        keywords.truncate(detail::keyword_string_limit);
    }
    for (char& c : text) c = detail::to_upper(c);
    current.keywords = split_keywords(job_, keywords);

    // Title and description. With one description line, it is the second one.
    for (std::size_t k = 0; k < descriptions && !short_head; ++k) {
        if (at_end()) {
            short_head = true;
            break;
        }
        const bool is_title = descriptions == 2 && k == 0;
        const std::size_t index = take(is_title ? LineRole::title : LineRole::description, job_index);
        JobText& target = is_title ? current.title : current.description;
        std::string_view text_view = view(index);
        if (text_view.size() > detail::head_text_limit) {
            report(Issue::text_too_long, index, detail::head_text_limit, is_title ? "title" : "description");
            text_view = text_view.substr(0, detail::head_text_limit);
        }
        target.text.assign(text_view);
        target.line = index + 1;
    }
    if (short_head) report_line(Issue::short_head, position() - 1);
}

namespace {

// Words as the keyword queries cut them (quotes and parentheses hold blanks),
// with "NAME = value" closed up and GEO-DAT and GEO-REF spelt with '_'.
std::vector<JobKeyword> split_keywords(const MopacJob& job, const KeywordText& keywords) {
    struct Piece {
        std::size_t begin;
        std::size_t end;
    };
    std::vector<Piece> pieces;
    const std::string& text = keywords.text;
    detail::for_each_keyword_token(text, [&](std::string_view token) {
        const auto begin = static_cast<std::size_t>(token.data() - text.data());
        pieces.push_back({begin, begin + token.size()});
    });
    std::vector<JobKeyword> result;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        Piece piece = pieces[i];
        std::string word = text.substr(piece.begin, piece.end - piece.begin);
        // "MS = 1", "MS= 1" and "MS =1" are one keyword to MOPAC.
        while (i + 1 < pieces.size() && (word.back() == '=' || text[pieces[i + 1].begin] == '=')) {
            ++i;
            word.append(text, pieces[i].begin, pieces[i].end - pieces[i].begin);
            piece.end = pieces[i].end;
        }
        for (const char* spelt : {"GEO-DAT", "GEO-REF"}) {
            if (word.compare(0, 7, spelt) == 0 && (word.size() == 7 || word[7] == '=')) word[3] = '_';
        }
        JobKeyword keyword;
        keyword.text = std::move(word);
        const std::size_t line_index = keywords.line(piece.begin);
        if (line_index != KeywordText::no_line) {
            const std::string_view raw = job.line_text(line_index + 1);
            keyword.line = line_index + 1;
            keyword.column = detail::file_column(raw, keywords.offset(piece.begin));
            std::size_t last = piece.end - 1;
            while (last > piece.begin && keywords.line(last) != line_index) --last;
            keyword.length = detail::file_column(raw, keywords.offset(last)) + 1 - keyword.column;
        }
        result.push_back(std::move(keyword));
    }
    return result;
}

}  // namespace
}  // namespace vesk::input::mopac
