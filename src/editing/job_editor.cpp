// JobEditor: each edit is recorded in the plan against the words MOPAC reads
// (nothing is read again), and apply() turns the plan into the edited text
// in one pass, reads that once and proves it before it takes its place.
#include "vesk/input/mopac/job_editor.hpp"

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/spin_forms.hpp"
#include "document/number_format.hpp"
#include "editing/job_plan.hpp"
#include "job/reader.hpp"
#include "mopac/tables.hpp"
#include "text/continuation.hpp"
#include "text/keyword_scan.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

using detail::PlannedJob;
using detail::WordRef;
using Place = detail::WordRef::Place;

// One edit of one job: changes `plan`, with the job's reading at hand.
using JobEdit = std::function<void(const MopacJob& job, std::size_t k, PlannedJob& plan)>;

[[noreturn]] void refuse(const std::string& what) { throw std::invalid_argument(what); }
std::string checked_word(std::string_view word, const char* what);
std::size_t text_hash(std::string_view text) { return std::hash<std::string_view>()(text); }

// The standing words of a job whose name (normalize_keyword_name) passes `test`.
template <class Test>
std::vector<WordRef> words_where(const MopacJob& job, std::size_t k, const PlannedJob& plan, Test&& test) {
    std::vector<WordRef> found;
    for (const WordRef word : detail::live_words(plan)) {
        if (test(normalize_keyword_name(detail::planned_text(job, k, plan, word)))) found.push_back(word);
    }
    return found;
}

std::vector<WordRef> words_named(const MopacJob& job, std::size_t k, const PlannedJob& plan, std::string_view name) {
    return words_where(job, k, plan, [name](const std::string& found) { return found == name; });
}

// A keyword of the file can be changed in place only where it stands whole
// in one line: "++" may split a word over two.
void require_whole(const MopacJob& job, std::size_t k, WordRef word) {
    if (word.place != Place::original) return;
    const JobKeyword& keyword = job.jobs()[k].keywords[word.index];
    if (detail::written_keyword(job, keyword).empty()) {
        refuse("MOPAC keyword " + keyword.text + " is split over two lines by ++");
    }
}

void remove(const MopacJob& job, std::size_t k, PlannedJob& plan, WordRef word) {
    require_whole(job, k, word);
    switch (word.place) {
        case Place::front: plan.front[word.index].removed = true; break;
        case Place::back: plan.back[word.index].removed = true; break;
        case Place::original: plan.originals[word.index].removed = true; break;
    }
}

void replace(const MopacJob& job, std::size_t k, PlannedJob& plan, WordRef word, std::string text) {
    require_whole(job, k, word);
    switch (word.place) {
        case Place::front: plan.front[word.index].text = std::move(text); break;
        case Place::back: plan.back[word.index].text = std::move(text); break;
        case Place::original: plan.originals[word.index].replacement = std::move(text); break;
    }
}

// The first of `found` becomes `text`, the others go; with none, `text` is
// appended (or put in front).
void put_first(const MopacJob& job, std::size_t k, PlannedJob& plan, const std::vector<WordRef>& found,
               std::string text, bool in_front = false) {
    if (found.empty()) {
        (in_front ? plan.front : plan.back).push_back({std::move(text), false});
        return;
    }
    replace(job, k, plan, found[0], std::move(text));
    for (std::size_t i = 1; i < found.size(); ++i) remove(job, k, plan, found[i]);
}

// NAME=value keeping the file's spelling of everything up to the value;
// the name as the file spells it when there is no value.
std::string with_value(std::string_view written, std::string_view name, const std::string* value) {
    if (written.empty()) return value ? std::string(name) + "=" + *value : std::string(name);
    const std::size_t equals = written.find('=');
    if (!value) return std::string(written.substr(0, written.find_first_of("=(")));
    if (equals == std::string_view::npos) return std::string(detail::keyword_name_part(written)) + "=" + *value;
    std::size_t start = equals + 1;
    while (start < written.size() && (written[start] == ' ' || written[start] == '\t')) ++start;
    return std::string(written.substr(0, start)) + *value;
}

// What a keyword word asks for, to be found again in the result.
void ask_word(PlannedJob& plan, std::string_view word) {
    const std::string name = normalize_keyword_name(word);
    const std::string text = detail::mopac_word(word);
    plan.asked.present.push_back(text);
    if (name == "CHARGE") plan.asked.charge = std::string(detail::keyword_value_part(text));
    if (is_mopac_method(name)) plan.asked.method = name;
}

}  // namespace

