// JobEditor: edits a MOPAC input where MOPAC reads it, and nowhere else.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "vesk/input/mopac/export.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {

/// Edits the text of an input as MOPAC reads it: keyword edits rewrite only
/// the bytes of the keyword lines MOPAC reads (behind '*' comments, behind an
/// .arc marker, in +, & and ++ heads), title and description edits only
/// those lines. Every other byte stays, line ends included; no line is
/// added or removed, so every line keeps its number and MOPAC reads every
/// line as before. A keyword keeps its place when its value changes; a new
/// keyword goes to the end of the job's last keyword line, a new method to
/// the front of the first.
///
/// An edit that MOPAC would read otherwise than asked (a token that swallows
/// a continuation mark, a line beyond MOPAC's limits) is refused before
/// anything changes: std::invalid_argument for an argument no file could
/// take, std::length_error for keywords that do not fit the lines.
///
///     JobEditor editor(vesk::core::fs::read_text_file("in.mop"));
///     editor.set_method("PM7");
///     editor.set_charge(1);
///     editor.write_file("in.mop");
class JobEditor {
public:
    /// Keyword edits apply to every job of the file unless given one.
    static constexpr std::size_t every_job = static_cast<std::size_t>(-1);

    /// Edits the reading `job`.
    VESK_MOPAC_API explicit JobEditor(MopacJob job);
    /// Reads `text` as read_job does, then edits it.
    VESK_MOPAC_API explicit JobEditor(std::string text, const ReadOptions& options = {});

    /// The text as edited so far, read as MOPAC reads it.
    const MopacJob& job() const noexcept { return job_; }
    /// The text as edited so far.
    const std::string& text() const noexcept { return job_.text(); }

    /// Removes every method keyword MOPAC runs (PM8 and the older names
    /// too) and writes `method` in the place of the first, or in front.
    VESK_MOPAC_API void set_method(std::string_view method, std::size_t job = every_job);
    /// Writes CHARGE=<charge> in the place of the first CHARGE keyword.
    VESK_MOPAC_API void set_charge(int charge, std::size_t job = every_job);
    /// Replaces the spin keywords (SINGLET to NONET, MS, BIRADICAL) by one:
    /// the state's name where the file named its state (DOUBLET), otherwise
    /// MS=<(m-1)/2>; above 1 also UHF in place of RHF, unless an active space
    /// (C.I., OPEN, C.A.S., C.I.D., MRCI) lets RHF describe the open shells.
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
    /// a line break, or one MOPAC would drop (a first '*'), or a job without one.
    VESK_MOPAC_API void set_title(std::string_view title, std::size_t job = 0);
    /// Replaces the description line, as set_title does.
    VESK_MOPAC_API void set_description(std::string_view description, std::size_t job = 0);

    /// Writes the text atomically; throws std::runtime_error
    /// "failed to write MOPAC input file: <path>" when the write fails.
    VESK_MOPAC_API void write_file(const std::string& path) const;

private:
    MopacJob job_;
};

}  // namespace vesk::input::mopac
