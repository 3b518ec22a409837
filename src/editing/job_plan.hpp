// The edits a JobEditor has recorded and not yet applied: per job, what
// becomes of each keyword MOPAC reads, the new keywords, title and
// description, and what was asked (for the proof). Nothing here reads text
// again; build_edited_text turns a plan into the edited text in one pass.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/input/mopac/job.hpp"
#include "vesk/input/mopac/job_editor.hpp"

namespace vesk::input::mopac {
namespace detail {

/// A keyword the file holds, as the plan leaves it.
struct PlannedOriginal {
    bool removed = false;
    std::optional<std::string> replacement;  // the text written in its place
};

/// A keyword the edits write anew.
struct PlannedNew {
    std::string text;
    bool removed = false;
};

/// What was asked of one job, checked on the result.
struct AskedSettings {
    std::optional<std::string> method;        // as MOPAC reads it: "PM6"
    std::optional<std::string> charge;        // the value: "-1"
    std::optional<unsigned int> multiplicity;
    std::optional<int> aux_precision;
    bool aux_extras = false;                  // XP, XS, XW
    bool aux_cleared = false;
    std::vector<std::string> absent;          // names that must be gone
    std::vector<std::string> present;         // words (MOPAC's text) that must stand
    std::optional<std::string> title;
    std::optional<std::string> description;
};

/// The plan of one job.
struct PlannedJob {
    std::vector<PlannedNew> front;  // before its first keyword, in order
    std::vector<PlannedOriginal> originals;  // one per JobKeyword, in order
    std::vector<PlannedNew> back;   // behind its last keyword, in order
    AskedSettings asked;
    bool touched = false;
};

/// One keyword of a planned job that still stands: where it is in the plan.
struct WordRef {
    enum class Place : unsigned char { front, original, back } place;
    std::size_t index;
};

/// The text a word stands for: what the file holds (as written), a
/// replacement, or a new word.
std::string_view planned_text(const MopacJob& job, std::size_t job_index, const PlannedJob& plan, WordRef word);

/// The words of a planned job, in order, as WordRefs.
std::vector<WordRef> live_words(const PlannedJob& plan);

/// A word as written in its line; empty when "++" split it over two lines.
std::string_view written_keyword(const MopacJob& job, const JobKeyword& keyword);

/// A word as MOPAC keeps it: upper-cased, blanks around '=' closed up
/// ("charge = 1" -> "CHARGE=1"), GEO-DAT and GEO-REF spelt with '_'.
std::string mopac_word(std::string_view word);

}  // namespace detail

struct JobEditor::Plan {
    std::vector<detail::PlannedJob> jobs;  // one per job of the text
    std::optional<unsigned long long> layout_width;  // lay_out_keywords

    explicit Plan(const MopacJob& job);
};

namespace detail {

/// The text with every edit of `plan` applied; `changed_lines` gets the
/// indices of the lines changed in place (none where they are laid out anew).
std::string build_edited_text(const MopacJob& job, const JobEditor::Plan& plan, std::vector<std::size_t>& changed_lines);

/// The keywords MOPAC should read from a planned job, as MOPAC keeps them.
std::vector<std::string> expected_keywords(const MopacJob& job, std::size_t job_index, const PlannedJob& plan);

/// What of `after` is not as `plan` asked of `before`; empty when all is.
std::string edit_difference(const MopacJob& before, const MopacJob& after, const JobEditor::Plan& plan,
                            bool allow_new_errors);

}  // namespace detail
}  // namespace vesk::input::mopac