EditRefused::EditRefused(const std::string& what) : std::invalid_argument(what) {}

JobEditor::JobEditor(MopacJob job) : job_(std::move(job)), original_hash_(text_hash(job_.text())) {}

JobEditor::JobEditor(std::string text, const ReadOptions& options)
    : JobEditor(read_job(std::move(text), options)) {}

JobEditor::JobEditor(const JobEditor& other)
    : job_(other.job_),
      original_hash_(other.original_hash_),
      allow_new_errors_(other.allow_new_errors_),
      plan_(other.plan_ ? std::make_unique<Plan>(*other.plan_) : nullptr) {}
JobEditor::JobEditor(JobEditor&& other) noexcept = default;
JobEditor& JobEditor::operator=(const JobEditor& other) {
    if (this != &other) *this = JobEditor(other);
    return *this;
}
JobEditor& JobEditor::operator=(JobEditor&& other) noexcept = default;
JobEditor::~JobEditor() = default;

JobEditor::Plan& JobEditor::plan() {
    if (!plan_) plan_ = std::make_unique<Plan>(job_);
    return *plan_;
}

bool JobEditor::pending() const noexcept { return plan_ != nullptr; }

void JobEditor::allow_new_errors(bool allow) noexcept { allow_new_errors_ = allow; }

void JobEditor::apply() {
    if (!plan_) return;
    std::unique_ptr<Plan> plan = std::move(plan_);  // dropped whatever the proof says
    std::vector<std::size_t> changed_lines;
    std::string text = detail::build_edited_text(job_, *plan, changed_lines);
    // Where only heads changed, only they are read again; else the whole text.
    MopacJob edited;
    if (plan->layout_width || !JobReader(edited).reread_heads(job_, text, changed_lines)) {
        edited = read_job(std::move(text), job_.options());
    }
    const std::string difference = detail::edit_difference(job_, edited, *plan, allow_new_errors_);
    if (!difference.empty()) throw EditRefused(difference);
    job_ = std::move(edited);
}

const MopacJob& JobEditor::job() {
    apply();
    return job_;
}

const std::string& JobEditor::text() {
    apply();
    return job_.text();
}

bool JobEditor::changed() {
    apply();
    return text_hash(job_.text()) != original_hash_;
}

namespace {

// Records `edit` for the chosen jobs on a copy of the plan, which takes the
// place of the plan only when every job took the edit.
void record(const MopacJob& job, std::unique_ptr<JobEditor::Plan>& current, std::size_t which, const JobEdit& edit) {
    if (which != JobEditor::every_job && which >= job.jobs().size()) {
        throw std::out_of_range("MOPAC input has no job " + std::to_string(which + 1));
    }
    JobEditor::Plan plan = current ? *current : JobEditor::Plan(job);
    for (std::size_t k = 0; k < job.jobs().size(); ++k) {
        if (which != JobEditor::every_job && which != k) continue;
        if (job.jobs()[k].source == GeometrySource::data_pointer) {
            refuse("MOPAC reads the keywords of this input from the file named by DATA=");
        }
        plan.jobs[k].touched = true;
        edit(job, k, plan.jobs[k]);
    }
    current = std::make_unique<JobEditor::Plan>(std::move(plan));
}

}  // namespace

void JobEditor::set_method(std::string_view method, std::size_t which) {
    const std::string text = checked_word(method, "method");
    record(job_, plan_, which, [&text](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        const auto is_method = [](const std::string& name) { return is_mopac_method(name); };
        put_first(job, k, plan, words_where(job, k, plan, is_method), text, true);
        plan.asked.method = normalize_keyword_name(text);
    });
}

void JobEditor::set_charge(int charge, std::size_t which) {
    std::string value;
    detail::append_integer(value, charge);
    record(job_, plan_, which, [&value](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        const std::vector<WordRef> found = words_named(job, k, plan, "CHARGE");
        const std::string written = found.empty() ? std::string() : std::string(detail::planned_text(job, k, plan, found[0]));
        put_first(job, k, plan, found, with_value(written, "CHARGE", &value));
        plan.asked.charge = value;
    });
}

