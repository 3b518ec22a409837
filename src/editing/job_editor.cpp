// JobEditor: keyword, title and description edits made as byte splices in
// the lines MOPAC reads them from, checked by reading the result again.
#include "vesk/input/mopac/job_editor.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/bytes.hpp"
#include "text/keyword_scan.hpp"
#include "document/number_format.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

// One change of a line: bytes [begin, end) of its text become `text`.
struct Splice {
    std::size_t line;  // index into the job's lines
    std::size_t begin;
    std::size_t end;
    std::string text;
};

// The keywords of one job as an edit sees them: MOPAC's words and, for
// each, whether it still stands and what replaces it.
struct Word {
    const JobKeyword* keyword;
    bool removed = false;
    std::optional<std::string> replacement;
};

class Plan;
using JobEdit = std::function<void(Plan&)>;

[[noreturn]] void refuse(const std::string& what) { throw std::invalid_argument(what); }
void check_word(std::string_view word, const char* what);
bool is_mark(char c) noexcept { return c == '+' || c == '&'; }
std::string mopac_text(std::string_view word);
std::string squeezed(std::string_view text);

// The changes to the keywords of one job, and the words MOPAC must read
// from the edited lines.
class Plan {
public:
    Plan(const MopacJob& job, std::size_t index) : job_(job), index_(index) {
        for (const JobKeyword& keyword : job.jobs()[index].keywords) words_.push_back({&keyword, false, std::nullopt});
    }

    std::vector<Word>& words() { return words_; }

    /// Words of a name (normalize_keyword_name), in order.
    std::vector<Word*> named(std::string_view name) {
        std::vector<Word*> found;
        for (Word& word : words_) {
            if (!word.removed && detail::keyword_name_equals(word.keyword->text, name)) found.push_back(&word);
        }
        return found;
    }
    std::vector<Word*> matching(bool (*test)(std::string_view name)) {
        std::vector<Word*> found;
        for (Word& word : words_) {
            if (!word.removed && test(normalize_keyword_name(word.keyword->text))) found.push_back(&word);
        }
        return found;
    }

    /// The word as written in the file; empty when "++" split it over lines.
    std::string_view written(const Word& word) const {
        const JobKeyword& keyword = *word.keyword;
        if (keyword.line == 0) return {};
        const std::string_view text = job_.line_text(keyword.line).substr(keyword.column - 1, keyword.length);
        return squeezed(mopac_text(text)) == squeezed(keyword.text) ? text : std::string_view();
    }

    void remove(Word& word) {
        if (written(word).empty()) refuse("MOPAC keyword " + word.keyword->text + " is split over two lines by ++");
        word.removed = true;
    }
    void replace(Word& word, std::string text) {
        if (written(word).empty()) refuse("MOPAC keyword " + word.keyword->text + " is split over two lines by ++");
        word.replacement = std::move(text);
    }
    void append(std::string text) { appended_.push_back(std::move(text)); }
    void prepend(std::string text) { prepended_.push_back(std::move(text)); }

    /// The splices of this plan, and the words MOPAC should read afterwards.
    void finish(std::vector<Splice>& splices, std::vector<std::string>& expected) const;

private:
    const MopacJob& job_;
    std::size_t index_;
    std::vector<Word> words_;
    std::vector<std::string> appended_;
    std::vector<std::string> prepended_;
};

void Plan::finish(std::vector<Splice>& splices, std::vector<std::string>& expected) const {
    for (const std::string& text : prepended_) expected.push_back(mopac_text(text));
    for (const Word& word : words_) {
        if (word.removed) continue;
        expected.push_back(word.replacement ? mopac_text(*word.replacement) : word.keyword->text);
    }
    for (const std::string& text : appended_) expected.push_back(mopac_text(text));

    for (const Word& word : words_) {
        if (!word.removed && !word.replacement) continue;
        const JobKeyword& keyword = *word.keyword;
        const std::size_t line = keyword.line - 1;
        std::size_t begin = keyword.column - 1;
        std::size_t end = begin + keyword.length;
        if (word.replacement) {
            splices.push_back({line, begin, end, *word.replacement});
            continue;
        }
        // A removed word takes the blanks in front of it with it, or, first
        // on its line, those behind it, unless a mark follows them.
        const std::string_view text = job_.line_text(line + 1);
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

    const Job& current = job_.jobs()[index_];
    std::size_t first_line = current.first_keyword_line - 1;
    std::size_t last_line = first_line;
    for (std::size_t i = first_line; i < job_.lines().size() && job_.lines()[i].job == index_; ++i) {
        if (job_.lines()[i].role == LineRole::keywords) last_line = i;
    }
    if (!prepended_.empty()) {
        const std::string_view text = job_.line_text(first_line + 1);
        const std::size_t at = std::min(text.find_first_not_of(" \t"), text.size());
        std::string inserted;
        for (const std::string& word : prepended_) inserted += word + " ";
        if (at == text.size()) inserted.pop_back();
        splices.push_back({first_line, at, at, std::move(inserted)});
    }
    if (!appended_.empty()) {
        const std::string_view text = job_.line_text(last_line + 1);
        const std::size_t last = text.find_last_not_of(" \t");
        const std::size_t at = last == std::string_view::npos ? 0 : last + 1;
        std::string inserted;
        for (const std::string& word : appended_) inserted += (at == 0 && inserted.empty() ? "" : " ") + word;
        splices.push_back({last_line, at, at, std::move(inserted)});
    }
}

}  // namespace

