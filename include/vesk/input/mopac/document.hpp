// The in-memory MOPAC input document, its rendering and its keyword queries.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// What one line of the coordinate block holds.
enum class CoordinateKind : std::int32_t {
    Atom = 0,               ///< element, three coordinates, optional flags
    TranslationVector = 1,  ///< "Tv" and three coordinates, optional flags
    Raw = 2,                ///< any other line, kept as text in raw_line
};

/// One line of the coordinate block.
struct CoordinateRecord {
    CoordinateKind kind = CoordinateKind::Atom;
    std::string element;  // as written; a parsed Tv keeps its label here
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    bool has_optimization_flags = false;
    int optimize_x = 1;  // written only when has_optimization_flags is true
    int optimize_y = 1;
    int optimize_z = 1;
    std::string raw_line;  // the whole line of a Raw record, blanks included
};

/// One MOPAC input file: keyword lines, title, comment, coordinates and the
/// lines behind the coordinate block, each line without its terminator.
///
///     MopacInput doc = parse_string(text).input;
///     if (doc.has_keyword("PM7")) std::cout << doc.to_string();
struct MopacInput {
    std::vector<std::string> keyword_lines;  // continuation marks stay in the lines
    std::string title;
    std::string comment;
    std::vector<CoordinateRecord> coordinates;
    std::vector<std::string> trailing_lines;  // from the first blank line on, verbatim

    /// The whole file text; every line ends in one line feed.
    VESK_MOPAC_API std::string to_string() const;

    /// Writes to_string() to `path` atomically; throws std::runtime_error
    /// "failed to write MOPAC input file: <path>" when the write fails.
    VESK_MOPAC_API void write_file(const std::string& path) const;

    /// The Atom records as a geometry; translation vectors and raw lines are skipped.
    VESK_MOPAC_API vesk::core::Geometry cartesian_geometry() const;

    /// The tokens of all keyword lines in order, without the "+" continuation marks.
    VESK_MOPAC_API std::vector<std::string> keyword_tokens() const;

    /// Whether a token has the same name as `name` (case and any value ignored).
    VESK_MOPAC_API bool has_keyword(std::string_view name) const;

    /// The value of the first token named `name`: empty optional when absent,
    /// an empty string for a bare keyword, else the text after '=' or inside (...).
    VESK_MOPAC_API std::optional<std::string> keyword_value(std::string_view name) const;
};

/// One coordinate line without terminator, numbers as by "%.12g".
VESK_MOPAC_API std::string format_coordinate(const CoordinateRecord& record);

/// The comparable name of a keyword token: trimmed, cut at the first '=' or
/// '(', trimmed again and upper-cased. "aux(precision=9)" -> "AUX".
VESK_MOPAC_API std::string normalize_keyword_name(std::string_view text);

/// Whether `name`, a name as normalize_keyword_name gives it, is one of the
/// 18 methods that InputEditor::set_method replaces: "AM1", "PM6-DH+", "PM7", ...
VESK_MOPAC_API bool is_method_keyword(std::string_view name) noexcept;

}  // namespace vesk::input::mopac
