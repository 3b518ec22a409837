// The head of a job as MOPAC reads it: one to three keyword lines joined by
// "++", " +" or '&' (or SETUP), then the title and the description.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/bytes.hpp"
#include "text/keyword_scan.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

// The joined keyword text, and for each byte the line and offset it came from.
struct KeywordText {
    static constexpr std::size_t no_line = static_cast<std::size_t>(-1);
    std::string text;
    std::vector<std::size_t> line;    // index into the job's lines, no_line for an inserted blank
    std::vector<std::size_t> offset;  // in that line's view

    void append(std::string_view view, std::size_t line_index) {
        for (std::size_t i = 0; i < view.size(); ++i) push(view[i], line_index, i);
    }
    void push(char c, std::size_t line_index, std::size_t at) {
        text.push_back(c);
        line.push_back(line_index);
        offset.push_back(at);
    }
    void truncate(std::size_t size) {
        text.resize(size);
        line.resize(size);
        offset.resize(size);
    }
};

bool join_double_plus(JobReader& reader, KeywordText& keywords, Job& current, std::size_t job_index);
std::vector<JobKeyword> split_keywords(JobReader& reader, const KeywordText& keywords);
bool line_holds(std::string_view view, std::string_view part, bool blank_in_front);

}  // namespace

void JobReader::read_head(Job& current, std::size_t job_index) {
    KeywordText keywords;
    const std::size_t first = take(LineRole::keywords, job_index);
    current.first_keyword_line = first + 1;
    current.keyword_line_count = 1;
    const std::string first_view(view(first));
    keywords.append(first_view, first);

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
    if (first_view.find("++") != std::string::npos) {
        current.head = HeadForm::double_plus;
        short_head = !join_double_plus(*this, keywords, current, job_index);
    } else if (detail::contains_upper(first_view, "SETUP")) {
        current.head = HeadForm::setup;
        if (line_holds(first_view, " + ", false)) report_line(Issue::setup_with_plus, first);
    } else if (line_holds(first_view, " +", false)) {
        // The second and third lines are tested with a blank in front, so a
        // '+' in their first column continues too; a third " +" is fatal.
        current.head = HeadForm::plus;
        for (int extra = 0; extra < 2; ++extra) {
            const std::optional<std::size_t> index = more_keywords();
            if (!index) break;
            const std::string line_view(view(*index));
            keywords.append(line_view, *index);
            if (!line_holds(line_view, " +", true)) break;
            if (extra == 1) report_line(Issue::too_many_keyword_lines, *index);
        }
    } else if (first_view.find('&') != std::string::npos) {
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

    // The continuation marks " + " go; the text is upper-cased and cut to 3000 bytes.
    std::string& text = keywords.text;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '+' && text[i - 1] == ' ' && (i + 1 == text.size() || text[i + 1] == ' ')) text[i] = ' ';
    }
    for (char& c : text) c = detail::to_upper(c);
    if (text.size() > detail::keyword_string_limit) {
        const std::size_t cut = keywords.line[detail::keyword_string_limit];
        if (cut != KeywordText::no_line) report(Issue::keywords_too_long, cut, keywords.offset[detail::keyword_string_limit]);
        keywords.truncate(detail::keyword_string_limit);
    }
    current.keywords = split_keywords(*this, keywords);

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

// "PM7 ++" and "CHARGE=1" read as "PM7 CHARGE=1", "PM7++" and "X" as "PM7X":
// each "++" becomes one blank, trailing blanks go, and the next line follows,
// behind one blank when a blank stood before the "++". Repeats while "++"
// remains; false when the text ends first.
bool join_double_plus(JobReader& reader, KeywordText& keywords, Job& current, std::size_t job_index) {
    while (keywords.text.find("++") != std::string::npos) {
        const std::size_t last = keywords.text.rfind("++");
        const bool blank_before = last > 0 && keywords.text[last - 1] == ' ';
        KeywordText joined;
        for (std::size_t i = 0; i < keywords.text.size(); ++i) {
            const bool mark = keywords.text[i] == '+' && i + 1 < keywords.text.size() && keywords.text[i + 1] == '+';
            joined.push(mark ? ' ' : keywords.text[i], keywords.line[i], keywords.offset[i]);
            if (mark) ++i;
        }
        std::size_t size = joined.text.size();
        while (size > 0 && joined.text[size - 1] == ' ') --size;
        joined.truncate(size);
        keywords = std::move(joined);
        if (reader.at_end()) return false;
        const std::size_t index = reader.take(LineRole::keywords, job_index);
        ++current.keyword_line_count;
        if (blank_before) keywords.push(' ', KeywordText::no_line, 0);
        keywords.append(reader.view(index), index);
    }
    return true;
}

// Words as the keyword queries cut them (quotes and parentheses hold blanks),
// with "NAME = value" closed up and GEO-DAT and GEO-REF spelt with '_'.
std::vector<JobKeyword> split_keywords(JobReader& reader, const KeywordText& keywords) {
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
        const std::size_t line_index = keywords.line[piece.begin];
        if (line_index != KeywordText::no_line) {
            const std::string_view raw = reader.raw(line_index);
            keyword.line = line_index + 1;
            keyword.column = detail::file_column(raw, keywords.offset[piece.begin]);
            std::size_t last = piece.end - 1;
            while (last > piece.begin && keywords.line[last] != line_index) --last;
            keyword.length = detail::file_column(raw, keywords.offset[last]) + 1 - keyword.column;
        }
        result.push_back(std::move(keyword));
    }
    return result;
}

// MOPAC's tests look at a blank-padded line, so " + " matches a '+' at the
// end; lines 2 and 3 are tested with a blank put in front.
bool line_holds(std::string_view view, std::string_view part, bool blank_in_front) {
    std::string padded;
    padded.reserve(view.size() + 2);
    if (blank_in_front) padded.push_back(' ');
    padded.append(view);
    padded.push_back(' ');
    return padded.find(part) != std::string::npos;
}

}  // namespace
}  // namespace vesk::input::mopac