void JobEditor::set_multiplicity(unsigned int multiplicity, std::size_t which) {
    if (multiplicity == 0) refuse("MOPAC multiplicity must be positive");
    std::string ms = "MS=";
    detail::append_number(ms, (static_cast<double>(multiplicity) - 1.0) * 0.5);
    record(job_, plan_, which, [&ms, multiplicity](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        const auto is_reference = [](const std::string& name) { return name == "UHF" || name == "RHF"; };
        // The job's other keywords as they will stand, for the form MOPAC
        // accepts: the state's name, with UHF or RHF where that job needs one.
        Job planned;
        for (const std::string& word : detail::expected_keywords(job, k, plan)) {
            const std::string name = normalize_keyword_name(word);
            if (!detail::is_spin_keyword(name) && !is_reference(name)) planned.keywords.push_back({word, 0, 0, 0});
        }
        const check::SpinKeywords form = check::spin_keywords_for(planned, multiplicity);
        const std::vector<WordRef> spins = words_where(job, k, plan, detail::is_spin_keyword);
        plan.asked.multiplicity = multiplicity;
        if (form.accepted) {
            std::string reference;
            for (const std::string& token : form.tokens) {
                if (is_reference(token)) reference = token;
            }
            put_first(job, k, plan, spins, form.tokens.back());
            if (!reference.empty()) put_first(job, k, plan, words_where(job, k, plan, is_reference), reference);
            return;
        }
        // No form MOPAC runs: MS= and UHF, which the proof then refuses
        // with MOPAC's own reason.
        put_first(job, k, plan, spins, ms);
        if (multiplicity > 1 && words_named(job, k, plan, "UHF").empty()) {
            put_first(job, k, plan, words_named(job, k, plan, "RHF"), "UHF");
        }
    });
}

void JobEditor::set_auxiliary_output(int precision, bool include_xp_xs_xw, std::size_t which) {
    if (static_cast<unsigned int>(precision) > 18U) refuse("MOPAC AUX precision must be between 0 and 18");
    std::string value;
    detail::append_integer(value, precision);
    record(job_, plan_, which, [&](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        const std::vector<WordRef> found = words_named(job, k, plan, "AUX");
        // The options of the first AUX keyword stay, PRECISION set among them.
        std::vector<std::string> options;
        std::string head = "AUX";
        if (!found.empty()) {
            const std::string_view written = detail::planned_text(job, k, plan, found[0]);
            const std::size_t open = written.find('(');
            head = std::string(detail::keyword_name_part(written));
            if (open != std::string_view::npos) {
                std::string_view inside = written.substr(open + 1);
                if (!inside.empty() && inside.back() == ')') inside.remove_suffix(1);
                detail::for_each_list_item(inside, [&options](std::string_view item) {
                    if (!item.empty()) options.emplace_back(item);
                });
            }
        }
        bool placed = false;
        for (std::string& option : options) {
            if (!detail::keyword_name_equals(option, "PRECISION")) continue;
            const std::size_t equals = option.find('=');
            option = (equals == std::string::npos ? std::string("PRECISION=") : option.substr(0, equals + 1)) + value;
            placed = true;
        }
        if (!placed) options.push_back("PRECISION=" + value);
        for (const char* extra : {"XP", "XS", "XW"}) {
            if (!include_xp_xs_xw) break;
            bool present = false;
            for (const std::string& option : options) present = present || normalize_keyword_name(option) == extra;
            if (!present) options.emplace_back(extra);
        }
        std::string token = head + "(";
        for (std::size_t i = 0; i < options.size(); ++i) token += (i == 0 ? "" : ",") + options[i];
        put_first(job, k, plan, found, token + ")");
        plan.asked.aux_precision = precision;
        plan.asked.aux_extras = include_xp_xs_xw;
        plan.asked.aux_cleared = false;
    });
}

bool JobEditor::clear_auxiliary_output(std::size_t which) {
    bool removed = false;
    record(job_, plan_, which, [&removed](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        for (const WordRef word : words_named(job, k, plan, "AUX")) {
            remove(job, k, plan, word);
            removed = true;
        }
        plan.asked.aux_cleared = true;
        plan.asked.aux_precision.reset();
    });
    return removed;
}

