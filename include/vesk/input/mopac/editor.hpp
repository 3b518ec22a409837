// InputEditor: changes a MOPAC input document in place.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// The keyword line width, in bytes, that InputBuilder uses.
inline constexpr unsigned long long default_keyword_line_width = 78;

/// Owns one document and edits it. Every keyword edit lays out the whole
/// keyword block anew at the width of the call, with " +" continuation marks.
///
///     InputEditor editor(std::move(result.input));
///     editor.set_method("PM7");
///     editor.set_multiplicity(3);
///     editor.write_file("water.mop");
class InputEditor {
public:
    /// Takes the document as it is; nothing is validated or laid out.
    VESK_MOPAC_API explicit InputEditor(MopacInput input);

    /// Read access to the held document.
    const MopacInput& input() const noexcept { return document; }

    /// The keyword tokens of the document, as MopacInput::keyword_tokens.
    VESK_MOPAC_API std::vector<std::string> keywords() const;
    /// As MopacInput::has_keyword.
    VESK_MOPAC_API bool has_keyword(std::string_view name) const;
    /// As MopacInput::keyword_value.
    VESK_MOPAC_API std::optional<std::string> keyword_value(std::string_view name) const;
    /// As MopacInput::to_string.
    VESK_MOPAC_API std::string to_string() const;
    /// As MopacInput::write_file.
    VESK_MOPAC_API void write_file(const std::string& path) const;

    /// Replaces the title line, byte for byte.
    VESK_MOPAC_API void set_title(std::string title);
    /// Replaces the comment line, byte for byte.
    VESK_MOPAC_API void set_comment(std::string comment);

    /// Replaces the keyword block by `keywords` packed into lines of at most
    /// `max_line_width` bytes (a lone token may be longer), each line but the
    /// last ending in " +".
    VESK_MOPAC_API void set_keywords(const std::vector<std::string>& keywords,
                                     unsigned long long max_line_width = default_keyword_line_width);

    /// Appends one token, trimmed; an empty or "+" token adds nothing.
    VESK_MOPAC_API void add_keyword(std::string keyword,
                                    unsigned long long max_line_width = default_keyword_line_width);
    /// Removes every token named `name` and appends `name` or `name=value` last.
    VESK_MOPAC_API void set_keyword(std::string_view name, std::optional<std::string_view> value,
                                    unsigned long long max_line_width = default_keyword_line_width);
    /// Removes every token named `name`; true when one was removed.
    VESK_MOPAC_API bool remove_keyword(std::string_view name,
                                       unsigned long long max_line_width = default_keyword_line_width);

    /// Writes CHARGE=<charge> as the last token, replacing every CHARGE token.
    VESK_MOPAC_API void set_charge(int charge,
                                   unsigned long long max_line_width = default_keyword_line_width);
    /// Writes AUX(PRECISION=<p>[,XP,XS,XW]) last, replacing every AUX token.
    /// Throws std::invalid_argument when `precision` is outside 0 to 18.
    VESK_MOPAC_API void set_auxiliary_output(int precision, bool include_xp_xs_xw,
                                             unsigned long long max_line_width = default_keyword_line_width);
    /// Removes every AUX token; true when one was removed.
    VESK_MOPAC_API bool clear_auxiliary_output(unsigned long long max_line_width = default_keyword_line_width);

    /// Removes every known method keyword and puts `method` first.
    VESK_MOPAC_API void set_method(std::string method,
                                   unsigned long long max_line_width = default_keyword_line_width);

    /// Replaces every spin keyword by "UHF" (unless 1) and "MS=<(m-1)/2>".
    /// Throws std::invalid_argument when `multiplicity` is 0.
    VESK_MOPAC_API void set_multiplicity(unsigned int multiplicity,
                                         unsigned long long max_line_width = default_keyword_line_width);

    /// Replaces the coordinate block by a copy of `records`.
    VESK_MOPAC_API void set_geometry(const std::vector<CoordinateRecord>& records);
    /// Replaces the coordinate block by one flagged Atom record per atom.
    VESK_MOPAC_API void set_geometry(const vesk::core::Geometry& geometry, bool optimize);
    /// Appends a copy of `record`.
    VESK_MOPAC_API void add_coordinate(const CoordinateRecord& record);
    /// Appends an Atom record with all three flags 1 (`optimize`) or 0.
    VESK_MOPAC_API void add_atom(const vesk::core::Atom& atom, bool optimize);
    /// Appends a "Tv" record without flags.
    VESK_MOPAC_API void add_translation_vector(double x, double y, double z);

private:
    MopacInput document;
};

}  // namespace vesk::input::mopac