JobEditor::JobEditor(MopacJob job) : job_(std::move(job)) {}

JobEditor::JobEditor(std::string text, const ReadOptions& options) : job_(read_job(std::move(text), options)) {}

namespace {

// Applies `edit` to the chosen jobs, splices the text, reads it again and
// keeps it only if MOPAC reads every line as before and the words asked for.
MopacJob apply(const MopacJob& job, std::size_t which, const JobEdit& edit) {
    if (which != JobEditor::every_job && which >= job.jobs().size()) {
        throw std::out_of_range("MOPAC input has no job " + std::to_string(which + 1));
    }
    std::vector<Splice> splices;
    std::vector<std::vector<std::string>> expected(job.jobs().size());
    for (std::size_t k = 0; k < job.jobs().size(); ++k) {
        if (which != JobEditor::every_job && which != k) continue;
        if (job.jobs()[k].source == GeometrySource::data_pointer) {
            refuse("MOPAC reads the keywords of this input from the file named by DATA=");
        }
        Plan plan(job, k);
        edit(plan);
        plan.finish(splices, expected[k]);
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
    }

    MopacJob edited = read_job(std::move(text), job.options());
    if (edited.lines().size() != job.lines().size()) refuse("MOPAC would read the edited lines otherwise");
    for (std::size_t i = 0; i < job.lines().size(); ++i) {
        if (edited.lines()[i].role != job.lines()[i].role || edited.lines()[i].job != job.lines()[i].job) {
            refuse("MOPAC would read line " + std::to_string(i + 1) + " otherwise after this edit");
        }
        if (edited.lines()[i].role == LineRole::keywords && edited.lines()[i].length > 2000 &&
            job.lines()[i].length <= 2000) {
            throw std::length_error("MOPAC keywords would not fit in the keyword lines MOPAC reads (line " +
                                    std::to_string(i + 1) + " beyond 2000 bytes)");
        }
    }
    for (std::size_t k = 0; k < job.jobs().size(); ++k) {
        std::vector<std::string> found;
        for (const JobKeyword& keyword : edited.jobs()[k].keywords) found.push_back(keyword.text);
        const bool edited_job = which == JobEditor::every_job || which == k;
        const std::vector<std::string>& want = edited_job ? expected[k] : std::vector<std::string>();
        std::vector<std::string> before;
        for (const JobKeyword& keyword : job.jobs()[k].keywords) before.push_back(keyword.text);
        if (found != (edited_job ? want : before)) {
            std::size_t limit = 0;
            for (const std::string& word : found) limit += word.size() + 1;
            if (limit > 3000) {
                throw std::length_error("MOPAC keywords of job " + std::to_string(k + 1) +
                                        " would be longer than the 3000 bytes MOPAC keeps");
            }
            refuse("MOPAC would read the keywords of job " + std::to_string(k + 1) + " otherwise after this edit");
        }
    }
    return edited;
}

bool is_spin_name(std::string_view name) {
    return name == "MS" || name == "BIRADICAL" || spin_state_multiplicity(name) != 0;
}

bool is_active_space(std::string_view name) {
    return name == "C.I." || name == "OPEN" || name == "C.A.S." || name == "C.I.D." || name == "MRCI";
}

bool is_method_name(std::string_view name) { return is_mopac_method(name); }

// The name as the file spells it, and NAME=value keeping the file's spelling
// of everything up to the value.
std::string with_value(std::string_view written, std::string_view name, std::optional<std::string_view> value) {
    const std::size_t equals = written.find('=');
    if (!value) return std::string(written.substr(0, written.find_first_of("=(")));
    if (equals == std::string_view::npos) return std::string(name) + "=" + std::string(*value);
    std::size_t start = equals + 1;
    while (start < written.size() && (written[start] == ' ' || written[start] == '\t')) ++start;
    return std::string(written.substr(0, start)) + std::string(*value);
}

// Sets one keyword: in the place of the first of its name, the others removed.
void set_word(Plan& plan, std::string_view name, std::string_view call_name, std::optional<std::string_view> value) {
    const std::vector<Word*> found = plan.named(name);
    if (found.empty()) {
        plan.append(value ? std::string(call_name) + "=" + std::string(*value) : std::string(call_name));
        return;
    }
    plan.replace(*found[0], with_value(plan.written(*found[0]), call_name, value));
    for (std::size_t i = 1; i < found.size(); ++i) plan.remove(*found[i]);
}

}  // namespace

