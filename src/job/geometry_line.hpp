// One line of a MOPAC geometry as MOPAC's own reader takes it apart.
#pragma once

#include <cstddef>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/issues.hpp"
#include "job/text_lines.hpp"

namespace vesk::input::mopac::detail {

/// Keywords of a job that change how its geometry lines read.
struct GeometrySettings {
    bool mini = false;    // MINI: optimisation flags of any size
    bool geo_ok = false;  // GEO-OK: labels of mixed lengths
    bool mopac = false;   // MOPAC: atoms 2 and 3 connected to the first atoms by default
};

/// What a geometry line is.
enum class LineKind : unsigned char {
    atom,      ///< an atom, dummy or translation vector, in `ParsedAtom`
    end,       ///< ends the geometry: blank, atomic number 0, or " NEXT"
    skip,      ///< read over: "$coord" and "$end"
    pdb,       ///< PDB records: the PDB reader takes the geometry over
    gaussian,  ///< a Gaussian Z-matrix: its reader takes the geometry over
};

/// The numbers of one atom line, as MOPAC keeps them.
/// Ordered so that it packs tightly: a large Z-matrix keeps one per line.
struct ParsedAtom {
    int atomic_number = 0;  // 0: not recognised
    int flags[3] = {0, 0, 0};
    double isotope_mass = 0.0;
    double values[3] = {0.0, 0.0, 0.0};
    long long connectivity[3] = {0, 0, 0};
    std::uint32_t field_count = 0;
    bool internal = false;
    bool angle_in_radians = false;  // atom 3 written "r f a f 1 2": MOPAC does not convert the angle
    bool xyz_element = false;       // an "x y z El" line: the geometry is in Bohr
    bool written_short = false;     // read as Cartesian, but looks like internal coordinates short of fields
};

/// A finding on the line just read, with its offset in the line's view.
struct LineIssue {
    Issue issue;
    std::size_t offset;
    std::string detail;
};

/// Reads geometry lines one after the other; keeps what carries over from
/// line to line (the label length rule). Not for PDB or Gaussian lines.
class GeometryLineReader {
public:
    explicit GeometryLineReader(GeometrySettings settings) : settings_(settings) {}

    /// Reads `view` (the line as MOPAC holds it) as the atom that follows
    /// `atoms_before` atoms. Findings go to issues(), cleared first.
    LineKind read(std::string_view view, std::size_t atoms_before, ParsedAtom& atom);

    const std::vector<LineIssue>& issues() const noexcept { return issues_; }
    /// The label of the last atom line ("" without), and the columns behind
    /// those MOPAC reads, both as written.
    std::string_view label() const noexcept { return label_; }
    std::string_view extra() const noexcept { return extra_; }

private:
    struct Field {
        std::uint16_t begin;
        std::uint16_t end;
        bool converted;  // a plain number starts the field: `value`
        double value;
    };

    bool split_fields(bool plain_only);
    double number_at(std::size_t field_index) const noexcept;  // 1-based field
    bool read_element(ParsedAtom& atom);
    void report(Issue issue, std::size_t offset, std::string detail = {});
    std::size_t view_offset(std::size_t line_offset) const noexcept;
    void mark_written_short(ParsedAtom& atom, std::size_t atoms_before);

    GeometrySettings settings_;
    std::size_t last_label_length_ = 0;  // 27 after a PDB-style label: then all must be 27
    bool first_at_origin_ = false;       // atom 1 stands at 0 0 0
    std::string_view view_;
    std::string line_;       // the view with commas blanked and the label cut out, where it holds either
    std::string_view text_;  // what the fields are read from: the view itself, else line_
    std::size_t label_at_ = std::string::npos;
    std::size_t label_size_ = 0;  // bytes cut out, parentheses included
    std::array<Field, geometry_line_limit> fields_{};  // a field takes at least one byte of the line
    std::size_t field_count_ = 0;
    bool may_hold_next_ = false;  // a field of the last split starts with N or n
    std::string_view label_;
    std::string_view extra_;
    std::vector<LineIssue> issues_;
};

/// Whether a line holds a word that marks it as PDB text: ATOM, HETATM,
/// HEADER, REMARK, CONECT, ...
bool has_pdb_words(std::string_view view) noexcept;

/// Rounds half away from zero to an integer of at most +-2^31, as Fortran's
/// NINT does for the values a geometry line can hold.
long long round_to_integer(double value) noexcept;

}  // namespace vesk::input::mopac::detail