void JobEditor::set_keyword(std::string_view name, std::optional<std::string_view> value, std::size_t which) {
    const std::string call_name = checked_word(name, "keyword name");
    std::string checked_value;
    if (value) checked_value = checked_word(*value, "keyword value");
    const std::string key = normalize_keyword_name(name);
    record(job_, plan_, which, [&](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        const std::vector<WordRef> found = words_named(job, k, plan, key);
        const std::string written = found.empty() ? std::string() : std::string(detail::planned_text(job, k, plan, found[0]));
        std::string word = with_value(written, call_name, value ? &checked_value : nullptr);
        ask_word(plan, word);
        put_first(job, k, plan, found, std::move(word));
    });
}

void JobEditor::add_keyword(std::string_view keyword, std::size_t which) {
    const std::string text = checked_word(keyword, "keyword");
    record(job_, plan_, which, [&text](const MopacJob&, std::size_t, PlannedJob& plan) {
        plan.back.push_back({text, false});
        ask_word(plan, text);
    });
}

bool JobEditor::remove_keyword(std::string_view name, std::size_t which) {
    const std::string key = normalize_keyword_name(name);
    bool removed = false;
    record(job_, plan_, which, [&](const MopacJob& job, std::size_t k, PlannedJob& plan) {
        for (const WordRef word : words_named(job, k, plan, key)) {
            remove(job, k, plan, word);
            removed = true;
        }
        plan.asked.absent.push_back(key);
    });
    return removed;
}

namespace {

// A title or description line: one line MOPAC keeps, so no line break and
// no '*' in front, which would make MOPAC drop it.
void set_head_line(const MopacJob& job, std::unique_ptr<JobEditor::Plan>& current, std::size_t which,
                   std::string_view text, bool title) {
    const char* what = title ? "title" : "description";
    const std::string problem = head_line_problem(text);
    if (!problem.empty()) refuse(std::string("MOPAC ") + what + " " + problem);
    if (which >= job.jobs().size()) throw std::out_of_range("MOPAC input has no job " + std::to_string(which + 1));
    const JobText& line = title ? job.jobs()[which].title : job.jobs()[which].description;
    if (line.line == 0) refuse(std::string("MOPAC reads no ") + what + " line in this job");
    record(job, current, which, [&](const MopacJob&, std::size_t, PlannedJob& plan) {
        (title ? plan.asked.title : plan.asked.description) = std::string(text);
    });
}

}  // namespace

void JobEditor::set_title(std::string_view title, std::size_t which) { set_head_line(job_, plan_, which, title, true); }

void JobEditor::set_description(std::string_view description, std::size_t which) {
    set_head_line(job_, plan_, which, description, false);
}

void JobEditor::lay_out_keywords(unsigned long long width) {
    Plan& current = plan();
    current.layout_width = width;
    for (detail::PlannedJob& planned : current.jobs) planned.touched = true;
}

void JobEditor::write_file(const std::string& path) {
    apply();
    if (!vesk::core::fs::write_text_file_atomic(path, job_.text())) {
        throw std::runtime_error("failed to write MOPAC input file: " + path);
    }
}

std::string keyword_word_problem(std::string_view word) {
    word = detail::trim_space(word);
    if (word.empty()) return "is empty";
    detail::KeywordNesting nesting;
    for (char c : word) {
        if (c == '\n' || c == '\r') return "holds a line break";
        if (nesting.splits(c)) return "holds a blank outside quotes or parentheses";
    }
    if (nesting.open()) return "leaves a quote or parenthesis open, which would take in the keywords behind it";
    if (word[0] == '+') return "starts with '+', which MOPAC reads as the mark that continues the keyword line";
    if (detail::holds_double_plus(word)) return "holds \"++\", which MOPAC reads as joining the next line";
    if (detail::holds_ampersand(word)) return "holds '&', which makes MOPAC read the next line as keywords";
    if (word[0] == '*') return "starts with '*': MOPAC skips a keyword line that starts so";
    return {};
}

std::string head_line_problem(std::string_view line) {
    if (line.find_first_of("\r\n") != std::string_view::npos) return "holds a line break";
    if (!line.empty() && line[0] == '*') return "starts with '*': MOPAC skips such a line as a comment";
    return {};
}

namespace {

// One keyword word as a caller gives it, trimmed; refused with the reason
// MOPAC would read anything else as more or other words.
std::string checked_word(std::string_view word, const char* what) {
    const std::string problem = keyword_word_problem(word);
    if (!problem.empty()) refuse(std::string("MOPAC ") + what + " " + problem);
    return std::string(detail::trim_space(word));
}

}  // namespace
}  // namespace vesk::input::mopac