void JobEditor::set_method(std::string_view method, std::size_t job) {
    check_word(method, "method");
    const std::string text(detail::trim_space(method));
    job_ = apply(job_, job, [&text](Plan& plan) {
        const std::vector<Word*> methods = plan.matching(is_method_name);
        if (methods.empty()) {
            plan.prepend(text);
            return;
        }
        plan.replace(*methods[0], text);
        for (std::size_t i = 1; i < methods.size(); ++i) plan.remove(*methods[i]);
    });
}

void JobEditor::set_charge(int charge, std::size_t job) {
    std::string value;
    detail::append_integer(value, charge);
    job_ = apply(job_, job, [&value](Plan& plan) { set_word(plan, "CHARGE", "CHARGE", value); });
}

void JobEditor::set_multiplicity(unsigned int multiplicity, std::size_t job) {
    if (multiplicity == 0) refuse("MOPAC multiplicity must be positive");
    std::string ms = "MS=";
    detail::append_number(ms, (static_cast<double>(multiplicity) - 1.0) * 0.5);
    static constexpr const char* names[] = {"SINGLET", "DOUBLET", "TRIPLET", "QUARTET", "QUINTET",
                                            "SEXTET",  "SEPTET",  "OCTET",   "NONET"};
    job_ = apply(job_, job, [&ms, multiplicity](Plan& plan) {
        // A file that names its spin state gets a name again, where one exists.
        const std::vector<Word*> spins = plan.matching(is_spin_name);
        if (spins.empty()) {
            plan.append(ms);
        } else {
            const bool named = spin_state_multiplicity(normalize_keyword_name(spins[0]->keyword->text)) != 0;
            plan.replace(*spins[0], named && multiplicity <= 9 ? names[multiplicity - 1] : ms);
            for (std::size_t i = 1; i < spins.size(); ++i) plan.remove(*spins[i]);
        }
        // Open shells need UHF, unless an active space lets RHF treat them.
        if (multiplicity == 1 || !plan.matching(is_active_space).empty() || !plan.named("UHF").empty()) return;
        const std::vector<Word*> rhf = plan.named("RHF");
        if (rhf.empty()) {
            plan.append("UHF");
        } else {
            plan.replace(*rhf[0], "UHF");
            for (std::size_t i = 1; i < rhf.size(); ++i) plan.remove(*rhf[i]);
        }
    });
}

void JobEditor::set_auxiliary_output(int precision, bool include_xp_xs_xw, std::size_t job) {
    if (static_cast<unsigned int>(precision) > 18U) refuse("MOPAC AUX precision must be between 0 and 18");
    std::string setting = "PRECISION=";
    detail::append_integer(setting, precision);
    job_ = apply(job_, job, [&setting, include_xp_xs_xw](Plan& plan) {
        const std::vector<Word*> found = plan.named("AUX");
        // The options of the first AUX keyword stay, PRECISION set among them.
        std::vector<std::string> options;
        std::string head = "AUX";
        if (!found.empty()) {
            const std::string_view written = plan.written(*found[0]);
            const std::size_t open = written.find('(');
            head = std::string(written.substr(0, std::min(open, written.find('='))));
            if (open != std::string_view::npos) {
                std::string_view inside = written.substr(open + 1);
                if (!inside.empty() && inside.back() == ')') inside.remove_suffix(1);
                while (!inside.empty()) {
                    const std::size_t comma = inside.find(',');
                    options.emplace_back(detail::trim_space(inside.substr(0, comma)));
                    inside = comma == std::string_view::npos ? std::string_view() : inside.substr(comma + 1);
                }
            }
        }
        bool placed = false;
        for (std::string& option : options) {
            if (detail::keyword_name_equals(option, "PRECISION")) {
                const std::size_t equals = option.find('=');
                option = (equals == std::string::npos ? setting.substr(0, setting.find('=') + 1)
                                                      : option.substr(0, equals + 1)) +
                         setting.substr(setting.find('=') + 1);
                placed = true;
            }
        }
        if (!placed) options.push_back(setting);
        if (include_xp_xs_xw) {
            for (const char* extra : {"XP", "XS", "XW"}) {
                bool present = false;
                for (const std::string& option : options) present = present || normalize_keyword_name(option) == extra;
                if (!present) options.emplace_back(extra);
            }
        }
        std::string token = head + "(";
        for (std::size_t i = 0; i < options.size(); ++i) token += (i == 0 ? "" : ",") + options[i];
        token += ")";
        if (found.empty()) {
            plan.append(token);
            return;
        }
        plan.replace(*found[0], token);
        for (std::size_t i = 1; i < found.size(); ++i) plan.remove(*found[i]);
    });
}

