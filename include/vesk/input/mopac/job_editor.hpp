// JobEditor: edits a MOPAC input where MOPAC reads it, and proves the result
// before anyone sees it.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "vesk/input/mopac/export.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {

/// An edit whose result MOPAC would read otherwise than asked, or that gives
/// the input an error it did not have. what() names what differs: "job 1:
/// MOPAC would read the charge as 0, not 2 (CHARGE is given twice)". Nothing
/// of the refused edits was applied.
class VESK_MOPAC_API EditRefused : public std::invalid_argument {
public:
    explicit EditRefused(const std::string& what);
};

/// Edits the text of an input as MOPAC reads it: keyword edits rewrite only
/// the bytes of the keyword lines MOPAC reads (behind '*' comments, behind an
/// .arc marker, in +, & and ++ heads), title and description edits only
/// those lines. Every other byte stays, line ends included. A keyword keeps
/// its place when its value changes; a new keyword goes to the end of the
/// job's last keyword line, a new method to the front of the first.
///
/// Edits are recorded, then applied together as one splice when the text is
/// asked for (text(), job(), write_file(), apply()). The result is read again
/// as MOPAC reads it and proven: the same jobs, the same atoms bit for bit,
/// the title, description, method, charge, spin, AUX options and keywords as
/// asked, every other line as it was, and no error the input did not have
/// (unless allow_new_errors()). A result that fails the proof is never handed
/// out or written: EditRefused names what differs, and the editor keeps the
/// text it had before those edits.
///
/// An argument no file could take (a keyword with a blank, a multiplicity of
/// 0) is refused at once with std::invalid_argument, before anything is
/// recorded; a job number the input does not have with std::out_of_range.
///
///     JobEditor editor(read_job_file("in.mop"));
///     editor.set_method("PM7");
///     editor.set_charge(1);
///     editor.write_file("in.mop");  // proves, then writes atomically
class JobEditor {
public:
    /// Keyword edits apply to every job of the file unless given one.
    static constexpr std::size_t every_job = static_cast<std::size_t>(-1);

    /// Edits the reading `job`.
    VESK_MOPAC_API explicit JobEditor(MopacJob job);
    /// Reads `text` as read_job does, then edits it.
    VESK_MOPAC_API explicit JobEditor(std::string text, const ReadOptions& options = {});
    VESK_MOPAC_API JobEditor(const JobEditor& other);
    VESK_MOPAC_API JobEditor(JobEditor&& other) noexcept;
    VESK_MOPAC_API JobEditor& operator=(const JobEditor& other);
    VESK_MOPAC_API JobEditor& operator=(JobEditor&& other) noexcept;
    VESK_MOPAC_API ~JobEditor();

    /// The text as edited and proven so far, read as MOPAC reads it; applies
    /// the recorded edits first (and may throw EditRefused).
    VESK_MOPAC_API const MopacJob& job();
    /// The text as edited and proven so far; applies the recorded edits first.
    VESK_MOPAC_API const std::string& text();
    /// Applies the recorded edits as one splice and proves the result; throws
    /// EditRefused, keeping the text as it was, when the proof fails.
    VESK_MOPAC_API void apply();
    /// Whether the proven text differs from the text the editor was given.
    VESK_MOPAC_API bool changed();
    /// Whether edits are recorded that are not applied yet.
    VESK_MOPAC_API bool pending() const noexcept;

    /// Removes every method keyword of MOPAC (PM5, PM8 and the older names
    /// too) and writes `method` in the place of the first, or in front.
    VESK_MOPAC_API void set_method(std::string_view method, std::size_t job = every_job);
    /// Writes CHARGE=<charge> in the place of the first CHARGE keyword and
    /// removes the others.
    VESK_MOPAC_API void set_charge(int charge, std::size_t job = every_job);
    /// Replaces the spin keywords (SINGLET to NONET, MS, BIRADICAL) by the
    /// form MOPAC accepts for the job: the state's name, with UHF (in place of
    /// RHF) where open shells need it, none with INDO or an active space, RHF
    /// for POLAR; beyond NONET, or where no form runs, MS=<(m-1)/2> and UHF,
    /// which the proof then refuses with MOPAC's reason.
    /// Throws std::invalid_argument when `multiplicity` is 0.
    VESK_MOPAC_API void set_multiplicity(unsigned int multiplicity, std::size_t job = every_job);
    /// Sets PRECISION=<precision> in the AUX keyword, keeping its other
    /// options (MOS=10, XP, ...), or writes AUX(PRECISION=<p>[,XP,XS,XW]).
    /// Throws std::invalid_argument when `precision` is outside 0 to 18.
    VESK_MOPAC_API void set_auxiliary_output(int precision, bool include_xp_xs_xw = false,
                                             std::size_t job = every_job);
    /// Removes every AUX keyword; true when one was removed.
    VESK_MOPAC_API bool clear_auxiliary_output(std::size_t job = every_job);
    /// Writes NAME or NAME=value in the place of the first keyword of that
    /// name, keeping how the name is spelt, and removes the others.
    VESK_MOPAC_API void set_keyword(std::string_view name, std::optional<std::string_view> value,
                                    std::size_t job = every_job);
    /// Appends one keyword to the job's last keyword line.
    VESK_MOPAC_API void add_keyword(std::string_view keyword, std::size_t job = every_job);
    /// Removes every keyword of that name; true when one was removed.
    VESK_MOPAC_API bool remove_keyword(std::string_view name, std::size_t job = every_job);
    /// Replaces the title line. Throws std::invalid_argument for a title with
    /// a line break or a first '*' (MOPAC would drop the line), or for a job
    /// whose head has no title line.
    VESK_MOPAC_API void set_title(std::string_view title, std::size_t job = 0);
    /// Replaces the description line, as set_title does.
    VESK_MOPAC_API void set_description(std::string_view description, std::size_t job = 0);

    /// Lays the keyword lines of every job out anew, `width` bytes at most
    /// where a line holds more than one keyword: the keywords as they will
    /// stand after the other edits, one blank apart, in the head's own
    /// continuation style (" +", "++", '&'), never in more keyword lines
    /// than MOPAC reads. '*' comment lines, the .arc marker, title,
    /// description, geometry and line ends stay.
    VESK_MOPAC_API void lay_out_keywords(unsigned long long width = 78);

    /// Whether the proof lets a result have errors the input did not have
    /// (false by default): for a caller that means to write such a file.
    VESK_MOPAC_API void allow_new_errors(bool allow = true) noexcept;

    /// Writes the proven text atomically; throws EditRefused as apply() does,
    /// std::runtime_error "failed to write MOPAC input file: <path>" when the
    /// write fails.
    VESK_MOPAC_API void write_file(const std::string& path);

    struct Plan;

private:
    MopacJob job_;
    std::size_t original_hash_ = 0;  // of the text the editor was given
    bool allow_new_errors_ = false;
    std::unique_ptr<Plan> plan_;  // edits recorded since the last apply, null for none

    Plan& plan();
};

/// Why MOPAC would not read `word` back as one keyword written into a
/// keyword line ("holds a blank outside quotes or parentheses", ...); empty
/// when it would. JobEditor refuses such a word with std::invalid_argument.
VESK_MOPAC_API std::string keyword_word_problem(std::string_view word);

/// Why `line` cannot be a title or description line MOPAC reads as given
/// ("holds a line break", "starts with '*'"); empty when it can.
VESK_MOPAC_API std::string head_line_problem(std::string_view line);

}  // namespace vesk::input::mopac