bool JobEditor::clear_auxiliary_output(std::size_t job) { return remove_keyword("AUX", job); }

void JobEditor::set_keyword(std::string_view name, std::optional<std::string_view> value, std::size_t job) {
    check_word(name, "keyword name");
    if (value) check_word(*value, "keyword value");
    const std::string key = normalize_keyword_name(name);
    const std::string call_name(detail::trim_space(name));
    job_ = apply(job_, job, [&](Plan& plan) { set_word(plan, key, call_name, value); });
}

void JobEditor::add_keyword(std::string_view keyword, std::size_t job) {
    check_word(keyword, "keyword");
    const std::string text(detail::trim_space(keyword));
    job_ = apply(job_, job, [&text](Plan& plan) { plan.append(text); });
}

bool JobEditor::remove_keyword(std::string_view name, std::size_t job) {
    const std::string key = normalize_keyword_name(name);
    bool removed = false;
    job_ = apply(job_, job, [&](Plan& plan) {
        for (Word* word : plan.named(key)) {
            plan.remove(*word);
            removed = true;
        }
    });
    return removed;
}

namespace {

// A title or description line: one line MOPAC keeps, so no line break and
// no '*' in front, which would make MOPAC drop it.
void set_text_line(MopacJob& job, std::size_t which, std::string_view text, bool title) {
    const char* what = title ? "title" : "description";
    if (text.find_first_of("\r\n") != std::string_view::npos) refuse(std::string("MOPAC ") + what + " cannot hold a line break");
    if (!text.empty() && text[0] == '*') refuse(std::string("MOPAC drops a ") + what + " that starts with '*'");
    if (which >= job.jobs().size()) throw std::out_of_range("MOPAC input has no job " + std::to_string(which + 1));
    const JobText& line = title ? job.jobs()[which].title : job.jobs()[which].description;
    if (line.line == 0) refuse(std::string("MOPAC reads no ") + what + " line in this job");
    const JobLine& target = job.lines()[line.line - 1];
    std::string edited = job.text();
    edited.replace(target.offset, target.length, text);
    MopacJob next = read_job(std::move(edited), job.options());
    for (std::size_t i = 0; i < job.lines().size(); ++i) {
        if (next.lines().size() != job.lines().size() || next.lines()[i].role != job.lines()[i].role) {
            refuse(std::string("MOPAC would read the input otherwise with this ") + what);
        }
    }
    job = std::move(next);
}

}  // namespace

void JobEditor::set_title(std::string_view title, std::size_t job) { set_text_line(job_, job, title, true); }

void JobEditor::set_description(std::string_view description, std::size_t job) {
    set_text_line(job_, job, description, false);
}

void JobEditor::write_file(const std::string& path) const {
    if (!vesk::core::fs::write_text_file_atomic(path, job_.text())) {
        throw std::runtime_error("failed to write MOPAC input file: " + path);
    }
}

namespace {

// One keyword word as a caller gives it: something, without blanks or line
// breaks, whose quotes and parentheses close, that starts no comment or
// continuation. MOPAC would read anything else as more or other words.
void check_word(std::string_view word, const char* what) {
    word = detail::trim_space(word);
    const std::string name = std::string("MOPAC ") + what;
    if (word.empty()) refuse(name + " is empty");
    detail::KeywordNesting nesting;
    for (char c : word) {
        if (c == '\n' || c == '\r') refuse(name + " cannot hold a line break");
        if (nesting.splits(c)) refuse(name + " cannot hold a blank outside quotes or parentheses");
    }
    if (nesting.open()) refuse(name + " leaves a quote or parenthesis open");
    if (word[0] == '+' || word[0] == '*' || word.find('&') != std::string_view::npos ||
        word.find("++") != std::string_view::npos) {
        refuse(name + " would read as a continuation mark or a comment");
    }
}

// Without blanks and tabs: "MS = 1" -> "MS=1".
std::string squeezed(std::string_view text) {
    std::string kept;
    for (char c : text) {
        if (c != ' ' && c != '\t') kept.push_back(c);
    }
    return kept;
}

// A word as MOPAC keeps it: upper-cased, blanks around '=' closed up
// ("charge = 1" -> "CHARGE=1"), GEO-DAT and GEO-REF spelt with '_'.
std::string mopac_text(std::string_view word) {
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
        text.push_back(detail::to_upper(c));
    }
    for (const char* spelt : {"GEO-DAT", "GEO-REF"}) {
        if (text.compare(0, 7, spelt) == 0 && (text.size() == 7 || text[7] == '=')) text[3] = '_';
    }
    return text;
}

}  // namespace
}  // namespace vesk::input::mopac
